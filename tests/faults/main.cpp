// The fault campaign: rounds in which hosts record while they are killed and their world is broken, each
// judged by what is left on disk. A round is told by its number alone.
#include <windows.h>

#include <CLI/CLI.hpp>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <list>
#include <thread>

#include "Actor.h"
#include "Checker.h"
#include "stage/Host.h"

namespace vantra::faults {
namespace {

namespace fs = std::filesystem;
using namespace vantra::stage;  // NOLINT: the campaign's own language
using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kLongest{30};
constexpr const char* kEnds[] = {"closes", "leaves", "exits", "crashes", "is killed"};

struct Total {
  uint64_t rounds = 0, hosts = 0, records = 0, lost = 0, failed = 0, skipped = 0;

  void operator+=(const Total& other) {
    rounds += other.rounds, hosts += other.hosts, records += other.records;
    lost += other.lost, failed += other.failed, skipped += other.skipped;
  }
  void Print(const char* name) const {
    if (skipped != 0) std::printf("%-30s cannot be made here\n", name);
    if (rounds != 0)
      std::printf("%-30s %7llu %7llu %9llu %9llu %7llu\n", name, rounds, hosts, records, lost, failed);
  }
};

// The agent under another name, what stands in for it, and the folders that hosts would litter.
void SetTheStage() {
  EnterNewCase();
  RemoveKey(Hive::kMachine, "Software");  // no document is named, so no digest is made
  fs::rename(CaseFolder() / "Sendrix2.exe", CaseFolder() / "Collects.exe");
  WriteFile(CaseFolder() / "Broken.exe", "starts nowhere");
  fs::create_directory(CaseFolder() / "Temp");
  SetEnvironmentVariableW(L"TEMP", (CaseFolder() / "Temp").c_str());
  SetEnvironmentVariableW(L"TMP", (CaseFolder() / "Temp").c_str());
  fs::create_directory(CaseFolder() / "Current");
  fs::current_path(CaseFolder() / "Current");
}

void RemoveAll(std::initializer_list<Path> paths) {
  for (const Path& path : paths) {
    if (!Remove(path)) throw std::runtime_error(path.string() + " is still in use");
  }
}

void ResetTheStage(const Plan& plan) {
  RemoveAll({AppData(), CaseFolder() / "Sendrix2.exe", CaseFolder() / "Sendrix2.cfg",
             CaseFolder() / "SKLog.config"});
  fs::create_directories(Logs() / "sub");
  for (const Path& folder :
       {AppData(), AppData() / "Tolvex", AgentFolder(), Logs() / "sub", CaseFolder() / "Temp"}) {
    WriteFile(folder / "bystander.tmp", "somebody else's");
  }
  CopyFileW((CaseFolder() / "Broken.exe").c_str(), (CaseFolder() / "Sendrix2.exe").c_str(), FALSE);
  WriteFile(AgentFolder() / "Sendrix2.cfg", ConfigText(Switch::kActive));
  if (plan.isLogged) WriteFile(CaseFolder() / "SKLog.config", "");
  RemoveKey(Hive::kUser, kUsage);
  RemoveKey(Hive::kMachine, kPolicy);
  SetValue(Hive::kUser, kUsage, "send", "sz:0");
  SetValue(Hive::kUser, kUsage, "obfuscate", plan.isObfuscated ? "sz:1" : "sz:0");
  SetValue(Hive::kUser, std::string(kUsage) + "\\" + kUsageKey, "OptIn", "dword:1");
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
  if (const auto meanwhile = Faults()[plan.fault].meanwhile; meanwhile != nullptr)
    other = std::jthread([=](const std::stop_token& stop) { meanwhile(plan, stop); });
  for (int i = 0; i < plan.hosts; ++i) {
    hosts.push_back(StartHost([seed = plan.seed, i] { ActAs(seed, i); }));
  }
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
  std::string text = "seed " + std::to_string(plan.seed) + ": " + Faults()[plan.fault].name + " (" +
                     std::to_string(plan.choice) + "), " + std::to_string(plan.hosts) + " hosts, the first " +
                     kEnds[static_cast<int>(plan.end)];
  if (plan.end == End::kKill) {
    text += " " + std::to_string(plan.killDelay) + " us after call " + std::to_string(plan.killAt);
  }
  return text;
}

Verdict Judge(const Plan& plan, Made made) {
  const Surroundings before = LookAround();
  Verdict verdict;
  try {
    PlayHosts(plan);
    if (Shared<Journal>().isHeldLong) made = Made::kMayRefuse;
    const std::vector<Document> documents = ReadDocuments(plan, verdict);
    for (int host = 0; host < plan.hosts; ++host) {
      JudgeHost(plan, host, made, Shared<Journal>().hosts[host], documents, verdict);
    }
    CompareSurroundings(plan, before, verdict);
  } catch (const std::exception& failure) {
    verdict.faults.emplace_back(failure.what());
  }
  return verdict;
}

Total PlayRound(const Plan& plan) {
  const Fault& fault = Faults()[plan.fault];
  ResetTheStage(plan);
  const Made made = fault.prepare == nullptr ? Made::kAllows : fault.prepare(plan);
  if (made == Made::kCannot) return {.skipped = 1};
  const Verdict verdict = Judge(plan, made);
  if (fault.cleanUp != nullptr) fault.cleanUp();
  if (!verdict.faults.empty()) std::printf("FAILED %s\n", Describe(plan).c_str());
  for (size_t i = 0; i < std::min<size_t>(verdict.faults.size(), 5); ++i) {
    std::printf("  %.300s\n", verdict.faults[i].c_str());
  }
  return {.rounds = 1,
          .hosts = static_cast<uint64_t>(plan.hosts),
          .records = verdict.records,
          .lost = verdict.lost,
          .failed = verdict.faults.empty() ? 0u : 1u};
}

int Run(uint64_t first, int rounds, const std::string& kind) {
  std::setvbuf(stdout, nullptr, _IONBF, 0);
  std::vector<Total> totals(Faults().size());
  const auto begin = Clock::now();
  auto next = begin + std::chrono::seconds(10);
  SetTheStage();
  if (rounds == 1) std::printf("%s\n", Describe(PlanOf(first)).c_str());
  for (int i = 0; i < rounds; ++first) {
    const Plan plan = PlanOf(first);
    if (!std::string_view(Faults()[plan.fault].name).starts_with(kind)) continue;
    ++i;
    totals[plan.fault] += PlayRound(plan);
    if (Clock::now() < next) continue;
    std::printf("%d of %d rounds\n", i, rounds);
    next += std::chrono::seconds(10);
  }
  fs::current_path(CaseFolder().parent_path());
  if (!LeaveCase()) std::printf("the stage's folder is still in use\n");

  std::printf("\n%-30s %7s %7s %9s %9s %7s\n", "fault", "rounds", "hosts", "records", "lost", "failed");
  Total all;
  for (size_t i = 0; i < totals.size(); ++i) {
    totals[i].Print(Faults()[i].name);
    all += totals[i];
  }
  all.skipped = 0;
  all.Print("all");
  std::printf("%.0f s\n", std::chrono::duration<double>(Clock::now() - begin).count());
  return all.failed == 0 ? 0 : 1;
}

// As an agent that the library must not wait for.
int StayAsAgent(const Path& program) {
  EnterCaseAsHost(Utf8(program.parent_path().filename().native()));
  for (int i = 0; i < 6000 && !Shared<Journal>().agentsMayEnd; ++i) Sleep(10);
  return 0;
}

}  // namespace
}  // namespace vantra::faults

