// What a session start looks at, in its order, by the library's own code. Nothing is started, made or
// changed: the configuration is checked on a copy, and registry keys that are missing stay missing.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vantra::inspect {

// What a host would declare.
struct Host {
  std::string folder;  // of its executable; empty for that of this program
  std::string agentFolder;
  std::string usageKey;
  std::string family, product;
  int32_t releaseState = 2;
};

enum class Verdict : uint8_t {
  Open,
  Refuses,  // UTStartSession gives 1
  Drops,    // the start succeeds, and nothing is written
  Notes,    // something to know
  Unknown,  // not enough was said
};
[[nodiscard]] std::string_view NameOf(Verdict verdict) noexcept;

struct Gate {
  std::string_view name;
  Verdict verdict;
  std::string finding;
  std::string advice = {};        // what to do; empty when there is nothing
  std::string_view message = {};  // of a gate that refuses, what the diagnostic log would say
};

// Forbids registry changes in this process from then on.
[[nodiscard]] std::vector<Gate> ExamineGates(const Host& host);

}  // namespace vantra::inspect
