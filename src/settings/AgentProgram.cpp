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
struct ChosenFolder : util::OneOf<ChosenFolder> {
  std::wstring path;
};

std::wstring FolderOfHost() {
  const ChosenFolder* const chosen = ChosenFolder::Existing();
  return chosen == nullptr ? std::wstring() : chosen->path;
}

// All are absolute, so that what is found is also what is started.
constexpr AgentPlace kPlaces[] = {
    {"the folder given to UTInitialize", [](const std::wstring&) { return FolderOfHost(); }},
    {"the host's folder", [](const std::wstring& hostFolder) { return hostFolder; }},
    {"the value Agent of the Usage key",
     [](const std::wstring&) { return util::FullPath(GetStoredAgentFolder()); }},
};

}  // namespace

void SetAgentFolder(const char* folder) {
  if (folder != nullptr) ChosenFolder::Instance().path = util::FullPath(util::FromUtf8(folder));
}

std::span<const AgentPlace> AgentPlaces() noexcept { return kPlaces; }

std::wstring GetAgentPath(const std::wstring& hostFolder) {
  for (const AgentPlace& place : kPlaces) {
    std::wstring path = util::JoinPath(place.folder(hostFolder), kAgentFile);
    if (!path.empty() && util::IsFile(path)) return path;
  }
  DeleteAgentSubkey();
  return {};
}

int VerifyTransAgentExist() { return GetAgentPath().empty() ? kAgentMissing : kAgentFound; }

}  // namespace vantra::settings
