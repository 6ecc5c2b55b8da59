// The faults: how each is made, and what may be lost by it.
#include <thread>
#include <utility>

#include "Campaign.h"

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

// By the words of the documents: a yes, or no choice yet in a pre-release.
Made Consent(const Plan& plan, std::wstring_view optIn) {
  return optIn == L"1" || (optIn != L"0" && plan.isPreRelease) ? Made::kAllows : Made::kRefuses;
}

Made WithoutConsent(const Plan& plan) {
  RemoveKey(KeyOfProduct());
  if (plan.choice % 2 != 0) return Consent(plan, L"");
  return SetValue(KeyOfProduct(), "OptIn", "dword:0"), Made::kRefuses;
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

template <const char* agent>
Made SendTo(const Plan&) {
  CopyFileW((CaseFolder() / agent).c_str(), Agent().c_str(), FALSE);
  return SetValue(kUsage, "send", "sz:1"), Made::kAllows;
}
constexpr char kCollects[] = "Collects.exe", kStays[] = "host.exe", kBroken[] = "Broken.exe";

std::string RandomBytes(Random& random, uint32_t size) {
  std::string bytes(size, '\0');
  for (char& byte : bytes) byte = static_cast<char>(random.Below(256));
  return bytes;
}

Made BreakConfig(const Plan& plan) {
  Random random(plan.choice);
  const std::string off = "[settings]\nurl=https://localhost/skylamp\n[ulog]\nstatus=Disabled";
  const size_t cut = random.Below(off.size() + 1);
  const Path shipped = CaseFolder() / "Sendrix2.cfg";
  switch (random.Below(8)) {
    case 0:
      return WriteFile(Config(), off.substr(0, cut)), cut == off.size() ? Made::kRefuses : Made::kAllows;
    case 1: {
      std::string huge = "[x]\n";
      for (int i = 0; i < 200; ++i) huge.append("k" + std::to_string(i) + "=\n# ").append(4000, 'c') += '\n';
      return WriteFile(Config(), huge + off), Made::kRefuses;
    }
    case 2:
      return WriteFile(Config(), RandomBytes(random, random.Below(100'000))), Made::kAllows;
    case 3:
      return WriteFile(Config(), off), Hold(Config(), 0), Made::kAllows;
    case 4:
      return fs::remove(Config()), fs::create_directories(Config() / "x"), Made::kAllows;
    case 5:  // what is shipped is taken only when there is none yet
      return fs::remove_all(Config()), WriteFile(shipped, off), Made::kRefuses;
    case 6:
      return fs::create_directories(shipped), Made::kAllows;
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
  const DWORD type = random.Below(REG_QWORD + 1);
  constexpr uint32_t kSizes[] = {0, 1, 2, 3, 4, 5, 8, 72, 1022, 1023, 1024, 1025, 1026, 4096, 65'536};
  std::string bytes = RandomBytes(random, random.One(kSizes));
  if (random.OneIn(2)) {
    const std::wstring text(random.One({L"1", L"0", L"2", L"", L"00", L"1 "}));
    bytes.assign(reinterpret_cast<const char*>(text.c_str()),
                 (text.size() + random.Below(2)) * sizeof(wchar_t));
  } else if (random.OneIn(4)) {
    bytes.assign({static_cast<char>(random.Below(3)), 0, 0, 0});
  }
  const std::wstring text = AsText(type, bytes);
  const auto set = [&](std::string_view key, const char* name) { SetBytes(key, name, type, bytes); };
  switch (random.Below(5)) {
    case 0:
      return set(KeyOfProduct(), "OptIn"), Consent(plan, text);
    case 1:
      return set(kPolicy, "enabled"), text == L"0" ? Made::kRefuses : Made::kAllows;
    case 2:
      return set(kUsage, "GUID"), Made::kNoNames;
    case 3:
      set(KeyOfProduct() + "\\Demographic", random.OneIn(2) ? "Age" : "");
      set(KeyOfProduct() + "_F0_S0_1", "OptIn");
      return set(KeyOfProduct(), "Date"), Made::kAllows;
    default:
      return set(kUsage, random.One({"obfuscate", "send", "UserType", "Agent"})), Made::kAllows;
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
    Hold(Config(), 0, OPEN_EXISTING);
    Sleep(1);
    LetGo();
    if (Clock::now() - begin > std::chrono::milliseconds(10)) Shared<Journal>().isHeldLong = true;
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
    {.name = "agent collects", .prepare = SendTo<kCollects>},
    {.name = "agent never ends", .prepare = SendTo<kStays>},
    {.name = "agent does not start", .prepare = SendTo<kBroken>},
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
    {.name = "Logs read-only", .loss = kWhileItLasts,
     .begin = [](const Plan&) { return SetWritable(Logs(), false); },
     .end = [](const Plan&) { static_cast<void>(SetWritable(Logs(), true)); },
     .cleanUp = [] { static_cast<void>(SetWritable(Logs(), true)); }},
    {.name = "next file held", .loss = kWhileItLasts, .begin = HoldNext, .end = FreeNext},
    {.name = "open file held", .hindersFinish = true, .begin = HoldOpen,
     .end = [](const Plan&) { LetGo(); }},
    {.name = "file size limit", .loss = kRestOfSession,
     .begin = [](const Plan& plan) { return LimitFiles(plan.choice % (plan.choice % 3 == 0 ? 2000 : 120'000)); },
     .end = [](const Plan&) { static_cast<void>(LimitFiles(~uint64_t{0})); }},
    {.name = "volume full", .loss = kRestOfSession,
     .prepare = [](const Plan&) { return MountVolume(Logs(), uint64_t{1} << 24) ? Made::kAllows : Made::kCannot; },
     .begin = FillVolume, .end = [](const Plan&) { fs::remove(Ballast()); }, .cleanUp = [] { Unmount(Logs()); }},
    {.name = "crash without consent, busy", .loss = kEverything, .begin = Withdraw, .others = Others::kRecord},
    {.name = "crash while sessions close", .others = Others::kOpenAndClose},
    {.name = "crash of threads together", .others = Others::kCrash},
};
// clang-format on

}  // namespace

std::span<const Fault> Faults() { return kFaults; }

}  // namespace vantra::faults
