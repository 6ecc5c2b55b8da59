// Rounds in which hosts record while they are killed and their world is broken, each judged by what is left
// on disk. A round is told by its number alone.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstring>
#include <list>
#include <thread>

#include "Campaign.h"
#include "stage/Host.h"

namespace vantra::faults {

std::string ConfigText(Switch status) {
  return "[settings]\nmaxdiskspace=10\nmaxretries=3\nretryinterval=10\nurl=file:///" +
         (AgentFolder() / "Outbox").generic_string() +
         "\n[ulog]\nstatus=" + (status == Switch::kActive ? "Active\n" : "Disabled\n");
}

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
  WriteFile(AgentFolder() / "Sendrix2.cfg", ConfigText(Switch::kActive));
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

std::string Describe(const Plan& plan) {
  constexpr const char* kEnds[] = {"closes", "leaves", "exits", "crashes", "is killed"};
  std::string text = "seed " + std::to_string(plan.seed) + ": " + FaultOf(plan).name + " (" +
                     std::to_string(plan.choice) + "), " + std::to_string(plan.hosts) + " hosts, the first " +
                     kEnds[static_cast<int>(plan.end)];
  if (plan.end != End::kKill) return text;
  return text + " " + std::to_string(plan.killDelay) + " us after call " + std::to_string(plan.killAt);
}

Verdict Judge(const Plan& plan, Made made) {
  const Surroundings before = LookAround();
  Verdict verdict;
  try {
    PlayHosts(plan);
    if (Shared<Journal>().isHeldLong) made = Made::kMayRefuse;
    const std::vector<Document> documents = ReadDocuments(plan, verdict);
    for (int host = 0; host < plan.hosts; ++host)
      JudgeHost(plan, host, made, Shared<Journal>().hosts[host], documents, verdict);
    CompareSurroundings(plan, before, verdict);
  } catch (const std::exception& failure) {
    verdict.faults.emplace_back(failure.what());
  }
  return verdict;
}

// What came of a kind of fault.
struct Total {
  uint64_t rounds = 0, failed = 0, records = 0, skipped = 0;

  void Play(const Plan& plan) {
    const Fault& fault = FaultOf(plan);
    ResetTheStage(plan);
    const Made made = fault.prepare == nullptr ? Made::kAllows : fault.prepare(plan);
    if (made == Made::kCannot) return void(++skipped);
    const Verdict verdict = Judge(plan, made);
    if (fault.cleanUp != nullptr) fault.cleanUp();
    ++rounds, failed += !verdict.faults.empty(), records += verdict.records;
    if (!verdict.faults.empty()) std::printf("FAILED %s\n", Describe(plan).c_str());
    for (size_t i = 0; i < std::min<size_t>(verdict.faults.size(), 5); ++i)
      std::printf("  %.300s\n", verdict.faults[i].c_str());
  }
};

int Run(uint64_t seed, int rounds, const std::string& kind) {
  std::setvbuf(stdout, nullptr, _IONBF, 0);
  std::vector<Total> totals(Faults().size());
  SetTheStage();
  for (int left = rounds; left > 0; ++seed) {
    const Plan plan = PlanOf(seed);
    if (!std::string_view(FaultOf(plan).name).starts_with(kind)) continue;
    if (rounds == 1) std::printf("%s\n", Describe(plan).c_str());
    totals[plan.fault].Play(plan);
    if (--left % 100 == 0) std::printf("%d rounds to go\n", left);
  }
  fs::current_path(CaseFolder().parent_path());
  if (!LeaveCase()) std::printf("the stage's folder is still in use\n");

  bool isGood = true;
  std::printf("%-30s %7s %7s %9s\n", "fault", "rounds", "failed", "records");
  for (size_t i = 0; i < totals.size(); ++i) {
    const auto& [played, failed, records, skipped] = totals[i];
    if (skipped != 0) std::printf("%-30s cannot be made here\n", Faults()[i].name);
    if (played != 0) std::printf("%-30s %7llu %7llu %9llu\n", Faults()[i].name, played, failed, records);
    isGood = isGood && failed == 0;
  }
  return isGood ? 0 : 1;
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
  app.add_option("--fault", kind, "Plays only the faults whose names begin so")
      ->check([](const std::string& text) {
        const auto isKind = [&](const Fault& fault) {
          return std::string_view(fault.name).starts_with(text);
        };
        return std::ranges::any_of(Faults(), isKind) ? "" : "there is no such fault";
      });
  CLI11_PARSE(app, count, arguments);
  return Run(seed, rounds != 0 ? rounds : seedOption->count() != 0 ? 1 : 2000, kind);
} catch (const std::exception& failure) {
  std::fprintf(stderr, "vantra-faults: %s\n", failure.what());
  return 2;
}
