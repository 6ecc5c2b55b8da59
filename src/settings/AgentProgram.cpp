#include "settings/AgentProgram.h"

#include "settings/UsageSettings.h"
#include "util/Files.h"
#include "util/GlobalItems.h"
#include "util/Paths.h"
#include "util/Text.h"

namespace vantra::settings {
namespace {

constexpr std::wstring_view kAgentFile = L"Sendrix2.exe";
constexpr int kAgentFound = 0;
constexpr int kAgentMissing = 13;

// Points into the global items once a host has chosen a folder.
constinit std::wstring* explicitAgentPath = nullptr;

// The program in this folder. Its path is absolute, so that it is started from where it was found.
std::wstring AgentIn(const std::wstring& folder) {
  return util::JoinPath(util::FullPath(folder), kAgentFile);
}

}  // namespace

void SetAgentFolder(const char* folder) {
  if (folder == nullptr) return;
  std::wstring path = AgentIn(util::FromUtf8(folder));
  if (explicitAgentPath == nullptr) explicitAgentPath = &util::GlobalItems::Instance().Add(std::wstring());
  *explicitAgentPath = std::move(path);
}

std::wstring GetAgentPath(const std::wstring& hostFolder) {
  if (explicitAgentPath != nullptr && util::IsFile(*explicitAgentPath)) return *explicitAgentPath;
  std::wstring path = util::JoinPath(hostFolder, kAgentFile);
  if (util::IsFile(path)) return path;
  path = AgentIn(GetStoredAgentFolder());
  if (util::IsFile(path)) return path;
  DeleteAgentSubkey();
  return {};
}

int VerifyTransAgentExist() { return GetAgentPath().empty() ? kAgentMissing : kAgentFound; }

}  // namespace vantra::settings
