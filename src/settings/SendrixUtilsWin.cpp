#include "settings/SendrixUtilsWin.h"

#include "log/Logger.h"
#include "settings/AgentFolders.h"
#include "settings/AgentProgram.h"
#include "settings/LogsTidy.h"
#include "util/Files.h"
#include "util/Paths.h"

namespace vantra::settings {
namespace {

const log::LoggerPointer logger("Vantra");

constexpr std::string_view kSource = "..\\SendrixUtilsWin";
constexpr int kAgentPathLine = 182;

// The pairs, then this process's own environment, ready for the platform.
std::wstring EnvironmentBlock(const EnvironmentPairs& extra) {
  std::wstring block;
  for (const auto& [name, value] : extra) block.append(name).append(L"=").append(value).push_back(L'\0');
  wchar_t* const own = GetEnvironmentStringsW();
  if (own != nullptr) {
    const wchar_t* end = own;
    while (*end != L'\0') end += std::char_traits<wchar_t>::length(end) + 1;
    block.append(own, static_cast<size_t>(end - own));
    FreeEnvironmentStringsW(own);
  }
  block.push_back(L'\0');
  return block;
}

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
  if (logger->IsOn()) logger->Info(L"Sendrix2 Path: " + commandLine, kSource, kAgentPathLine);
  return StartProcess(std::move(commandLine), {});
}

bool StartProcess(std::wstring commandLine, const EnvironmentPairs& extraEnvironment) {
  std::wstring environment;
  if (!extraEnvironment.empty()) environment = EnvironmentBlock(extraEnvironment);
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION process{};
  if (!CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE,
                      CREATE_NO_WINDOW | CREATE_UNICODE_ENVIRONMENT,
                      environment.empty() ? nullptr : environment.data(), nullptr, &startup, &process)) {
    return false;
  }
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
  return true;
}

}  // namespace vantra::settings
