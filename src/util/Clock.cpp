#include "util/Clock.h"

#include "util/TimeStamp.h"

namespace vantra::util {

constinit decltype(&GetSystemTimeAsFileTime) getSystemTime = GetSystemTimeAsFileTime;

namespace {

// Windows 7 and Server 2008 R2 have the plain clock only, and would not load a library that imports the
// other.
struct PreciseClock {
  PreciseClock() noexcept {
    const auto found = reinterpret_cast<decltype(getSystemTime)>(reinterpret_cast<void*>(
        GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "GetSystemTimePreciseAsFileTime")));
    if (found != nullptr) getSystemTime = found;
  }
};
[[gnu::init_priority(200)]] const PreciseClock preciseClock;

}  // namespace

std::string UtcNow() { return std::string(TimeStamp(UtcSeconds()).Text().text); }

}  // namespace vantra::util
