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

// The host's choice; created by the first SetAgentFolder.
struct ChosenAgent : util::OneOf<ChosenAgent> {
  std::wstring path;
};

// Path of the program in this folder; absolute, so that what is found is also what is started.
std::wstring AgentIn(const std::wstring& folder) {
  return util::JoinPath(util::FullPath(folder), kAgentFile);
}

}  // namespace

void SetAgentFolder(const char* folder) {
  if (folder == nullptr) return;
  ChosenAgent::Instance().path = AgentIn(util::FromUtf8(folder));
}

std::wstring GetAgentPath(const std::wstring& hostFolder) {
  const ChosenAgent* const chosen = ChosenAgent::Existing();
  if (chosen != nullptr && util::IsFile(chosen->path)) return chosen->path;
  std::wstring path = util::JoinPath(hostFolder, kAgentFile);
  if (util::IsFile(path)) return path;
  path = AgentIn(GetStoredAgentFolder());
  if (util::IsFile(path)) return path;
  DeleteAgentSubkey();
  return {};
}

int VerifyTransAgentExist() { return GetAgentPath().empty() ? kAgentMissing : kAgentFound; }

}  // namespace vantra::settings
