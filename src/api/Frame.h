// What surrounds the work of every exported call: the exception guard and the lock, and the way in which the
// work reports.
#pragma once

#include <cstdint>
#include <string_view>

#include "api/Messages.h"
#include "log/Logger.h"
#include "util/GlobalItems.h"
#include "util/Mutex.h"

namespace vantra::api {

constexpr int32_t kSuccess = 0;
constexpr int32_t kFailure = 1;

// Trace logs at INFO, Report at DEBUG, with the value behind the message. While logging is off none of them
// costs more than a look.
[[gnu::cold]] void LogTrace(const Message& message) noexcept;
[[gnu::cold]] void LogReport(const Message& message) noexcept;

inline void Trace(const Message& message) noexcept {
  if (log::IsOn()) LogTrace(message);
}
inline void Report(const Message& message) noexcept {
  if (log::IsOn()) LogReport(message);
}
void Trace(const Message& message, int64_t number) noexcept;
void Trace(const Message& message, std::string_view usageKey, int64_t optIn) noexcept;
void Report(const Message& message, std::string_view value) noexcept;
void Report(const Message& message, int64_t number) noexcept;

// What the exception guard of an export says and returns.
struct ExportRow {
  Message exception;
  int32_t failure;
};

// Logs for the unit of the exports, at DEBUG.
void ReportException(const Message& message) noexcept;

// The export's own result, worked out while the lock is held; the failure of its row when anything is thrown,
// and when a host calls as the process ends, after the library has been torn down. Hardware faults are not
// caught: they go on to the host's handlers and to the process's filter.
template <class Work>
int32_t Guard(const ExportRow& row, Work&& work) noexcept {
  if (util::GlobalItems::AreReleased()) return row.failure;
  try {
    return util::WithLock(work);
  } catch (...) {
    ReportException(row.exception);
    return row.failure;
  }
}

}  // namespace vantra::api
