// A host of the campaign: makes the calls of its script, and notes each in memory that outlives it.
#pragma once

#include <atomic>

#include "Plan.h"

namespace vantra::faults {

struct Journal {
  struct Host {
    std::atomic<uint32_t> begun;     // calls
    std::atomic<uint32_t> returned;  // calls
    std::atomic<uint32_t> refused;   // sessions, a bit each
    std::atomic<uint32_t>
        unexpected;  // calls that failed and should not have, and faults that could not be made
  };
  Host hosts[kMostHosts];
  std::atomic<bool> agentsMayEnd;
};

void ActAs(uint64_t seed, int host);

}  // namespace vantra::faults
