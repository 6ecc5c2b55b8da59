// The transport agent at work. Every failure is false.
#pragma once

#include <string>

namespace vantra::settings {

// Whether the agent has something to fetch.
[[nodiscard]] bool HasFinishedDocument(const std::wstring& logsFolder);

// Starts the agent, detached and without a window, and does not wait for it. The path is not passed to the
// agent; if empty, nothing starts. In protected mode the Logs folder is tidied instead.
bool StartTransportAgent(const std::wstring& documentPath);

// Starts a program by its command line, without a window, and does not wait for it.
[[nodiscard]] bool StartProcess(std::wstring commandLine);

}  // namespace vantra::settings
