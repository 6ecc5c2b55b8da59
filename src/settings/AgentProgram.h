// Finding the transport agent's program. Opens no log, for programs that look for it on behalf of a host.
#pragma once

#include <string>

#include "util/HostProcess.h"

namespace vantra::settings {

// The explicit choice of the host: a folder in UTF-8, a relative one below the present working folder. NULL
// leaves the present choice, an empty folder or one that is not text takes it back.
void SetAgentFolder(const char* folder);

// Path of an existing Sendrix2.exe: the host's explicit choice, beside the host's executable, or where the
// registry says; else empty, after deleting an empty registry key Agent.
[[nodiscard]] std::wstring GetAgentPath(const std::wstring& hostFolder = util::HostFolder());

// 0 when there is an agent, else 13.
[[nodiscard]] int VerifyTransAgentExist();

}  // namespace vantra::settings
