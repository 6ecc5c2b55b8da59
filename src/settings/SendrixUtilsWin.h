// The transport agent at work. Every failure is false.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vantra::settings {

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
