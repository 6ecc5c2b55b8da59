// A host of the campaign: makes the calls of its script, and notes each in memory that outlives it.
#pragma once

#include <atomic>

#include "Plan.h"

namespace vantra::faults {

struct Journal {
  struct Host {
    std::atomic<uint32_t> begun;       // calls
    std::atomic<uint32_t> returned;    // calls
    std::atomic<uint32_t> refused;     // sessions, a bit each
    std::atomic<uint32_t> unexpected;  // calls with another result than they should have, faults not made
  };
  Host hosts[kMostHosts];
  std::atomic<bool> agentsMayEnd;
  std::atomic<bool> isDisabled;  // by the agent's configuration: no start begins from now on
  std::atomic<bool> isHeldLong;  // the configuration, for longer than a start waits
};

inline constexpr uint32_t kCrashCode = 0xE0000077;  // no fault of the library's ends a host so

void ActAs(uint64_t seed, int host);

}  // namespace vantra::faults
