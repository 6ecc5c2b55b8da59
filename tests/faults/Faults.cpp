#include "Faults.h"

#include <windows.h>

#include <chrono>
#include <thread>
#include <utility>

#include "Actor.h"
#include "stage/Disk.h"
#include "stage/Document.h"

namespace vantra::faults {
namespace {

namespace fs = std::filesystem;
using namespace vantra::stage;  // NOLINT: the campaign's own language

Path Agent() { return CaseFolder() / "Sendrix2.exe"; }
Path Config() { return AgentFolder() / "Sendrix2.cfg"; }
Path Moved() { return AgentFolder() / "Moved"; }
Path Ballast() { return Logs() / "ballast"; }
std::string KeyOfProduct() { return std::string(kUsage) + "\\" + kUsageKey; }

HANDLE Hold(const Path& path, DWORD sharing, DWORD disposition = OPEN_ALWAYS) {
  return CreateFileW(path.c_str(), GENERIC_READ, sharing, nullptr, disposition, 0, nullptr);
}

std::vector<HANDLE> held;
void LetGo() {
  for (HANDLE file : std::exchange(held, {})) CloseHandle(file);
}

// By the words of the documents: a yes, or no choice yet in a pre-release.
Made Consent(const Plan& plan, std::wstring_view optIn) {
  return optIn == L"1" || (optIn != L"0" && plan.isPreRelease) ? Made::kAllows : Made::kRefuses;
}

Made WithoutConsent(const Plan& plan) {
  RemoveKey(Hive::kUser, KeyOfProduct());
  if (plan.choice % 2 == 0) SetValue(Hive::kUser, KeyOfProduct(), "OptIn", "dword:0");
  return Consent(plan, plan.choice % 2 == 0 ? L"0" : L"");
}

bool Withdraw(const Plan& plan) {
  SetValue(Hive::kUser, KeyOfProduct(), "OptIn",
           plan.isPreRelease || plan.choice % 2 == 0 ? "dword:0" : "sz:no");
  return true;
}

Made Forbid(const Plan& plan) {
  SetValue(Hive::kMachine, kPolicy, "enabled", plan.choice % 2 == 0 ? "dword:0" : "sz:0");
  return Made::kRefuses;
}

Made WithoutAgent(const Plan& plan) {
  fs::remove(Agent());
  if (plan.choice % 2 == 0) fs::create_directory(Agent());
  return Made::kRefuses;
}

bool RemoveAgent(const Plan&) { return Remove(Agent()); }

Made SendTo(const Path& agent) {
  CopyFileW(agent.c_str(), Agent().c_str(), FALSE);
  SetValue(Hive::kUser, kUsage, "send", "sz:1");
  return Made::kAllows;
}

std::string RandomBytes(Random& random, uint32_t size) {
  std::string bytes(size, '\0');
  for (char& byte : bytes) byte = static_cast<char>(random.Below(256));
  return bytes;
}

Made BreakConfig(const Plan& plan) {
  Random random(plan.choice);
  const std::string off = "[settings]\nurl=https://localhost/skylamp\n[ulog]\nstatus=Disabled";
  const size_t cut = random.Below(static_cast<uint32_t>(off.size() + 1));
  switch (random.Below(8)) {
    case 0:
      WriteFile(Config(), off.substr(0, cut));
      return cut == off.size() ? Made::kRefuses : Made::kAllows;
    case 1: {
      std::string huge = "[x]\n";
      for (int i = 0; i < 200; ++i) huge.append("k" + std::to_string(i) + "=\n# ").append(4000, 'c') += '\n';
      WriteFile(Config(), huge + off);
      return Made::kRefuses;
    }
    case 2:
      return WriteFile(Config(), RandomBytes(random, random.Below(100'000))), Made::kAllows;
    case 3:
      WriteFile(Config(), off);
      held.push_back(Hold(Config(), 0));
      return Made::kAllows;
    case 4:
      fs::remove(Config());
      fs::create_directories(Config() / "x");
      return Made::kAllows;
    case 5:  // what is shipped is taken only when there is none yet
      fs::remove_all(Config());
      WriteFile(CaseFolder() / "Sendrix2.cfg", off);
      return Made::kRefuses;
    case 6:
      return fs::create_directories(CaseFolder() / "Sendrix2.cfg"), Made::kAllows;
    default:
      return fs::remove(Config()), Made::kAllows;
  }
}

// What a value comes to by the rules: a number in decimal, anything else as text to its first NUL, and
// nothing when it is longer than 1,024 bytes.
std::wstring AsText(DWORD type, std::string bytes) {
  if (bytes.size() > 1024) return L"(too long)";
  bytes.resize(1024 + sizeof(wchar_t));
  if (type == REG_DWORD) return std::to_wstring(*reinterpret_cast<const DWORD*>(bytes.data()));
  return reinterpret_cast<const wchar_t*>(bytes.data());
}

Made BreakRegistry(const Plan& plan) {
  Random random(plan.choice);
  constexpr uint32_t kSizes[] = {0, 1, 2, 3, 4, 5, 8, 72, 1022, 1023, 1024, 1025, 1026, 4096, 65'536};
  constexpr std::wstring_view kTexts[] = {L"1", L"0", L"2", L"", L"00", L"1 "};
  const DWORD type = random.Below(REG_QWORD + 1);
  std::string bytes = RandomBytes(random, kSizes[random.Below(std::size(kSizes))]);
  if (random.OneIn(2)) {
    const std::wstring text(kTexts[random.Below(std::size(kTexts))]);
    bytes.assign(reinterpret_cast<const char*>(text.c_str()),
                 (text.size() + random.Below(2)) * sizeof(wchar_t));
  } else if (random.OneIn(4)) {
    bytes.assign({static_cast<char>(random.Below(3)), 0, 0, 0});
  }
  const std::wstring text = AsText(type, bytes);
  const auto set = [&](Hive hive, const std::string& key, const char* name) {
    SetBytes(hive, key, name, type, bytes);
  };
  constexpr const char* kOthers[] = {"obfuscate", "send", "UserType", "Agent"};
  switch (random.Below(5)) {
    case 0:
      set(Hive::kUser, KeyOfProduct(), "OptIn");
      return Consent(plan, text);
    case 1:
      set(Hive::kMachine, std::string(kPolicy), "enabled");
      return text == L"0" ? Made::kRefuses : Made::kAllows;
    case 2:
      set(Hive::kUser, std::string(kUsage), "GUID");
      return Made::kNoNames;
    case 3:
      set(Hive::kUser, KeyOfProduct() + "\\Demographic", random.OneIn(2) ? "Age" : "");
      set(Hive::kUser, KeyOfProduct() + "_F0_S0_1", "OptIn");
      set(Hive::kUser, KeyOfProduct(), "Date");
      return Made::kAllows;
    default:
      set(Hive::kUser, std::string(kUsage), kOthers[random.Below(std::size(kOthers))]);
      return Made::kAllows;
  }
}

bool TakeLogsAway(const Plan& plan) {
  fs::rename(Logs(), Moved());
  if (plan.choice % 3 == 0) WriteFile(Logs(), "in the way");
  return true;
}

void BringLogsBack(const Plan& plan) {
  if (fs::is_regular_file(Logs())) fs::remove(Logs());
  plan.choice % 2 == 0 ? fs::rename(Moved(), Logs()) : static_cast<void>(fs::create_directory(Logs()));
}

bool LockLogs(const Plan&) { return SetWritable(Logs(), false); }
void UnlockLogs(const Plan&) { static_cast<void>(SetWritable(Logs(), true)); }
Made OnAVolume(const Plan&) { return MountVolume(Logs(), uint64_t{1} << 24) ? Made::kAllows : Made::kCannot; }

// Leaves a few pages.
bool FillVolume(const Plan& plan) {
  ULARGE_INTEGER left;
  GetDiskFreeSpaceExW(Logs().c_str(), &left, nullptr, nullptr);
  WriteFile(Ballast(),
            std::string(left.QuadPart - std::min(left.QuadPart, ULONGLONG{plan.choice % 16} * 4096), 'x'));
  return true;
}

// The files that sessions have open, or will open next.
template <class Visit>
void ForOpenFiles(uint32_t next, Visit visit) {
  for (const std::string& name : Documents()) {
    if (!name.ends_with(".tmp")) continue;
    const size_t index = name.rfind('_') + 1;
    visit(Logs() / (name.substr(0, index) + std::to_string(std::stoul(name.substr(index)) + next) + ".tmp"));
  }
}

bool HoldNext(const Plan& plan) {
  ForOpenFiles(1, [&](const Path& path) {
    if (plan.choice % 2 == 0) {
      held.push_back(Hold(path, 0));
    } else {
      fs::create_directory(path);
    }
  });
  return true;
}

void FreeNext(const Plan&) {
  LetGo();
  std::error_code ignored;
  for (const std::string& name : Documents()) {
    if (name.ends_with(".tmp") && fs::is_directory(Logs() / name)) fs::remove(Logs() / name, ignored);
  }
}

bool HoldOpen(const Plan&) {
  // By now the file may be finished, by another host: nothing must take its place.
  ForOpenFiles(0, [](const Path& path) {
    held.push_back(Hold(path, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_EXISTING));
  });
  return true;
}

bool LimitTheFiles(const Plan& plan) {
  return LimitFiles(plan.choice % 3 == 0 ? plan.choice % 2000 : plan.choice % 120'000);
}

void PutConfig(std::string_view text) {
  const Path written = AgentFolder() / "agents.tmp";
  WriteFile(written, text);
  while (!MoveFileExW(written.c_str(), Config().c_str(), MOVEFILE_REPLACE_EXISTING)) Sleep(0);
}

// An agent that changes its configuration again and again, and at last switches recording off.
void ReplaceConfig(const Plan& plan, const std::stop_token& stop) {
  Journal& journal = Shared<Journal>();
  while (journal.hosts[plan.choice % kMostHosts].begun == 0 && !stop.stop_requested()) Sleep(0);
  for (uint32_t i = 0; i < plan.choice % 30; ++i) {
    std::string text = ConfigText(Switch::kActive);
    text.replace(text.find("10\nurl"), 2, std::to_string(11 + i));
    PutConfig(text);
    Sleep(3);
    if (ReadFile(Config()) != text) return;  // and what is there is not what it must be after the round
  }
  PutConfig(ConfigText(Switch::kDisabled));
  journal.isDisabled = true;
}

// An agent that opens its configuration for itself alone, for a millisecond or two.
void HoldConfig(const Plan& plan, const std::stop_token& stop) {
  using Clock = std::chrono::steady_clock;
  for (Random random(plan.choice); !stop.stop_requested(); Sleep(random.Below(4))) {
    const auto begin = Clock::now();
    const HANDLE file = Hold(Config(), 0, OPEN_EXISTING);
    Sleep(1);
    CloseHandle(file);
    if (Clock::now() - begin > std::chrono::milliseconds(10)) Shared<Journal>().isHeldLong = true;
  }
}

using enum Loss;
// clang-format off
constexpr Fault kFaults[] = {
    {.name = "nothing"},
    {.name = "no consent", .prepare = WithoutConsent},
    {.name = "consent withdrawn", .loss = kEverything, .begin = Withdraw},
    {.name = "policy forbids", .prepare = Forbid},
    {.name = "agent missing", .prepare = WithoutAgent},
    {.name = "agent removed", .loss = kEverything, .begin = RemoveAgent},
    {.name = "agent collects", .prepare = [](const Plan&) { return SendTo(CaseFolder() / "Collects.exe"); }},
    {.name = "agent never ends", .prepare = [](const Plan&) { return SendTo(CaseFolder() / "host.exe"); }},
    {.name = "agent does not start",
     .prepare = [](const Plan&) { return SendTo(CaseFolder() / "Broken.exe"); }},
    {.name = "configuration broken", .status = Switch::kAny, .prepare = BreakConfig, .cleanUp = LetGo},
    {.name = "configuration replaced", .status = Switch::kDisabled,
     .prepare = [](const Plan&) { return Made::kMayRefuse; }, .meanwhile = ReplaceConfig},
    {.name = "configuration held", .status = Switch::kDisabled,
     .prepare = [](const Plan&) { return WriteFile(Config(), ConfigText(Switch::kDisabled)), Made::kRefuses; },
     .meanwhile = HoldConfig},
    {.name = "registry values of any type", .prepare = BreakRegistry},
    {.name = "Logs missing or a file", .loss = kWhileItLasts,
     .prepare = [](const Plan& plan) { return TakeLogsAway(plan) ? Made::kAllows : Made::kCannot; }},
    {.name = "Logs vanishes and returns", .loss = kWhileItLasts, .begin = TakeLogsAway, .end = BringLogsBack},
    {.name = "Logs read-only", .loss = kWhileItLasts, .begin = LockLogs, .end = UnlockLogs,
     .cleanUp = [] { UnlockLogs({}); }},
    {.name = "next file held", .loss = kWhileItLasts, .begin = HoldNext, .end = FreeNext},
    {.name = "open file held", .hindersFinish = true, .begin = HoldOpen,
     .end = [](const Plan&) { LetGo(); }},
    {.name = "file size limit", .loss = kRestOfSession, .begin = LimitTheFiles,
     .end = [](const Plan&) { static_cast<void>(LimitFiles(~uint64_t{0})); }},
    {.name = "volume full", .loss = kRestOfSession, .prepare = OnAVolume, .begin = FillVolume,
     .end = [](const Plan&) { fs::remove(Ballast()); }, .cleanUp = [] { Unmount(Logs()); }},
    {.name = "crash without consent, busy", .loss = kEverything, .begin = Withdraw, .others = Others::kRecord},
    {.name = "crash while sessions close", .others = Others::kOpenAndClose},
    {.name = "crash of threads together", .others = Others::kCrash},
};
// clang-format on

}  // namespace

std::span<const Fault> Faults() { return kFaults; }

}  // namespace vantra::faults
