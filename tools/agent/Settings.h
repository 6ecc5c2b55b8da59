// What the section [settings] of Sendrix2.cfg asks of the agent.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <variant>

#include "agent/Target.h"
#include "settings/AgentConfig.h"

namespace vantra::agent {

struct Settings {
  std::string url;
  std::variant<Target, NoTarget> target;
  // The value of that header; empty for none.
  std::string authorization;
  // Bytes that finished and refused documents may take.
  uint64_t maxDiskSpace;
  std::chrono::seconds retryInterval;
  // Repeats in a row before a run ends.
  unsigned maxRetries;
};

// A number that cannot be read, and a disk space of 0, count as the default.
[[nodiscard]] Settings ReadSettings(const settings::ConfigMap& config);

}  // namespace vantra::agent
