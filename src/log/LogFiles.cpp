#include "log/LogFiles.h"

#include <shlobj.h>

#include "util/Paths.h"
#include "util/Text.h"

namespace vantra::log {

std::wstring LogFolder() {
  wchar_t applicationData[MAX_PATH];
  if (SHGetFolderPathW(nullptr, CSIDL_APPDATA | CSIDL_FLAG_CREATE, nullptr, SHGFP_TYPE_CURRENT,
                       applicationData) != S_OK) {
    return {};
  }
  return util::JoinPath(applicationData, L"Tolvex\\Skylamp");
}

std::wstring LogPath(std::string_view component) {
  return util::JoinPath(LogFolder(), L"SKLog-" + util::FromUtf8(component) + L".txt");
}

std::wstring SwitchPath(const std::wstring& hostFolder) {
  return util::WithTrailingBackslash(hostFolder) + L"SKLog.config";
}

}  // namespace vantra::log
