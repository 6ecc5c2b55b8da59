#include "agent/State.h"

#include <algorithm>
#include <charconv>

#include "settings/AgentConfig.h"

namespace vantra::agent {
namespace {

constexpr std::string_view kSection = "state";

int64_t ReadTime(const settings::ConfigMap& map, std::string_view key) {
  const std::string text = settings::GetEntry(map, kSection, key);
  int64_t time = 0;
  std::from_chars(text.data(), text.data() + text.size(), time);
  return std::max<int64_t>(time, 0);
}

}  // namespace

State ParseState(std::string_view text) {
  const settings::ConfigMap map = settings::ParseConfig(text).value_or(settings::ConfigMap());
  State state{.url = settings::GetEntry(map, kSection, "url"),
              .notBefore = ReadTime(map, "notbefore"),
              .last = {},
              .ended = ReadTime(map, "ended"),
              .outcome = settings::GetEntry(map, kSection, "outcome")};
  // A bar cannot be part of a file name.
  const std::string last = settings::GetEntry(map, kSection, "last");
  for (std::string_view rest = last; !rest.empty();) {
    const size_t bar = std::min(rest.find('|'), rest.size());
    if (bar != 0) state.last.emplace_back(rest.substr(0, bar));
    rest.remove_prefix(std::min(bar + 1, rest.size()));
  }
  return state;
}

std::string FormatState(const State& state) {
  settings::ConfigMap map;
  std::string last;
  for (const std::string& name : state.last) last.append(last.empty() ? "" : "|").append(name);
  settings::SetEntry(map, kSection, "url", state.url);
  settings::SetEntry(map, kSection, "notbefore", std::to_string(state.notBefore));
  settings::SetEntry(map, kSection, "last", last);
  settings::SetEntry(map, kSection, "ended", std::to_string(state.ended));
  settings::SetEntry(map, kSection, "outcome", state.outcome);
  return settings::FormatConfig(map);
}

}  // namespace vantra::agent
