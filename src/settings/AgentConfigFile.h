// Where the agent's configuration file lies and how the user's copy follows the shipped one.
#pragma once

#include <string>
#include <string_view>

#include "settings/AgentConfig.h"
#include "util/HostProcess.h"

namespace vantra::settings {

// Path of the user's copy in the agent's data folder, after bringing it up to date with the copy beside the
// host's executable. Empty when the data folder is, and when a shipped file cannot be copied: a copy without
// its entries would go before it from then on.
[[nodiscard]] std::wstring GetAgentConfigPath(const std::wstring& agentDataFolder,
                                              const std::wstring& hostFolder = util::HostFolder());

// Reads the file, checks whether the application may record, and writes the file back: its time, and its text
// when that changes and nobody else has changed it meanwhile. An empty path, and a file that cannot be read,
// say yes; the latter is not written.
[[nodiscard]] ConfigStatus VerifyConfigStatus(std::string_view applicationFamily,
                                              std::string_view applicationName, const std::wstring& path,
                                              std::string_view section);

}  // namespace vantra::settings
