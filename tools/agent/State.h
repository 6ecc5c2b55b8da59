// What the agent remembers between runs: the text of its state file. Pure.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vantra::agent {

// Times are seconds since 1970-01-01 UTC, 0 for none.
struct State {
  // The url whose server asked not to be tried before notBefore.
  std::string url;
  int64_t notBefore = 0;
  // Documents whose upload ended a run with a broken connection, the oldest first.
  std::vector<std::string> last;
  // When the last run ended, and how.
  int64_t ended = 0;
  std::string outcome;

  bool operator==(const State&) const = default;
};

// Never fails: entries that cannot be read are ignored.
[[nodiscard]] State ParseState(std::string_view text);
[[nodiscard]] std::string FormatState(const State& state);

}  // namespace vantra::agent
