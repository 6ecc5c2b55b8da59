// The agent's configuration file as text: its entries, and what they say about recording.
#pragma once

#include <boost/date_time/gregorian/gregorian_types.hpp>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace vantra::settings {

// A file is at most so long, and so is what it stands for: one that is larger cannot be read.
constexpr size_t kLargestConfig = size_t{1} << 20;

// Orders sections as the texts "section/key" would be ordered.
struct SectionOrder {
  using is_transparent = void;
  [[nodiscard]] bool operator()(std::string_view a, std::string_view b) const noexcept;
};

// Values by section and key, both trimmed and in lower case. The first '/' of "section/key" ends the section,
// so none holds one.
using ConfigSection = std::map<std::string, std::string, std::less<>>;
using ConfigMap = std::map<std::string, ConfigSection, SectionOrder>;

enum class ConfigStatus { kActive = 0, kDisabled = 1, kHibernate = 2 };

// Reads lines of "[section]", "key=value", and comments behind '#' or ';'. A line without '=' is key and
// value at once. Empty only when a long section name with a '/' makes the keys too large.
[[nodiscard]] std::optional<ConfigMap> ParseConfig(std::string_view text);

// The whole file again, in the map's order.
[[nodiscard]] std::string FormatConfig(const ConfigMap& config);

// Empty when there is no such entry.
[[nodiscard]] std::string GetEntry(const ConfigMap& config, std::string_view section, std::string_view key);
void SetEntry(ConfigMap& config, std::string_view section, std::string_view key, std::string_view value);

// What a file says that nobody has written yet.
[[nodiscard]] ConfigMap DefaultConfig();

// Makes recording active again and cancels a global pause.
void Reactivate(ConfigMap& config);

// Whether the application may record today. Clears a pause that is over; a date that cannot be read is over.
[[nodiscard]] ConfigStatus CheckStatus(ConfigMap& config, std::string_view section,
                                       std::string_view applicationFamily, std::string_view applicationName,
                                       const boost::gregorian::date& today);

}  // namespace vantra::settings
