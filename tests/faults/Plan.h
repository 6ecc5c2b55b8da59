// What happens in a round: a pure function of its number, so that hosts, faults and the checker need to be
// told nothing else.
#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace vantra::faults {

inline constexpr int kMostHosts = 8;
inline constexpr int kMostSessions = 3;  // of a host
inline constexpr char kUsageKey[] = "Campaign";

// How the first host ends; the others close their sessions and leave.
enum class End { kClose, kLeave, kExit, kCrash, kKill };

enum class Act : uint8_t { kStart, kAdd, kEvent, kGroup, kAddToGroup, kClose, kFaultBegins, kFaultEnds };

struct Call {
  Act act;
  uint8_t session;   // of the host, counted from 0
  std::string text;  // what is recorded: tells host and number of the call, so that no two are the same
};

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

[[nodiscard]] Plan PlanOf(uint64_t seed);
// All calls of a host. The first one has those of the fault among them, when it happens between calls.
[[nodiscard]] std::vector<Call> ScriptOf(const Plan& plan, int host);

[[nodiscard]] std::string FamilyOf(int host);
[[nodiscard]] std::string NameOf(int session);

class Random {
 public:
  explicit Random(uint64_t seed) : engine_(seed * 0x9E3779B97F4A7C15) {}
  uint32_t Below(uint32_t limit) { return static_cast<uint32_t>(engine_() % limit); }
  bool OneIn(uint32_t n) { return Below(n) == 0; }

 private:
  std::mt19937_64 engine_;
};

}  // namespace vantra::faults
