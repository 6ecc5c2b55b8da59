// The transport agent: its program, and starting it. Every failure is an empty path or false.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vantra::settings {

// The explicit choice of the host: a folder in UTF-8. NULL leaves the present choice, an empty folder or one
// that is not text takes it back.
void SetAgentFolder(const char* folder);

// Path of an existing Sendrix2.exe: the host's explicit choice, beside the host's executable, or where the
// registry says; else empty.
[[nodiscard]] std::wstring GetAgentPath();

// 0 when there is an agent, else 13.
[[nodiscard]] int VerifyTransAgentExist();

// Whether the agent has something to fetch.
[[nodiscard]] bool HasFinishedDocument(const std::wstring& logsFolder);

// Starts the agent, detached and without a window, and does not wait for it. The document's path is not
// handed over; an empty one only means that there is nothing to start for. In protected mode the Logs folder
// is tidied instead.
bool StartTransportAgent(const std::wstring& documentPath);

using EnvironmentPairs = std::vector<std::pair<std::wstring, std::wstring>>;

// Starts a program by its command line; the pairs are added in front of this process's environment.
[[nodiscard]] bool StartProcess(std::wstring commandLine, const EnvironmentPairs& extraEnvironment);

}  // namespace vantra::settings
