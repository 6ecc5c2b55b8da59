// What surrounds the work of every exported call: the exception guard and the lock.
#pragma once

#include <cstdint>
#include <string_view>

#include "api/Messages.h"
#include "util/GlobalItems.h"
#include "util/Mutex.h"

namespace vantra::api {

constexpr int32_t kSuccess = 0;
constexpr int32_t kFailure = 1;

// What the exception guard of an export says and returns.
struct ExportRow {
  Message exception;
  int32_t failure;
};

// The export's own result, worked out while the lock is held; the failure of its row when anything is thrown,
// and when a host calls as the process ends, after the library has been torn down. Hardware faults are not
// caught: they go on to the host's handlers and to the process's filter.
template <class Work>
int32_t Guard(const ExportRow& row, Work&& work) noexcept {
  if (util::GlobalItems::AreReleased()) return row.failure;
  try {
    return util::WithLock(work);
  } catch (...) {
    log::Debug(row.exception);
    return row.failure;
  }
}

}  // namespace vantra::api
