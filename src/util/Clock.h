// The system clock.
#pragma once

#include <cstdint>
#include <string>

#include "util/Windows.h"

namespace vantra::util {

// The most precise clock of this Windows, found as the library is loaded; the plain one until then.
extern decltype(&GetSystemTimeAsFileTime) getSystemTime;

// Whole seconds since 1970-01-01 UTC.
[[nodiscard]] inline int64_t UtcSeconds() noexcept {
  constexpr uint64_t kTicksPerSecond = 10'000'000;
  constexpr int64_t kFrom1601To1970 = 11'644'473'600;
  FILETIME now;
  getSystemTime(&now);
  const uint64_t ticks = (static_cast<uint64_t>(now.dwHighDateTime) << 32) | now.dwLowDateTime;
  return static_cast<int64_t>(ticks / kTicksPerSecond) - kFrom1601To1970;
}

// The current time as a time stamp.
[[nodiscard]] std::string UtcNow();

}  // namespace vantra::util
