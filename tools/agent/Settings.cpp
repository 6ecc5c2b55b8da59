#include "agent/Settings.h"

#include <algorithm>
#include <charconv>
#include <string_view>

namespace vantra::agent {
namespace {

constexpr std::string_view kSection = "settings";

// Larger numbers are taken as this one: a year in seconds, 30 TiB in MiB.
constexpr uint64_t kMost = 31'536'000;

uint64_t ReadNumber(const settings::ConfigMap& config, std::string_view key, uint64_t least,
                    uint64_t fallback) {
  const std::string text = settings::GetEntry(config, kSection, key);
  const char* const end = text.data() + text.size();
  uint64_t number = 0;
  const auto [last, error] = std::from_chars(text.data(), end, number);
  if (last != end || text.empty() || (error == std::errc() && number < least)) return fallback;
  return error == std::errc() ? std::min(number, kMost) : kMost;
}

}  // namespace

Settings ReadSettings(const settings::ConfigMap& config) {
  std::string url = settings::GetEntry(config, kSection, "url");
  std::variant<Target, NoTarget> target = ParseTarget(url);
  std::string authorization = settings::GetEntry(config, kSection, "authorization");
  if (!std::ranges::all_of(authorization, [](char c) { return c >= ' ' && c <= '~'; }))
    target = NoTarget{"authorization has a character that no header may have"};
  return {.url = std::move(url),
          .target = std::move(target),
          .authorization = std::move(authorization),
          .maxDiskSpace = ReadNumber(config, "maxdiskspace", 1, 10) << 20,
          .retryInterval = std::chrono::seconds(ReadNumber(config, "retryinterval", 0, 10)),
          .maxRetries = static_cast<unsigned>(ReadNumber(config, "maxretries", 0, 3))};
}

}  // namespace vantra::agent
