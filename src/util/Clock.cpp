#include "util/Clock.h"

#include "util/TimeStamp.h"

namespace vantra::util {

namespace {

// The address of a function that is imported is no constant.
void WINAPI AskPlainClock(FILETIME* now) { GetSystemTimeAsFileTime(now); }

}  // namespace

constinit decltype(&GetSystemTimeAsFileTime) getSystemTime = AskPlainClock;

namespace {

// Windows 7 and Server 2008 R2 lack the precise clock, and would refuse to load a library that imports it.
struct PreciseClock {
  PreciseClock() noexcept {
    const auto found = reinterpret_cast<decltype(getSystemTime)>(reinterpret_cast<void*>(
        GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "GetSystemTimePreciseAsFileTime")));
    if (found != nullptr) getSystemTime = found;
  }
};
[[gnu::init_priority(200)]] const PreciseClock preciseClock;

}  // namespace

std::string UtcNow() { return std::string(TimeStamp(UtcSeconds()).Text().View()); }

}  // namespace vantra::util
