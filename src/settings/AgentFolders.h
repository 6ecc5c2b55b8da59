// The folders that the library and the transport agent share. Opens no log: the agent, which uses this too,
// has its own.
#pragma once

#include <string>

namespace vantra::settings {

// Without trailing backslashes. Both are empty when the user's application-data folder cannot be found.
struct AgentFolders {
  std::wstring data;
  std::wstring logs;
};

// Queries the platform on each call. Creates no agent folder.
[[nodiscard]] AgentFolders GetAgentFolders();
// The folders of hosts in protected mode, whatever the mode of this process.
[[nodiscard]] AgentFolders GetProtectedModeFolders();

// Whether the process runs in Internet Explorer's protected mode: it may write only to low-integrity places
// and start no program. Queried once per process.
[[nodiscard]] bool IsProtectedMode();

}  // namespace vantra::settings
