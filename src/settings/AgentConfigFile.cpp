#include "settings/AgentConfigFile.h"

#include <exception>
#include <optional>

#include "util/Files.h"
#include "util/Paths.h"

namespace vantra::settings {
namespace {

constexpr std::wstring_view kFileName = L"Sendrix2.cfg";

// Several hosts check the file at once, and the agent writes it: whoever finds it changed starts over.
constexpr int kTries = 3;

struct LoadedConfig {
  util::FileSnapshot file;
  ConfigMap entries;
};

// Empty when the file exists but cannot be read; a missing file has no entries.
std::optional<LoadedConfig> LoadConfig(const std::wstring& path) {
  auto file = util::TakeSnapshot(path, kLargestConfig);
  if (!file) return {};
  auto entries = ParseConfig(file->text);
  if (!entries) return {};
  return LoadedConfig{*std::move(file), *std::move(entries)};
}

// False when the file has changed since it was loaded, or cannot be replaced at present. A read-only file,
// and a text too large to be read again, are not written and count as saved.
bool SaveConfig(const ConfigMap& entries, const util::FileSnapshot& before, const std::wstring& path) {
  if (before.isReadOnly) return true;
  const std::string text = FormatConfig(entries);
  if (text.size() > kLargestConfig) return true;
  if (!before.exists || text != before.text) return util::ReplaceContent(path, before, text);
  util::TouchFile(path);
  return true;
}

enum class Sync { kDone, kAgain, kNoCopy };

// Replaces a copy older than the shipped file with that file, made active again.
Sync Refresh(const std::wstring& shippedPath, const std::wstring& userPath, uint64_t userWritten) {
  auto shipped = LoadConfig(shippedPath);
  if (!shipped || !shipped->file.exists) return Sync::kDone;
  const auto user = util::TakeSnapshot(userPath, kLargestConfig);
  if (!user) return Sync::kDone;
  Reactivate(shipped->entries);
  const bool isDone = user->written == userWritten && SaveConfig(shipped->entries, *user, userPath);
  return isDone ? Sync::kDone : Sync::kAgain;
}

Sync Seed(const std::wstring& shippedPath, const std::wstring& userPath, const std::wstring& userFolder) {
  const auto shipped = LoadConfig(shippedPath);
  if (!shipped || !shipped->file.exists || !util::EnsureFolder(userFolder)) return Sync::kNoCopy;
  if (util::IsFolder(userPath) && !util::RemoveFolderTree(userPath)) return Sync::kNoCopy;
  if (util::ReplaceContent(userPath, {}, shipped->file.text)) return Sync::kDone;
  return util::IsFile(userPath) ? Sync::kAgain : Sync::kNoCopy;
}

Sync Synchronise(const std::wstring& userPath, const std::wstring& userFolder,
                 const std::wstring& hostFolder) {
  const std::wstring shippedPath = util::JoinPath(hostFolder, kFileName);
  const auto shipped = util::GetFileInfo(shippedPath);
  const auto user = util::GetFileInfo(userPath);
  const bool isShipped = shipped && !shipped->isFolder;
  const bool hasCopy = user && !user->isFolder;

  if (isShipped && hasCopy) {
    const auto host = util::GetFileInfo(util::WithTrailingBackslash(hostFolder));
    if ((host && host->created > user->written) || shipped->written > user->written)
      return Refresh(shippedPath, userPath, user->written);
  } else if (isShipped) {
    return Seed(shippedPath, userPath, userFolder);
  } else if (!shipped && !user && util::EnsureFolder(userFolder)) {
    return SaveConfig(DefaultConfig(), {}, userPath) ? Sync::kDone : Sync::kAgain;
  }
  return Sync::kDone;
}

// The local date. If the date library does not accept it, every pause counts as over.
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
  if (path.empty()) return path;
  auto sync = Sync::kAgain;
  for (int i = 0; i < kTries && sync == Sync::kAgain; ++i)
    sync = Synchronise(path, agentDataFolder, hostFolder);
  if (sync == Sync::kNoCopy) path.clear();
  return path;
}

ConfigStatus VerifyConfigStatus(std::string_view applicationFamily, std::string_view applicationName,
                                const std::wstring& path, std::string_view section) {
  auto status = ConfigStatus::kActive;
  if (path.empty()) return status;
  const boost::gregorian::date today = Today();
  for (int i = 0; i < kTries; ++i) {
    auto config = LoadConfig(path);
    if (!config) return ConfigStatus::kActive;
    status = CheckStatus(config->entries, section, applicationFamily, applicationName, today);
    if (SaveConfig(config->entries, config->file, path)) break;
  }
  return status;
}

}  // namespace vantra::settings
