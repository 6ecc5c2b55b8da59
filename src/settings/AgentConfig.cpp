#include "settings/AgentConfig.h"

#include <boost/date_time/gregorian/parsers.hpp>
#include <exception>
#include <optional>

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

std::string CompositeKey(std::string_view section, std::string_view key) {
  return ToLowerAscii(Trim(section)).append("/").append(ToLowerAscii(Trim(key)));
}

bool LiesAfter(std::string_view date, const boost::gregorian::date& today) {
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

ConfigMap ParseConfig(std::string_view text) {
  ConfigMap config;
  std::string section;
  if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
  while (!text.empty()) {
    const size_t end = text.find('\n');
    const std::string_view line = Trim(text.substr(0, end));
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);

    if (line.empty() || line.front() == '#' || line.front() == ';') continue;
    if (line.front() == '[') {
      section = line.substr(1, line.find(']') - 1);
      continue;
    }
    const size_t equals = line.find('=');
    const bool isPair = equals != std::string_view::npos;
    SetEntry(config, section, line.substr(0, equals), isPair ? Trim(line.substr(equals + 1)) : line);
  }
  return config;
}

std::string FormatConfig(const ConfigMap& config) {
  std::string text;
  std::string_view section;
  for (const auto& [composite, value] : config) {
    const size_t slash = composite.find('/');
    const std::string_view entrySection = std::string_view(composite).substr(0, slash);
    if (entrySection != section) {
      section = entrySection;
      text.append("[").append(section).append("]\n");
    }
    text.append(composite, slash + 1).append("=").append(value).append("\n");
  }
  return text;
}

std::string GetEntry(const ConfigMap& config, std::string_view section, std::string_view key) {
  const auto entry = config.find(CompositeKey(section, key));
  return entry == config.end() ? std::string() : entry->second;
}

void SetEntry(ConfigMap& config, std::string_view section, std::string_view key, std::string_view value) {
  config.insert_or_assign(CompositeKey(section, key), std::string(value));
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
    if (LiesAfter(GetEntry(config, section, kWakeUpDate), today)) return status;
    SetEntry(config, section, kWakeUpDate, "");
    SetEntry(config, section, kStatus, "Active");
  }

  const auto pause = config.find(
      CompositeKey(kPauseSection, std::string(applicationFamily).append("_").append(applicationName)));
  if (pause == config.end()) return ConfigStatus::kActive;
  const size_t bar = pause->second.find('|');
  if (bar != std::string::npos && LiesAfter(std::string_view(pause->second).substr(bar + 1), today)) {
    return ConfigStatus::kHibernate;
  }
  pause->second.clear();
  return ConfigStatus::kActive;
}

}  // namespace vantra::settings
