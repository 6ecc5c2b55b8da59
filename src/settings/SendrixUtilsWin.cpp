#include "settings/SendrixUtilsWin.h"

#include <shlobj.h>

#include <string_view>
#include <utility>

#include "log/Logger.h"
#include "settings/LogsTidy.h"
#include "settings/UsageSettings.h"
#include "util/Files.h"
#include "util/GlobalItems.h"
#include "util/HostProcess.h"
#include "util/Paths.h"
#include "util/SystemModule.h"
#include "util/Text.h"

namespace vantra::settings {
namespace {

const log::LoggerPointer logger("Vantra");

constexpr std::string_view kSource = "..\\SendrixUtilsWin";
constexpr int kProtectedModeLine = 74;
constexpr int kAgentPathLine = 182;

constexpr std::wstring_view kAgentFile = L"Sendrix2.exe";
constexpr int kAgentFound = 0;
constexpr int kAgentMissing = 13;

// The host's choice; there is none before the first.
struct ChosenAgent : util::OneOf<ChosenAgent> {
  std::wstring path;
};

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
    logger->Info("IE is protected mode!", kSource, kProtectedModeLine);
    return GetLowIntegrityDataRoot();
  }
  wchar_t root[MAX_PATH];
  if (SHGetFolderPathW(nullptr, CSIDL_APPDATA | CSIDL_FLAG_CREATE, nullptr, SHGFP_TYPE_CURRENT, root) !=
      S_OK) {
    return {};
  }
  return root;
}

// The program in this folder. Its path is absolute, so that it is started from where it was found.
std::wstring AgentIn(const std::wstring& folder) {
  const DWORD size = GetFullPathNameW(folder.c_str(), 0, nullptr, nullptr);
  std::wstring absolute(size, L'\0');
  const DWORD length = GetFullPathNameW(folder.c_str(), size, absolute.data(), nullptr);
  absolute.resize(length < size ? length : 0);
  return util::JoinPath(absolute, kAgentFile);
}

}  // namespace

AgentFolders GetAgentFolders() {
  AgentFolders folders;
  folders.data = util::JoinPath(GetDataRoot(), L"Tolvex\\Sendrix2");
  folders.logs = util::JoinPath(folders.data, L"Logs");
  return folders;
}

bool IsProtectedMode() {
  if (protectedMode == Answer::kUnknown) protectedMode = QueryProtectedMode() ? Answer::kYes : Answer::kNo;
  return protectedMode == Answer::kYes;
}

void SetAgentFolder(const char* folder) {
  if (folder == nullptr) return;
  ChosenAgent::Instance().path = AgentIn(util::FromUtf8(folder));
}

std::wstring GetAgentPath() {
  const ChosenAgent* const chosen = ChosenAgent::Existing();
  if (chosen != nullptr && util::IsFile(chosen->path)) return chosen->path;
  std::wstring path = util::JoinPath(util::HostFolder(), kAgentFile);
  if (util::IsFile(path)) return path;
  path = AgentIn(GetStoredAgentFolder());
  if (util::IsFile(path)) return path;
  DeleteAgentSubkey();
  return {};
}

int VerifyTransAgentExist() { return GetAgentPath().empty() ? kAgentMissing : kAgentFound; }

bool HasFinishedDocument(const std::wstring& logsFolder) {
  if (logsFolder.empty()) return false;
  bool found = false;
  util::ForEachFile(util::JoinPath(logsFolder, L"*.*").c_str(), [&](const WIN32_FIND_DATAW& file) {
    const std::wstring_view name = file.cFileName;
    found = name.ends_with(L".xml") || name.ends_with(L".rdy");
    return !found;
  });
  return found;
}

bool StartTransportAgent(const std::wstring& documentPath) {
  if (documentPath.empty()) return false;
  if (IsProtectedMode()) {
    TidyLogsFolder(GetAgentFolders().logs);
    return false;
  }
  std::wstring commandLine = L"\"" + GetAgentPath();
  if (!commandLine.ends_with(L'"')) commandLine += L'"';
  if (logger->IsOn()) logger->Info(L"Sendrix2 Path: " + commandLine, kSource, kAgentPathLine);
  return StartProcess(std::move(commandLine));
}

bool StartProcess(std::wstring commandLine) {
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION process{};
  if (!CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE,
                      CREATE_NO_WINDOW | CREATE_UNICODE_ENVIRONMENT, nullptr, nullptr, &startup, &process)) {
    return false;
  }
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
  return true;
}

}  // namespace vantra::settings
