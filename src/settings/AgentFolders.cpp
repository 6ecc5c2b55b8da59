#include "settings/AgentFolders.h"

#include <objbase.h>

#include "log/Log.h"
#include "util/Files.h"
#include "util/Paths.h"
#include "util/SystemModule.h"

namespace vantra::settings {
namespace {

// Logged under SendrixUtilsWin, where support tools expect it.
constexpr log::Message kProtectedMode{"..\\SendrixUtilsWin", "IE is protected mode!", 74};

enum class Answer { kUnknown, kNo, kYes };
constinit Answer protectedMode = Answer::kUnknown;

bool QueryProtectedMode() {
  const util::SystemModule ieframe(L"ieframe.dll");
  const auto query = ieframe.Find<HRESULT(WINAPI*)(BOOL*)>("IEIsProtectedModeProcess");
  BOOL isProtected = FALSE;
  return query != nullptr && SUCCEEDED(query(&isProtected)) && isProtected;
}

std::wstring GetLowIntegrityDataRoot() {
  constexpr GUID kLocalAppDataLow = {
      0xA520A1A4, 0x1780, 0x4FF6, {0xBD, 0x18, 0x16, 0x73, 0x43, 0xC5, 0xAF, 0x16}};
  using Query = HRESULT(WINAPI*)(const GUID&, DWORD, HANDLE, PWSTR*);
  const util::SystemModule shell(L"Shell32.dll");
  const auto query = shell.Find<Query>("SHGetKnownFolderPath");
  PWSTR found = nullptr;
  std::wstring root;
  if (query != nullptr && SUCCEEDED(query(kLocalAppDataLow, 0, nullptr, &found))) root = found;
  CoTaskMemFree(found);
  return root;
}

std::wstring GetDataRoot() {
  if (IsProtectedMode()) {
    log::Info(kProtectedMode);
    return GetLowIntegrityDataRoot();
  }
  return util::RoamingDataFolder();
}

AgentFolders FoldersBelow(const std::wstring& root) {
  AgentFolders folders;
  folders.data = util::JoinPath(root, L"Tolvex\\Sendrix2");
  folders.logs = util::JoinPath(folders.data, L"Logs");
  return folders;
}

}  // namespace

AgentFolders GetAgentFolders() { return FoldersBelow(GetDataRoot()); }

AgentFolders GetProtectedModeFolders() { return FoldersBelow(GetLowIntegrityDataRoot()); }

bool IsProtectedMode() {
  if (protectedMode == Answer::kUnknown) protectedMode = QueryProtectedMode() ? Answer::kYes : Answer::kNo;
  return protectedMode == Answer::kYes;
}

}  // namespace vantra::settings
