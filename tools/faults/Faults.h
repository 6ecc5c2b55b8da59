// The faults: how each is made, and what may be lost by it.
#pragma once

#include <span>

#include "Plan.h"
#include "stage/Case.h"

namespace vantra::faults {

// What the library's documents allow to be lost.
enum class Loss {
  kNothing,
  kWhileItLasts,   // what is recorded while no file can be opened
  kRestOfSession,  // a failed write takes the document with it and silences the session
  kEverything,     // without consent or agent every document is deleted at the next finish, and none begins
};

// What to expect of starts when the fault was there before the hosts.
enum class Made {
  kCannot,   // not on this machine
  kAllows,   // sessions start
  kRefuses,  // none starts, and there is no document
  kNoNames,  // sessions start, and perhaps no file can have their documents' names
};

struct Fault {
  const char* name;
  Loss loss;
  bool hindersFinish;            // documents may keep their temporary names
  Made (*prepare)(const Plan&);  // before the hosts; null when nothing is to be done
  bool (*begin)(const Plan&);    // between two calls of the first host; null for a fault that lasts
  void (*end)(const Plan&);      // between two later calls
  void (*cleanUp)();             // after everything has been checked
};

[[nodiscard]] std::span<const Fault> Faults();

// The agent's configuration as the library itself lays it out, with recording active and the agent
// collecting.
[[nodiscard]] inline std::string ActiveConfig() {
  return "[settings]\nmaxdiskspace=10\nmaxretries=3\nretryinterval=10\nurl=file:///" +
         (stage::AgentFolder() / "Outbox").generic_string() + "\n[ulog]\nstatus=Active\n";
}

}  // namespace vantra::faults
