// The section [settings] of Sendrix2.cfg.
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
  // Value of the Authorization header; empty for none.
  std::string authorization;
  // In bytes, for finished and refused documents together.
  uint64_t maxDiskSpace;
  std::chrono::seconds retryInterval;
  // The most repeats in a row; after one more failure the run ends.
  unsigned maxRetries;
};

// Numbers that cannot be read, and a disk space of 0, become the defaults.
[[nodiscard]] Settings ReadSettings(const settings::ConfigMap& config);

}  // namespace vantra::agent
