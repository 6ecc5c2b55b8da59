// Finds the transport agent's program. Opens no log, so that programs can call it on behalf of a host.
#pragma once

#include <string>

#include "util/HostProcess.h"

namespace vantra::settings {

// Sets the host's explicit choice: a UTF-8 folder; a relative one is resolved against the current folder now.
// NULL keeps the previous choice. An empty folder, or one that cannot be converted, withdraws it.
void SetAgentFolder(const char* folder);

// Path of an existing Sendrix2.exe: in the folder the host chose, beside the host's executable, or in the
// folder stored in the registry, in this order. Empty when there is none; an empty registry key Agent is then
// deleted.
[[nodiscard]] std::wstring GetAgentPath(const std::wstring& hostFolder = util::HostFolder());

// 0 when the agent is found, else 13.
[[nodiscard]] int VerifyTransAgentExist();

}  // namespace vantra::settings
