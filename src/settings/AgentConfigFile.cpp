#include "settings/AgentConfigFile.h"

#include <exception>
#include <optional>

#include "util/Files.h"
#include "util/Paths.h"

namespace vantra::settings {
namespace {

constexpr std::wstring_view kFileName = L"Sendrix2.cfg";

bool LoadConfig(const std::wstring& path, ConfigMap& config) {
  const auto text = util::ReadWholeFile(path);
  if (text) config = ParseConfig(*text);
  return text.has_value();
}

void SaveConfig(const ConfigMap& config, const std::wstring& path) {
  // A file that cannot be written is ignored: the answer read from it stands.
  static_cast<void>(util::ReplaceContent(path, FormatConfig(config)));
}

// The shipped file, with recording made active again, over a copy that is older than what was shipped.
void Refresh(const std::wstring& shippedPath, const std::wstring& userPath) {
  ConfigMap config;
  if (!LoadConfig(shippedPath, config)) return;
  Reactivate(config);
  SaveConfig(config, userPath);
}

void Seed(const std::wstring& shippedPath, const std::wstring& userPath, const std::wstring& userFolder) {
  if (!util::EnsureFolder(userFolder)) return;
  if (util::IsFolder(userPath) && !util::RemoveFolderTree(userPath)) return;
  if (const auto shipped = util::ReadWholeFile(shippedPath)) {
    static_cast<void>(util::ReplaceContent(userPath, *shipped));
  }
}

void Synchronise(const std::wstring& userPath, const std::wstring& userFolder,
                 const std::wstring& hostFolder) {
  const std::wstring shippedPath = util::JoinPath(hostFolder, kFileName);
  const auto shipped = util::GetFileInfo(shippedPath);
  const auto user = util::GetFileInfo(userPath);
  const bool isShipped = shipped && !shipped->isFolder;
  const bool hasCopy = user && !user->isFolder;

  if (isShipped && hasCopy) {
    const auto host = util::GetFileInfo(util::WithTrailingBackslash(hostFolder));
    if ((host && host->created > user->written) || shipped->written > user->written)
      Refresh(shippedPath, userPath);
  } else if (isShipped) {
    Seed(shippedPath, userPath, userFolder);
  } else if (!shipped && !user && util::EnsureFolder(userFolder)) {
    SaveConfig(DefaultConfig(), userPath);
  }
}

// The local calendar date. Should it be none that the date library knows, every pause counts as over.
boost::gregorian::date Today() {
  SYSTEMTIME now;
  GetLocalTime(&now);
  try {
    return {now.wYear, now.wMonth, now.wDay};
  } catch (const std::exception&) {
    return boost::gregorian::date(boost::date_time::pos_infin);
  }
}

}  // namespace

std::wstring GetAgentConfigPath(const std::wstring& agentDataFolder, const std::wstring& hostFolder) {
  std::wstring path = util::JoinPath(agentDataFolder, kFileName);
  if (!path.empty()) Synchronise(path, agentDataFolder, hostFolder);
  return path;
}

ConfigStatus VerifyConfigStatus(std::string_view applicationFamily, std::string_view applicationName,
                                const std::wstring& path, std::string_view section) {
  if (path.empty()) return ConfigStatus::kActive;
  ConfigMap config;
  static_cast<void>(LoadConfig(path, config));
  const ConfigStatus status = CheckStatus(config, section, applicationFamily, applicationName, Today());
  SaveConfig(config, path);
  return status;
}

}  // namespace vantra::settings
