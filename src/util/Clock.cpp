#include "util/Clock.h"

#include "util/TimeStamp.h"
#include "util/Windows.h"

namespace vantra::util {

int64_t UtcSeconds() noexcept {
  constexpr uint64_t kTicksPerSecond = 10'000'000;
  constexpr int64_t kFrom1601To1970 = 11'644'473'600;
  FILETIME now;
  GetSystemTimePreciseAsFileTime(&now);
  const uint64_t ticks = (static_cast<uint64_t>(now.dwHighDateTime) << 32) | now.dwLowDateTime;
  return static_cast<int64_t>(ticks / kTicksPerSecond) - kFrom1601To1970;
}

std::string UtcNow() { return std::string(TimeStamp(UtcSeconds()).Text().text); }

}  // namespace vantra::util
