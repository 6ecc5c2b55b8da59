// The transport agent: its program, and starting it. Every failure is an empty path or false.
#pragma once

#include <string>

namespace vantra::settings {

// The explicit choice of the host: a folder in UTF-8, a relative one below the present working folder. NULL
// leaves the present choice, an empty folder or one that is not text takes it back.
void SetAgentFolder(const char* folder);

// Path of an existing Sendrix2.exe: the host's explicit choice, beside the host's executable, or where the
// registry says; else empty, after deleting an empty registry key Agent.
[[nodiscard]] std::wstring GetAgentPath();

// 0 when there is an agent, else 13.
[[nodiscard]] int VerifyTransAgentExist();

// Whether the agent has something to fetch.
[[nodiscard]] bool HasFinishedDocument(const std::wstring& logsFolder);

// Starts the agent, detached and without a window, and does not wait for it. The path is not passed to the
// agent; if empty, nothing starts. In protected mode the Logs folder is tidied instead.
bool StartTransportAgent(const std::wstring& documentPath);

// Starts a program by its command line, without a window, and does not wait for it.
[[nodiscard]] bool StartProcess(std::wstring commandLine);

}  // namespace vantra::settings
