// The faults: how each is made, and what may be lost by it.
#pragma once

#include <span>
#include <stop_token>
#include <string_view>

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
  kCannot,     // not on this machine
  kAllows,     // sessions start
  kRefuses,    // none starts, and there is no document
  kMayRefuse,  // at some moment
  kNoNames,    // sessions start, and perhaps no file can have their documents' names
};

// What other threads of the first host do while it crashes.
enum class Others { kNone, kRecord, kOpenAndClose, kCrash };

// What the agent's configuration says after the round.
enum class Switch { kActive, kDisabled, kAny };

// The agent's configuration as the library itself lays it out, with the agent collecting.
[[nodiscard]] inline std::string ConfigText(Switch status) {
  return "[settings]\nmaxdiskspace=10\nmaxretries=3\nretryinterval=10\nurl=file:///" +
         (stage::AgentFolder() / "Outbox").generic_string() +
         "\n[ulog]\nstatus=" + (status == Switch::kActive ? "Active\n" : "Disabled\n");
}

struct Fault {
  const char* name;
  Loss loss = Loss::kNothing;
  bool hindersFinish = false;  // documents may keep their temporary names; else only by a loss
  Switch status = Switch::kActive;
  Made (*prepare)(const Plan&) = nullptr;                            // before the hosts
  bool (*begin)(const Plan&) = nullptr;                              // between two calls of the first host
  void (*end)(const Plan&) = nullptr;                                // between two later calls
  void (*meanwhile)(const Plan&, const std::stop_token&) = nullptr;  // by another process, while hosts act
  Others others = Others::kNone;  // other than none: the first host crashes
  void (*cleanUp)() = nullptr;    // after everything has been checked
};

[[nodiscard]] std::span<const Fault> Faults();

}  // namespace vantra::faults
