// Starts the transport agent when documents wait for it. Finding its program and folders is in AgentProgram
// and AgentFolders.
#pragma once

#include <string>

namespace vantra::settings {

// Whether the folder holds a finished document, .xml or .rdy.
[[nodiscard]] bool HasFinishedDocument(const std::wstring& logsFolder);

// Starts the agent without a window and does not wait for it. The path is not passed to the agent; if empty,
// nothing starts. In protected mode the Logs folder is tidied instead. False when nothing was started.
bool StartTransportAgent(const std::wstring& documentPath);

// Starts a program by its command line, without a window, and does not wait for it. False on failure.
[[nodiscard]] bool StartProcess(std::wstring commandLine);

}  // namespace vantra::settings
