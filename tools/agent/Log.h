// The agent's own diagnostic log: SKLog-Sendrix2.txt beside the library's, by the same code and under a
// switch file SKLog.config beside the agent.
#pragma once

#include "log/Logger.h"

namespace vantra::agent {

// One that does nothing while logging is off. The first call opens the log, which starts anew unless the
// switch file says otherwise: an agent that finds another one at work must not call it.
[[nodiscard]] inline log::Logger& Log() noexcept { return *log::GetLogger("Sendrix2"); }

}  // namespace vantra::agent
