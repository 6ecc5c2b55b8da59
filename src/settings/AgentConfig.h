// The agent's configuration file as text: its entries, and what they say about recording.
#pragma once

#include <boost/date_time/gregorian/gregorian_types.hpp>
#include <map>
#include <string>
#include <string_view>

namespace vantra::settings {

// Values by "section/key", both trimmed and in lower case.
using ConfigMap = std::map<std::string, std::string>;

enum class ConfigStatus { kActive = 0, kDisabled = 1, kHibernate = 2 };

// Reads lines of "[section]", "key=value", and comments behind '#' or ';'. Never fails: a line without '='
// is key and value at once.
[[nodiscard]] ConfigMap ParseConfig(std::string_view text);

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
