// The fault campaign. A round is a pure function of its number, so that hosts, faults and the checker need to
// be told nothing else; what the hosts have done is noted in memory that outlives them.
#pragma once

#include <atomic>
#include <cstdint>
#include <random>
#include <span>
#include <stop_token>
#include <string>
#include <vector>

#include "stage/World.h"

namespace vantra::faults {

using namespace vantra::stage;  // NOLINT: the campaign's own language

inline constexpr int kMostHosts = 8;
inline constexpr uint8_t kMostSessions = 3;  // of a host
inline constexpr char kUsageKey[] = "Campaign";
inline constexpr uint32_t kCrashCode = 0xE0000077;  // no fault of the library's ends a host so

// How the first host ends; the others close their sessions and leave.
enum class End { kClose, kLeave, kExit, kCrash, kKill };

struct Plan {
  uint64_t seed;
  size_t fault;     // its row in the table
  uint32_t choice;  // among the variants of the fault
  int hosts;
  bool isLong;     // enough for documents to fill
  bool isWatched;  // crashes are to be recorded
  bool isLogged;
  bool isPreRelease;
  bool isObfuscated;
  End end;
  uint32_t killAt;     // the call during which the first host is killed
  uint32_t killDelay;  // in microseconds
};

enum class Act : uint8_t { kStart, kAdd, kEvent, kGroup, kAddToGroup, kClose, kFaultBegins, kFaultEnds };

struct Call {
  Act act;
  uint8_t session;   // of the host, counted from 0
  std::string text;  // what is recorded: names the host and is there once
};

[[nodiscard]] Plan PlanOf(uint64_t seed);
// All calls of a host. The first one has those of the fault among them, when it happens between calls.
[[nodiscard]] std::vector<Call> ScriptOf(const Plan& plan, int host);
[[nodiscard]] inline std::string FamilyOf(int host) { return "F" + std::to_string(host); }
[[nodiscard]] inline std::string NameOf(int session) { return "S" + std::to_string(session); }

class Random {
 public:
  explicit Random(uint64_t seed) : engine_(seed * 0x9E3779B97F4A7C15) {}
  uint32_t Below(size_t limit) { return static_cast<uint32_t>(engine_() % limit); }
  bool OneIn(uint32_t n) { return Below(n) == 0; }
  template <class T, size_t size>
  T One(const T (&values)[size]) {
    return values[Below(size)];
  }

 private:
  std::mt19937_64 engine_;
};

struct Journal {
  struct Host {
    std::atomic<uint32_t> begun;       // calls
    std::atomic<uint32_t> returned;    // calls
    std::atomic<uint32_t> refused;     // sessions, a bit each
    std::atomic<uint32_t> unexpected;  // calls with another result than they should have, faults not made
  };
  Host hosts[kMostHosts];
  std::atomic<bool> agentsMayEnd;
  std::atomic<bool> isDisabled;  // by the agent's configuration: no start begins from now on
  std::atomic<bool> isHeldLong;  // the configuration, for longer than a start waits
};

// A host: makes the calls of its script.
void ActAs(uint64_t seed, int host);

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

struct Fault {
  const char* name;
  Loss loss = Loss::kNothing;
  bool hindersFinish = false;              // documents may keep their temporary names
  bool isInConfig = false;                 // which the library may mend
  Made (*prepare)(const Plan&) = nullptr;  // before the hosts
  bool (*begin)(const Plan&) = nullptr;    // between two calls of the first host
  void (*end)(const Plan&) = nullptr;      // between two later calls
  void (*meanwhile)(const Plan&, const std::stop_token&) = nullptr;  // by another process, while hosts act
  Others others = Others::kNone;  // other than none: the first host crashes
};
[[nodiscard]] std::span<const Fault> Faults();
[[nodiscard]] inline const Fault& FaultOf(const Plan& plan) { return Faults()[plan.fault]; }
// The agent's configuration with recording "Active" or "Disabled".
[[nodiscard]] std::string ConfigText(const std::string& status);
// After everything has been checked.
void UndoFaults();

// What the hosts should have recorded and did not, or the other way round: judged by the plan, the journal
// and the documents. Knows the documented rules, and nothing of the library.
[[nodiscard]] Lines Judge(const Plan& plan, Made made);
// What is neither the library's nor the fault's, and must be the same after the round.
[[nodiscard]] Surroundings Bystanders(const Plan& plan);

}  // namespace vantra::faults
