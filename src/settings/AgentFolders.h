// Where the transport agent and the library meet. Opens no log: the agent, which shares this, has one of its
// own.
#pragma once

#include <string>

namespace vantra::settings {

// Both empty when the user's application-data folder cannot be found. Nothing is made.
struct AgentFolders {
  std::wstring data;
  std::wstring logs;
};

// Asks the platform each time: once for both folders.
[[nodiscard]] AgentFolders GetAgentFolders();
// Those that hosts in protected mode use, whatever this process is.
[[nodiscard]] AgentFolders GetProtectedModeFolders();

// Internet Explorer's protected mode, where the process may write to low-integrity places only and start
// nothing. Asked once in the life of the process.
[[nodiscard]] bool IsProtectedMode();

}  // namespace vantra::settings
