#include "settings/SendrixUtilsWin.h"

#include <string_view>
#include <utility>

#include "log/Log.h"
#include "settings/AgentFolders.h"
#include "settings/AgentProgram.h"
#include "settings/LogsTidy.h"
#include "util/Files.h"
#include "util/Paths.h"

namespace vantra::settings {
namespace {

constexpr std::string_view kSource = "..\\SendrixUtilsWin";
constexpr log::Message kAgentPath{kSource, "Sendrix2 Path: ", 182};

}  // namespace

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
