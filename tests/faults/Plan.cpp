#include <algorithm>

#include "Campaign.h"

namespace vantra::faults {
namespace {

// What a document has to escape, and what it must leave as it is.
constexpr std::string_view kLetters = "abcdefghij klmnop&<>\"'\\\n\t/=;#\xC3\xA9";

}  // namespace

Plan PlanOf(uint64_t seed) {
  Random random(seed);
  Plan plan{.seed = seed, .fault = seed % Faults().size(), .choice = random.Below(1U << 30)};
  const Fault& fault = FaultOf(plan);
  plan.hosts = random.One({1, 1, 1, 1, 1, 1, 1, 2, 2, 8});
  if (fault.begin != nullptr) plan.hosts = std::min(plan.hosts, 2);
  if (fault.meanwhile != nullptr) plan.hosts = kMostHosts;
  plan.isLong = random.OneIn(3) || fault.loss == Loss::kEverything;
  plan.isWatched = random.OneIn(2);
  plan.isLogged = random.OneIn(6);
  plan.isPreRelease = random.OneIn(4);
  plan.isObfuscated = random.OneIn(2);
  plan.end = random.One({End::kClose, End::kClose, End::kClose, End::kLeave, End::kExit, End::kCrash,
                         End::kKill, End::kKill, End::kKill, End::kKill});
  if (fault.others != Others::kNone) plan.hosts = 1, plan.isWatched = true, plan.end = End::kCrash;
  const auto calls = static_cast<uint32_t>(ScriptOf(plan, 0).size());
  const uint32_t moment = random.Below(4);
  // While it loads and starts, while it closes, or at any call.
  plan.killAt = moment == 0 ? 0 : moment == 1 ? calls - 1 - random.Below(2) : random.Below(calls);
  plan.killDelay = random.Below(moment == 0 ? 60'000 : moment == 1 ? 2000 : 500);
  return plan;
}

// Sessions that overlap, each from its start to its close.
std::vector<Call> ScriptOf(const Plan& plan, int host) {
  Random random(plan.seed * kMostHosts + static_cast<uint64_t>(host) + 1);
  const bool isLong = plan.isLong && plan.hosts < kMostHosts;
  const size_t calls = isLong ? 300 + random.Below(500) : 10 + random.Below(70);
  std::vector<Call> script;
  std::vector<uint8_t> open;
  uint8_t started = 0;
  const auto any = [&] { return open[random.Below(open.size())]; };
  const auto text = [&](size_t longest) {
    std::string unique = "@" + std::to_string(host) + "." + std::to_string(script.size()) + ".";
    const size_t length = random.Below(longest);
    while (unique.size() < length) unique += kLetters[random.Below(kLetters.size())];
    return unique;
  };
  const auto close = [&] {
    script.push_back({Act::kClose, any(), {}});
    std::erase(open, script.back().session);
  };
  while (script.size() < calls) {
    const bool isFull = started == kMostSessions;
    if (!isFull && (open.empty() || (random.OneIn(25) && open.size() < 2))) {
      open.push_back(started);
      script.push_back({Act::kStart, started++, {}});
    } else if (random.OneIn(40) && (!isFull || open.size() > 1)) {
      close();
    } else {
      const Act act = random.One({Act::kAdd, Act::kAdd, Act::kEvent, Act::kGroup, Act::kAddToGroup});
      const bool isLabel = act == Act::kEvent || act == Act::kGroup;  // of which 128 bytes count
      script.push_back({act, any(), text(isLabel ? 127 : isLong ? 512 : 100)});
    }
  }
  const bool isAbrupt = host == 0 && plan.end != End::kClose && plan.end != End::kKill;
  while (!isAbrupt && !open.empty()) close();
  if (host == 0 && FaultOf(plan).begin != nullptr) {
    const ptrdiff_t begins = 1 + random.Below(calls - 1), ends = begins + 1 + random.Below(calls);
    script.insert(script.begin() + begins, {Act::kFaultBegins, 0, {}});
    if (ends < std::ssize(script)) script.insert(script.begin() + ends, {Act::kFaultEnds, 0, {}});
  }
  return script;
}

}  // namespace vantra::faults
