// Rounds in which hosts record while they are killed and their world is broken, each judged by what is left
// on disk. A round is told by its number alone.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstring>
#include <list>
#include <map>
#include <thread>

#include "Campaign.h"
#include "stage/Document.h"
#include "stage/Host.h"

namespace vantra::faults {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kLongest{30};

// The agent under another name, what stands in for it, and the folders that hosts would litter.
void SetTheStage() {
  EnterNewCase();
  RemoveKey("HKLM\\Software");  // no document is named, so no digest is made
  fs::rename(CaseFolder() / "Sendrix2.exe", CaseFolder() / "Collects.exe");
  WriteFile(CaseFolder() / "Broken.exe", "starts nowhere");
  for (const char* name : {"Temp", "Current"}) fs::create_directory(CaseFolder() / name);
  for (const wchar_t* name : {L"TEMP", L"TMP"})
    SetEnvironmentVariableW(name, (CaseFolder() / "Temp").c_str());
  fs::current_path(CaseFolder() / "Current");
}

void ResetTheStage(const Plan& plan) {
  for (const Path& path : {AppData(), CaseFolder() / "Sendrix2.exe", CaseFolder() / "Sendrix2.cfg",
                           CaseFolder() / "SKLog.config"}) {
    if (!Remove(path)) throw std::runtime_error(path.string() + " is still in use");
  }
  fs::create_directories(Logs() / "sub");
  for (const Path& folder :
       {AppData(), AppData() / "Tolvex", AgentFolder(), Logs() / "sub", CaseFolder() / "Temp"})
    WriteFile(folder / "bystander.tmp", "somebody else's");
  CopyFileW((CaseFolder() / "Broken.exe").c_str(), (CaseFolder() / "Sendrix2.exe").c_str(), FALSE);
  WriteFile(AgentFolder() / "Sendrix2.cfg", ConfigText("Active"));
  if (plan.isLogged) SwitchLogOn();
  RemoveKey(kUsage), RemoveKey(kPolicy);
  SetValue(kUsage, "send", "sz:0");
  SetValue(kUsage, "obfuscate", plan.isObfuscated ? "sz:1" : "sz:0");
  SetValue(std::string(kUsage) + "\\" + kUsageKey, "OptIn", "dword:1");
  std::memset(SharedMemory(), 0, kSharedSize);
}

void KillInTime(const Plan& plan, Host& host, const Journal::Host& journal) {
  while (journal.begun <= plan.killAt && plan.killAt != 0 && !host.HasEnded()) std::this_thread::yield();
  const auto end = Clock::now() + std::chrono::microseconds(plan.killDelay);
  while (Clock::now() < end) std::this_thread::yield();
  host.Kill();
}

// Throws when a host hangs or ends otherwise than planned.
void PlayHosts(const Plan& plan) {
  Journal& journal = Shared<Journal>();
  std::list<Host> hosts;
  std::jthread other;
  if (const auto meanwhile = FaultOf(plan).meanwhile; meanwhile != nullptr)
    other = std::jthread([=](const std::stop_token& stop) { meanwhile(plan, stop); });
  for (int i = 0; i < plan.hosts; ++i) hosts.push_back(StartHost([seed = plan.seed, i] { ActAs(seed, i); }));
  if (plan.end == End::kKill) KillInTime(plan, hosts.front(), journal.hosts[0]);
  const auto end = Clock::now() + kLongest;
  for (const Host& host : hosts) {
    while (!host.HasEnded() && Clock::now() < end) Sleep(1);
    if (!host.HasEnded()) throw std::runtime_error("a host hangs");
  }
  journal.agentsMayEnd = true;
  // An agent that a killed host was just about to start may never come to life.
  if (plan.end == End::kKill) hosts.pop_front();
  uint32_t wanted = plan.end == End::kCrash ? kCrashCode : 0;
  for (Host& host : hosts) {
    const uint32_t code = host.Wait(kLongest);
    if (code != std::exchange(wanted, 0))
      throw std::runtime_error("a host ends with " + std::to_string(code));
  }
}

// Nothing when the fault cannot be made here.
std::optional<Lines> Play(const Plan& plan) {
  const Fault& fault = FaultOf(plan);
  ResetTheStage(plan);
  Made made = fault.prepare == nullptr ? Made::kAllows : fault.prepare(plan);
  if (made == Made::kCannot) return {};
  Lines faults;
  try {
    const Surroundings before = Bystanders(plan);
    PlayHosts(plan);
    if (Shared<Journal>().isHeldLong) made = Made::kMayRefuse;
    faults = Judge(plan, made);
    if (const std::string changed = Difference(before, Bystanders(plan)); !changed.empty())
      faults.push_back(changed);
  } catch (const std::exception& failure) {
    faults.emplace_back(failure.what());
  }
  UndoFaults();
  return faults;
}

int Run(uint64_t seed, int rounds, std::string_view kind) {
  constexpr const char* kEnds[] = {"closes", "leaves", "exits", "crashes", "is killed"};
  const auto isKind = [&](const Fault& fault) { return std::string_view(fault.name).starts_with(kind); };
  if (std::ranges::none_of(Faults(), isKind)) throw std::runtime_error("there is no such fault");
  std::setvbuf(stdout, nullptr, _IONBF, 0);
  int failed = 0;
  std::map<std::string_view, int> played, leftOut;
  SetTheStage();
  for (int left = rounds; left > 0; ++seed) {
    const Plan plan = PlanOf(seed);
    const char* const name = FaultOf(plan).name;
    if (!isKind(FaultOf(plan))) continue;
    const std::optional<Lines> faults = Play(plan);
    ++(faults ? played : leftOut)[name];
    if (faults && !faults->empty()) {
      ++failed;
      std::printf("FAILED seed %llu: %s, %d hosts, the first %s\n", seed, name, plan.hosts,
                  kEnds[static_cast<int>(plan.end)]);
      for (const std::string& fault : *faults) std::printf("  %.300s\n", fault.c_str());
    }
    if (--left % 100 == 0) std::printf("%d rounds to go, %d failed\n", left, failed);
  }
  fs::current_path(CaseFolder().parent_path());
  if (!LeaveCase()) std::printf("the stage's folder is still in use\n");
  for (const auto& [name, count] : played) std::printf("%5d %s\n", count, name.data());
  for (const auto& [name, count] : leftOut) std::printf("%5d %s: cannot be made here\n", count, name.data());
  return failed == 0 ? 0 : 1;
}

// As an agent that the library must not wait for.
int StayAsAgent() {
  EnterCaseAsHost();
  for (int i = 0; i < 6000 && !Shared<Journal>().agentsMayEnd; ++i) Sleep(10);
  return 0;
}

}  // namespace
}  // namespace vantra::faults

int main(int count, char** arguments) try {
  using namespace vantra::faults;
  if (const auto code = RunAsHost(count, arguments)) return *code;
  if (Path(arguments[0]).filename() == "Sendrix2.exe") return StayAsAgent();

  int rounds = 0;
  uint64_t seed = std::random_device{}();
  std::string kind;
  CLI::App app("Breaks the world of hosts that record, kills them, and checks what is left.",
               "vantra-faults");
  app.allow_windows_style_options(false);
  const auto* seedOption =
      app.add_option("--seed", seed, "Number of the first round (default: a random one)");
  app.add_option("--rounds", rounds, "How many (default: 2000, or 1 with --seed)");
  app.add_option("--fault", kind, "Plays only the faults whose names begin so");
  CLI11_PARSE(app, count, arguments);
  return Run(seed, rounds != 0 ? rounds : seedOption->count() != 0 ? 1 : 2000, kind);
} catch (const std::exception& failure) {
  std::fprintf(stderr, "vantra-faults: %s\n", failure.what());
  return 2;
}
