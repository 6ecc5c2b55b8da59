// The exception guard and the lock around every exported call.
#pragma once

#include <cstdint>
#include <string_view>

#include "api/Messages.h"
#include "util/GlobalItems.h"
#include "util/Mutex.h"

namespace vantra::api {

constexpr int32_t kSuccess = 0;
constexpr int32_t kFailure = 1;

// What the guard logs and returns when the work throws.
struct ExportRow {
  Message exception;
  int32_t failure;
};

// Does the work under the lock and returns its result. Returns the row's failure when anything is thrown, and
// when a host calls after the library has been torn down at process end. Hardware faults are not caught: they
// go on to the host's handlers and to the process's filter.
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
