// The faults: how each is made, and what may be lost by it.
#include <utility>

#include "Campaign.h"
#include "stage/Document.h"

namespace vantra::faults {
namespace {

namespace fs = std::filesystem;

Path Agent() { return CaseFolder() / "Sendrix2.exe"; }
Path Config() { return AgentFolder() / "Sendrix2.cfg"; }
Path Moved() { return AgentFolder() / "Moved"; }
Path Ballast() { return Logs() / "ballast"; }
std::string KeyOfProduct() { return std::string(kUsage) + "\\" + kUsageKey; }

std::vector<HANDLE> held;
void Hold(const Path& path, DWORD sharing, DWORD disposition = OPEN_ALWAYS) {
  held.push_back(CreateFileW(path.c_str(), GENERIC_READ, sharing, nullptr, disposition, 0, nullptr));
}
void LetGo() {
  for (HANDLE file : std::exchange(held, {})) CloseHandle(file);
}

Made WithoutConsent(const Plan& plan) {
  RemoveKey(KeyOfProduct());
  if (plan.choice % 2 == 0) SetValue(KeyOfProduct(), "OptIn", "dword:0");
  return plan.choice % 2 != 0 && plan.isPreRelease ? Made::kAllows : Made::kRefuses;
}

bool Withdraw(const Plan& plan) {
  const bool isChoice = plan.isPreRelease || plan.choice % 2 == 0;
  return SetValue(KeyOfProduct(), "OptIn", isChoice ? "dword:0" : "sz:no"), true;
}

Made WithoutAgent(const Plan& plan) {
  fs::remove(Agent());
  if (plan.choice % 2 == 0) fs::create_directory(Agent());
  return Made::kRefuses;
}

Made SendTo(const char* agent) {
  CopyFileW((CaseFolder() / agent).c_str(), Agent().c_str(), FALSE);
  return SetValue(kUsage, "send", "sz:1"), Made::kAllows;
}

std::string RandomBytes(Random& random, size_t size) {
  std::string bytes(size, '\0');
  for (char& byte : bytes) byte = static_cast<char>(random.Below(256));
  return bytes;
}

// What such texts mean is the matter of tests/host and tests/fuzz.
Made BreakConfig(const Plan& plan) {
  Random random(plan.choice);
  const std::string off = ConfigText("Disabled");
  const Path shipped = CaseFolder() / "Sendrix2.cfg";
  fs::remove(Config());
  switch (random.Below(6)) {
    case 0:
      return WriteFile(Config(), RandomBytes(random, random.Below(100'000))), Made::kAllows;
    case 1:
      return WriteFile(Config(), off), Hold(Config(), 0), Made::kAllows;
    case 2:
      return fs::create_directories(Config() / "x"), Made::kAllows;
    case 3:  // what is shipped is taken only when there is none yet
      return WriteFile(shipped, off), Made::kRefuses;
    case 4:
      return fs::create_directories(shipped), Made::kAllows;
    default:
      return Made::kAllows;
  }
}

// What such values mean is the matter of tests/host.
Made BreakRegistry(const Plan& plan) {
  struct Row {
    std::string key;
    const char* name;
    Made made = Made::kAllows;
  };
  const Row rows[] = {{KeyOfProduct(), "OptIn", Made::kMayRefuse},
                      {std::string(kPolicy), "enabled", Made::kMayRefuse},
                      {std::string(kUsage), "GUID", Made::kNoNames},
                      {KeyOfProduct() + "\\Demographic", "Age"},
                      {KeyOfProduct() + "_F0_S0_1", "OptIn"},
                      {KeyOfProduct(), "Date"},
                      {std::string(kUsage), "obfuscate"},
                      {std::string(kUsage), "send"},
                      {std::string(kUsage), "UserType"},
                      {std::string(kUsage), "Agent"}};
  Random random(plan.choice);
  const Row row = random.One(rows);
  std::string bytes =
      RandomBytes(random, random.One<size_t>({0, 1, 3, 4, 72, 1022, 1023, 1024, 1026, 65'536}));
  if (random.OneIn(2)) bytes.assign({random.One({'0', '1', '2'}), '\0', '\0', '\0'});
  SetBytes(row.key, row.name, random.Below(REG_QWORD + 1), bytes);
  return row.made;
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

// Leaves a few pages.
bool FillVolume(const Plan& plan) {
  ULARGE_INTEGER left;
  GetDiskFreeSpaceExW(Logs().c_str(), &left, nullptr, nullptr);
  const ULONGLONG kept = std::min(left.QuadPart, ULONGLONG{plan.choice % 16} * 4096);
  return WriteFile(Ballast(), std::string(left.QuadPart - kept, 'x')), true;
}

bool HoldNext(const Plan& plan) {
  for (const std::string& name : Documents()) {
    if (!name.ends_with(".tmp")) continue;
    const size_t index = name.rfind('_') + 1;
    const Path next =
        Logs() / (name.substr(0, index) + std::to_string(std::stoul(name.substr(index)) + 1) + ".tmp");
    plan.choice % 2 == 0 ? Hold(next, 0) : static_cast<void>(fs::create_directory(next));
  }
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
  for (const std::string& name : Documents())
    if (name.ends_with(".tmp")) Hold(Logs() / name, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_EXISTING);
  return true;
}

void PutConfig(std::string_view text) {
  const Path written = AgentFolder() / "agents.tmp";
  WriteFile(written, text);
  while (!MoveFileExW(written.c_str(), Config().c_str(), MOVEFILE_REPLACE_EXISTING)) Sleep(0);
}

template <Made made>
Made Disable(const Plan&) {
  return WriteFile(Config(), ConfigText("Disabled")), made;
}

// An agent that changes its configuration again and again, and at last to what it was before the round.
void ReplaceConfig(const Plan& plan, const std::stop_token& stop) {
  Journal& journal = Shared<Journal>();
  std::string text = ConfigText("Active");
  PutConfig(text);
  while (journal.hosts[plan.choice % kMostHosts].begun == 0 && !stop.stop_requested()) Sleep(0);
  for (uint32_t i = 0; i < plan.choice % 30; ++i) {
    text.replace(text.find("\nurl") - 2, 2, std::to_string(11 + i));
    PutConfig(text);
    Sleep(3);
    if (ReadFile(Config()) != text) return;  // and what is there is not what it must be after the round
  }
  PutConfig(ConfigText("Disabled"));
  journal.isDisabled = true;
}

// An agent that opens its configuration for itself alone, for a millisecond or two.
void HoldConfig(const Plan& plan, const std::stop_token& stop) {
  for (Random random(plan.choice); !stop.stop_requested(); Sleep(random.Below(4))) {
    const ULONGLONG begin = GetTickCount64();
    Hold(Config(), 0, OPEN_EXISTING);
    Sleep(1);
    LetGo();
    if (GetTickCount64() - begin > 10) Shared<Journal>().isHeldLong = true;
  }
}

using enum Loss;
// clang-format off
constexpr Fault kFaults[] = {
    {.name = "nothing"},
    {.name = "no consent", .prepare = WithoutConsent},
    {.name = "consent withdrawn", .loss = kEverything, .begin = Withdraw},
    {.name = "policy forbids", .prepare = [](const Plan& plan) {
       return SetValue(kPolicy, "enabled", plan.choice % 2 == 0 ? "dword:0" : "sz:0"), Made::kRefuses; }},
    {.name = "agent missing", .prepare = WithoutAgent},
    {.name = "agent removed", .loss = kEverything, .begin = [](const Plan&) { return Remove(Agent()); }},
    {.name = "agent collects", .prepare = [](const Plan&) { return SendTo("Collects.exe"); }},
    {.name = "agent never ends", .prepare = [](const Plan&) { return SendTo("host.exe"); }},
    {.name = "agent does not start", .prepare = [](const Plan&) { return SendTo("Broken.exe"); }},
    {.name = "configuration broken", .isInConfig = true, .prepare = BreakConfig},
    {.name = "configuration replaced", .prepare = Disable<Made::kMayRefuse>, .meanwhile = ReplaceConfig},
    {.name = "configuration held", .prepare = Disable<Made::kRefuses>, .meanwhile = HoldConfig},
    {.name = "registry values of any type", .prepare = BreakRegistry},
    {.name = "Logs missing or a file", .loss = kWhileItLasts,
     .prepare = [](const Plan& plan) { return TakeLogsAway(plan) ? Made::kAllows : Made::kCannot; }},
    {.name = "Logs vanishes and returns", .loss = kWhileItLasts, .begin = TakeLogsAway, .end = BringLogsBack},
    {.name = "Logs read-only", .loss = kWhileItLasts,
     .begin = [](const Plan&) { return SetWritable(Logs(), false); },
     .end = [](const Plan&) { static_cast<void>(SetWritable(Logs(), true)); }},
    {.name = "next file held", .loss = kWhileItLasts, .begin = HoldNext, .end = FreeNext},
    {.name = "open file held", .hindersFinish = true, .begin = HoldOpen,
     .end = [](const Plan&) { LetGo(); }},
    {.name = "file size limit", .loss = kRestOfSession,
     .begin = [](const Plan& plan) { return LimitFiles(plan.choice % (plan.choice % 3 == 0 ? 2000 : 120'000)); },
     .end = [](const Plan&) { static_cast<void>(LimitFiles(~uint64_t{0})); }},
    {.name = "volume full", .loss = kRestOfSession,
     .prepare = [](const Plan&) { return MountVolume(Logs(), uint64_t{1} << 24) ? Made::kAllows : Made::kCannot; },
     .begin = FillVolume, .end = [](const Plan&) { fs::remove(Ballast()); }},
    {.name = "crash without consent, busy", .loss = kEverything, .begin = Withdraw, .others = Others::kRecord},
    {.name = "crash while sessions close", .others = Others::kOpenAndClose},
    {.name = "crash of threads together", .others = Others::kCrash},
};
// clang-format on

}  // namespace

std::span<const Fault> Faults() { return kFaults; }

std::string ConfigText(const std::string& status) {
  return "[settings]\nmaxdiskspace=10\nmaxretries=3\nretryinterval=10\nurl=file:///" +
         (AgentFolder() / "Outbox").generic_string() + "\n[ulog]\nstatus=" + status + "\n";
}

void UndoFaults() {
  LetGo();
  static_cast<void>(SetWritable(Logs(), true));
  Unmount(Logs());
}

}  // namespace vantra::faults
