// The agent's configuration file on disk, and how the user's copy follows the shipped one.
#pragma once

#include <string>
#include <string_view>

#include "settings/AgentConfig.h"
#include "util/HostProcess.h"

namespace vantra::settings {

// Brings the user's copy in the agent's data folder up to date with the file beside the host's executable,
// and returns its path. Empty when the data folder is, or when the shipped file cannot be copied: a copy
// without its entries would take precedence from then on.
[[nodiscard]] std::wstring GetAgentConfigPath(const std::wstring& agentDataFolder,
                                              const std::wstring& hostFolder = util::HostFolder());

// Checks whether the application may record, and writes the file back: its time always, its text if the check
// changed it and nobody else has meanwhile. An empty path, and a file that cannot be read, count as active;
// the latter is not written.
[[nodiscard]] ConfigStatus VerifyConfigStatus(std::string_view applicationFamily,
                                              std::string_view applicationName, const std::wstring& path,
                                              std::string_view section);

}  // namespace vantra::settings
