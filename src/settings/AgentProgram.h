// Finds the transport agent's program. Opens no log, so that programs can call it on behalf of a host.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "util/HostProcess.h"

namespace vantra::settings {

// Sets the host's explicit choice: a UTF-8 folder; a relative one is resolved against the current folder now.
// NULL keeps the previous choice. An empty folder, or one that cannot be converted, withdraws it.
void SetAgentFolder(const char* folder);

// A folder where the agent may be.
struct AgentPlace {
  std::string_view name;                                   // for messages
  std::wstring (*folder)(const std::wstring& hostFolder);  // absolute; empty when there is none
};
// In the order in which they are searched.
[[nodiscard]] std::span<const AgentPlace> AgentPlaces() noexcept;

// Path of Sendrix2.exe in the first place that has it. Empty when none has; an empty registry key Agent is
// then deleted.
[[nodiscard]] std::wstring GetAgentPath(const std::wstring& hostFolder = util::HostFolder());

// 0 when the agent is found, else 13.
[[nodiscard]] int VerifyTransAgentExist();

}  // namespace vantra::settings
