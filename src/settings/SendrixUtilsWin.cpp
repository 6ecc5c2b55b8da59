#include "settings/SendrixUtilsWin.h"

#include <string_view>
#include <utility>

#include "log/Log.h"
#include "settings/AgentFolders.h"
#include "settings/LogsTidy.h"
#include "settings/UsageSettings.h"
#include "util/Files.h"
#include "util/GlobalItems.h"
#include "util/HostProcess.h"
#include "util/Paths.h"
#include "util/Text.h"

namespace vantra::settings {
namespace {

constexpr std::string_view kSource = "..\\SendrixUtilsWin";
constexpr log::Message kAgentPath{kSource, "Sendrix2 Path: ", 182};

constexpr std::wstring_view kAgentFile = L"Sendrix2.exe";
constexpr int kAgentFound = 0;
constexpr int kAgentMissing = 13;

// The host's choice; there is none before the first.
struct ChosenAgent : util::OneOf<ChosenAgent> {
  std::wstring path;
};

// The program in this folder. Its path is absolute, so that it is started from where it was found.
std::wstring AgentIn(const std::wstring& folder) {
  const DWORD size = GetFullPathNameW(folder.c_str(), 0, nullptr, nullptr);
  std::wstring absolute(size, L'\0');
  const DWORD length = GetFullPathNameW(folder.c_str(), size, absolute.data(), nullptr);
  absolute.resize(length < size ? length : 0);
  return util::JoinPath(absolute, kAgentFile);
}

}  // namespace

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
  log::Info(kAgentPath, commandLine);
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
