#include "Plan.h"

#include <algorithm>
#include <utility>

#include "Faults.h"

namespace vantra::faults {
namespace {

// What a document has to escape, and what it must leave as it is.
constexpr std::string_view kLetters = "abcdefghij klmnop&<>\"'\\\n\t/=;#\xC3\xA9";

std::string Text(Random& random, int host, size_t call, uint32_t longest) {
  std::string text = "@" + std::to_string(host) + "." + std::to_string(call) + ".";
  const uint32_t length = random.Below(longest);
  while (text.size() < length) text += kLetters[random.Below(kLetters.size())];
  return text;
}

// Sessions that overlap, each from its start to its close.
class Sessions {
 public:
  Sessions(Random& random, std::vector<Call>& script, uint32_t longest, int host)
      : random_(random), script_(script), longest_(longest), host_(host) {}

  void Step() {
    if (open_.empty() || (random_.OneIn(25) && open_.size() < 2)) return Start();
    if (random_.OneIn(40)) return Close();
    constexpr Act kActs[] = {Act::kAdd, Act::kAdd, Act::kEvent, Act::kGroup, Act::kAddToGroup};
    const Act act = kActs[random_.Below(std::size(kActs))];
    const bool isLabel = act == Act::kEvent || act == Act::kGroup;  // of which 128 bytes count
    script_.push_back({act, Any(), Text(random_, host_, script_.size(), isLabel ? 127 : longest_)});
  }
  void Close() {
    const auto which = static_cast<ptrdiff_t>(random_.Below(static_cast<uint32_t>(open_.size())));
    if (started_ == kMostSessions && open_.size() == 1 && script_.size() < least_) return;
    script_.push_back({Act::kClose, open_[static_cast<size_t>(which)], {}});
    open_.erase(open_.begin() + which);
  }
  void CloseAll() {
    least_ = 0;
    while (!open_.empty()) Close();
  }
  void KeepOneUntil(size_t calls) { least_ = calls; }

 private:
  void Start() {
    if (started_ == kMostSessions) return;
    script_.push_back({Act::kStart, static_cast<uint8_t>(started_), {}});
    open_.push_back(static_cast<uint8_t>(started_++));
  }
  uint8_t Any() { return open_[random_.Below(static_cast<uint32_t>(open_.size()))]; }

  Random& random_;
  std::vector<Call>& script_;
  uint32_t longest_;
  int host_;
  int started_ = 0;
  size_t least_ = 0;
  std::vector<uint8_t> open_;
};

}  // namespace

Plan PlanOf(uint64_t seed) {
  Random random(seed);
  Plan plan{.seed = seed};
  plan.fault = seed % Faults().size();
  plan.choice = random.Below(1u << 30);
  const Fault& fault = Faults()[plan.fault];
  constexpr int kHosts[] = {1, 1, 1, 1, 1, 1, 1, 2, 2, 8};
  plan.hosts = kHosts[random.Below(std::size(kHosts))];
  if (fault.begin != nullptr) plan.hosts = std::min(plan.hosts, 2);
  if (fault.meanwhile != nullptr) plan.hosts = kMostHosts;
  plan.isLong = random.OneIn(3) || fault.loss == Loss::kEverything;
  plan.isWatched = random.OneIn(2);
  plan.isLogged = random.OneIn(6);
  plan.isPreRelease = random.OneIn(4);
  plan.isObfuscated = random.OneIn(2);
  constexpr End kEnds[] = {End::kClose, End::kClose, End::kClose, End::kLeave, End::kExit,
                           End::kCrash, End::kKill,  End::kKill,  End::kKill,  End::kKill};
  plan.end = kEnds[random.Below(std::size(kEnds))];
  if (fault.others != Others::kNone) plan.hosts = 1, plan.isWatched = true, plan.end = End::kCrash;
  const auto calls = static_cast<uint32_t>(ScriptOf(plan, 0).size());
  switch (random.Below(4)) {
    case 0:  // while it loads and starts
      plan.killDelay = random.Below(60'000);
      break;
    case 1:  // while it closes
      plan.killAt = calls - 1 - random.Below(2);
      plan.killDelay = random.Below(2000);
      break;
    default:
      plan.killAt = random.Below(calls);
      plan.killDelay = random.Below(500);
  }
  return plan;
}

std::vector<Call> ScriptOf(const Plan& plan, int host) {
  Random random(plan.seed * kMostHosts + static_cast<uint64_t>(host) + 1);
  const bool isLong = plan.isLong && plan.hosts < kMostHosts;
  const size_t calls = isLong ? 300 + random.Below(500) : 10 + random.Below(70);
  const size_t begins = 1 + random.Below(static_cast<uint32_t>(calls));
  const size_t ends = begins + random.Below(static_cast<uint32_t>(calls));
  const bool hasFault = host == 0 && Faults()[plan.fault].begin != nullptr;
  std::vector<Call> script;
  Sessions sessions(random, script, isLong ? 512 : 100, host);
  sessions.KeepOneUntil(calls);
  bool hasBegun = false;
  bool hasEnded = false;
  while (script.size() < calls) {
    if (hasFault && script.size() >= begins && !std::exchange(hasBegun, true)) {
      script.push_back({Act::kFaultBegins, 0, {}});
    }
    if (hasFault && script.size() >= ends && !std::exchange(hasEnded, true)) {
      script.push_back({Act::kFaultEnds, 0, {}});
    }
    sessions.Step();
  }
  const bool isAbrupt =
      host == 0 && (plan.end == End::kLeave || plan.end == End::kExit || plan.end == End::kCrash);
  if (!isAbrupt) sessions.CloseAll();
  return script;
}

std::string FamilyOf(int host) { return "F" + std::to_string(host); }
std::string NameOf(int session) { return "S" + std::to_string(session); }

}  // namespace vantra::faults
