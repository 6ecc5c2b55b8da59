// What a session start checks, in the same order and by the library's own code. Nothing is started, created
// or changed: the configuration is checked on a copy, and missing registry keys stay missing.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vantra::inspect {

// What a host would declare.
struct Host {
  std::string folder;  // its executable's folder; empty means this program's
  std::string agentFolder;
  std::string usageKey;
  std::string family, product;
  int32_t releaseState = 2;
};

enum class Verdict : uint8_t {
  Open,
  Refuses,  // UTStartSession returns 1
  Drops,    // the start succeeds, and nothing is written
  Notes,    // nothing is refused, but there is something to know
  Unknown,  // not enough options were given
};
[[nodiscard]] std::string_view NameOf(Verdict verdict) noexcept;

struct Gate {
  std::string_view name;
  Verdict verdict;
  std::string finding;
  std::string advice = {};        // what to do; empty when nothing needs doing
  std::string_view message = {};  // for Refuses, the message in the diagnostic log
};

// Also forbids registry changes in this process from then on.
[[nodiscard]] std::vector<Gate> ExamineGates(const Host& host);

}  // namespace vantra::inspect
