#include "log/LogFiles.h"

#include "util/Files.h"
#include "util/Paths.h"
#include "util/Text.h"

namespace vantra::log {

std::wstring LogFolder() { return util::JoinPath(util::RoamingDataFolder(), L"Tolvex\\Skylamp"); }

std::wstring LogPath(std::string_view component) {
  return util::JoinPath(LogFolder(), L"SKLog-" + util::FromUtf8(component) + L".txt");
}

std::wstring SwitchPath(const std::wstring& hostFolder) {
  return util::WithTrailingBackslash(hostFolder) + L"SKLog.config";
}

}  // namespace vantra::log
