// The agent's own diagnostic log: SKLog-Sendrix2.txt beside the library's log, switched on by a file
// SKLog.config beside the agent.
#pragma once

#include "log/Logger.h"

namespace vantra::agent {

// The agent's logger; it does nothing while logging is off. The first call opens the log, and truncates it
// unless SKLog.config says otherwise, so an agent that finds another one at work must not call this.
[[nodiscard]] inline log::Logger& Log() noexcept { return *log::GetLogger("Sendrix2"); }

}  // namespace vantra::agent