int main(int count, char** arguments) try {
  using namespace vantra;
  if (const auto code = stage::RunAsHost(count, arguments)) return *code;
  const stage::Path program = arguments[0];
  if (program.filename() == "Sendrix2.exe") return faults::StayAsAgent(program);

  int rounds = 1;
  uint64_t seed = 0;
  CLI::App app("Breaks the world of hosts that record, kills them, and checks what is left.",
               "vantra-faults");
  app.allow_windows_style_options(false);
  const auto* seedOption =
      app.add_option("--seed", seed, "Number of the first round (default: a random one)");
  const auto* roundsOption = app.add_option("--rounds", rounds, "How many (default: 2000, or 1 with --seed)");
  std::string kind;
  app.add_option("--fault", kind, "Plays only the faults whose names begin so")
      ->check([](const std::string& text) {
        const auto isKind = [&](const faults::Fault& fault) {
          return std::string_view(fault.name).starts_with(text);
        };
        return std::ranges::any_of(faults::Faults(), isKind) ? "" : "there is no such fault";
      });
  CLI11_PARSE(app, count, arguments);
  if (seedOption->count() == 0) seed = std::random_device{}();
  if (seedOption->count() + roundsOption->count() == 0) rounds = 2000;
  return faults::Run(seed, rounds, kind);
} catch (const std::exception& failure) {
  std::fprintf(stderr, "vantra-faults: %s\n", failure.what());
  return 2;
}
