// The text of the agent's configuration file: its entries, and what they say about recording. Pure.
#pragma once

#include <boost/date_time/gregorian/gregorian_types.hpp>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace vantra::settings {

// In bytes: the largest file that is read, and the most that repeated section prefixes may add to its keys.
constexpr size_t kLargestConfig = size_t{1} << 20;

// Orders sections like the texts "section/key".
struct SectionOrder {
  using is_transparent = void;
  [[nodiscard]] bool operator()(std::string_view a, std::string_view b) const noexcept;
};

// Values by section and key, both trimmed and in lower case. In "section/key" the first '/' ends the section,
// so no section name holds one.
using ConfigSection = std::map<std::string, std::string, std::less<>>;
using ConfigMap = std::map<std::string, ConfigSection, SectionOrder>;

enum class ConfigStatus { kActive = 0, kDisabled = 1, kHibernate = 2 };

// Reads lines of "[section]" and "key=value", and comments after '#' or ';'. A line without '=' is both key
// and value. Empty only when a long section name with a '/' expands the keys beyond kLargestConfig.
[[nodiscard]] std::optional<ConfigMap> ParseConfig(std::string_view text);

// The text of the whole file, in the map's order, without comments.
[[nodiscard]] std::string FormatConfig(const ConfigMap& config);

// Empty when there is no such entry.
[[nodiscard]] std::string GetEntry(const ConfigMap& config, std::string_view section, std::string_view key);
void SetEntry(ConfigMap& config, std::string_view section, std::string_view key, std::string_view value);

// The entries of a new file.
[[nodiscard]] ConfigMap DefaultConfig();

// Sets the global status to Active and clears the global wake-up date.
void Reactivate(ConfigMap& config);

// Whether the application may record today. Clears a pause that is over; one whose date cannot be read counts
// as over.
[[nodiscard]] ConfigStatus CheckStatus(ConfigMap& config, std::string_view section,
                                       std::string_view applicationFamily, std::string_view applicationName,
                                       const boost::gregorian::date& today);

}  // namespace vantra::settings
