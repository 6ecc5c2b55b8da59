#include "settings/AgentConfig.h"

#include <algorithm>
#include <boost/date_time/gregorian/parsers.hpp>
#include <exception>
#include <tuple>
#include <utility>

#include "util/Ascii.h"

namespace vantra::settings {
namespace {

using util::ToLowerAscii;
using util::Trim;

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kGlobalSection = "ulog";
constexpr std::string_view kPauseSection = "hibernate";
constexpr std::string_view kStatus = "status";
constexpr std::string_view kWakeUpDate = "wakeupdate";

// Splits "section/prefix": the section's name in the map, and what precedes its keys there.
std::pair<std::string, std::string> SplitSection(std::string_view text) {
  std::string name = ToLowerAscii(Trim(text));
  std::string prefix;
  if (const size_t slash = name.find('/'); slash != std::string::npos) {
    prefix = name.substr(slash + 1).append("/");
    name.resize(slash);
  }
  return {std::move(name), std::move(prefix)};
}

// A pointer to the entry's value, const if the map is; null when there is none.
template <class Map>
auto FindEntry(Map& config, std::string_view section, std::string_view key)
    -> decltype(&config.begin()->second.begin()->second) {
  const auto [name, prefix] = SplitSection(section);
  const auto entries = config.find(name);
  if (entries == config.end()) return nullptr;
  const auto entry = entries->second.find(prefix + ToLowerAscii(Trim(key)));
  return entry == entries->second.end() ? nullptr : &entry->second;
}

bool IsAfter(std::string_view date, const boost::gregorian::date& today) {
  try {
    return boost::gregorian::from_string(std::string(date)) > today;
  } catch (const std::exception&) {
    return false;
  }
}

ConfigStatus StatusFromWord(std::string_view word) noexcept {
  if (word == "Disabled") return ConfigStatus::kDisabled;
  if (word == "Hibernate") return ConfigStatus::kHibernate;
  return ConfigStatus::kActive;
}

}  // namespace

bool SectionOrder::operator()(std::string_view a, std::string_view b) const noexcept {
  const size_t common = std::min(a.size(), b.size());
  if (const int order = a.substr(0, common).compare(b.substr(0, common)); order != 0) return order < 0;
  // A '/' follows the shorter one.
  if (a.size() == b.size()) return false;
  return a.size() < b.size() ? '/' < static_cast<unsigned char>(b[common])
                             : static_cast<unsigned char>(a[common]) < '/';
}

std::optional<ConfigMap> ParseConfig(std::string_view text) {
  ConfigMap config;
  std::string section;
  std::string prefix;
  ConfigSection* entries = nullptr;
  size_t prefixBytes = 0;
  if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
  while (!text.empty()) {
    const size_t end = text.find('\n');
    const std::string_view line = Trim(text.substr(0, end));
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);

    if (line.empty() || line.front() == '#' || line.front() == ';') continue;
    if (line.front() == '[') {
      std::tie(section, prefix) = SplitSection(line.substr(1, line.find(']') - 1));
      entries = nullptr;
      continue;
    }
    prefixBytes += prefix.size();
    if (prefixBytes > kLargestConfig) return {};
    if (entries == nullptr) entries = &config[section];
    const size_t equals = line.find('=');
    const bool isPair = equals != std::string_view::npos;
    entries->insert_or_assign(prefix + ToLowerAscii(Trim(line.substr(0, equals))),
                              isPair ? Trim(line.substr(equals + 1)) : line);
  }
  return config;
}

std::string FormatConfig(const ConfigMap& config) {
  std::string text;
  std::string_view previous;
  for (const auto& [section, entries] : config) {
    if (section != previous) text.append("[").append(section).append("]\n");
    previous = section;
    for (const auto& [key, value] : entries) text.append(key).append("=").append(value).append("\n");
  }
  return text;
}

std::string GetEntry(const ConfigMap& config, std::string_view section, std::string_view key) {
  const std::string* const value = FindEntry(config, section, key);
  return value == nullptr ? std::string() : *value;
}

void SetEntry(ConfigMap& config, std::string_view section, std::string_view key, std::string_view value) {
  const auto [name, prefix] = SplitSection(section);
  config[name].insert_or_assign(prefix + ToLowerAscii(Trim(key)), std::string(value));
}

ConfigMap DefaultConfig() {
  ConfigMap config;
  SetEntry(config, "settings", "maxdiskspace", "10");
  SetEntry(config, "settings", "retryinterval", "10");
  SetEntry(config, "settings", "maxretries", "3");
  SetEntry(config, "settings", "url", "https://usage.tolvex.example/skylamp");
  SetEntry(config, kGlobalSection, kStatus, "Active");
  return config;
}

void Reactivate(ConfigMap& config) {
  SetEntry(config, kGlobalSection, kStatus, "Active");
  SetEntry(config, kGlobalSection, kWakeUpDate, "");
}

ConfigStatus CheckStatus(ConfigMap& config, std::string_view section, std::string_view applicationFamily,
                         std::string_view applicationName, const boost::gregorian::date& today) {
  const ConfigStatus status = StatusFromWord(GetEntry(config, section, kStatus));
  if (status == ConfigStatus::kDisabled) return status;
  if (status == ConfigStatus::kHibernate) {
    if (IsAfter(GetEntry(config, section, kWakeUpDate), today)) return status;
    SetEntry(config, section, kWakeUpDate, "");
    SetEntry(config, section, kStatus, "Active");
  }

  std::string* const pause =
      FindEntry(config, kPauseSection, std::string(applicationFamily).append("_").append(applicationName));
  if (pause == nullptr) return ConfigStatus::kActive;
  const size_t bar = pause->find('|');
  if (bar != std::string::npos && IsAfter(std::string_view(*pause).substr(bar + 1), today)) {
    return ConfigStatus::kHibernate;
  }
  pause->clear();
  return ConfigStatus::kActive;
}

}  // namespace vantra::settings
