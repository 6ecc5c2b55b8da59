// Whether a session may start, and when the agent is started. The rules themselves are tested in the core.
#include <windows.h>

#include <algorithm>
#include <climits>
#include <functional>

#include "HostTest.h"

namespace vantra::test {
namespace {

namespace fs = std::filesystem;

const std::string kKeys = std::string(kUsage) + "\\";

bool Starts(Library& ut, const char* family = "Acme", const char* name = "Draw",
            const char* version = "3.1") {
  void* session = &session;
  const int32_t result = ut.StartSession(&session, family, name, version, nullptr, nullptr);
  EXPECT_EQ(session == nullptr, result == 1);
  EXPECT_EQ(ut.CloseSession(&session), result);
  return result == 0;
}

// Everything is wrong at first, and each step mends what the last start was refused for.
TEST_F(HostTest, RefusalsInOrder) {
  SwitchLogOn();
  WriteFile(AgentFolder() / "Sendrix2.cfg", "[ulog]\nstatus=Disabled\n");
  fs::rename(CaseFolder() / "Sendrix2.exe", CaseFolder() / "gone");
  SetValue(Hive::kMachine, kPolicy, "enabled", "dword:0");
  RunHost([](Library& ut) {
    const char *family = nullptr, *name = "", *version = nullptr;
    // clang-format off
    const struct { Lines log; std::function<void()> mend; } steps[] = {
        {{"VerifyString pcAppFamily: SK_STR_NULL@207"}, [&] { family = "Acme"; }},
        {{"VerifyString pcAppName: SK_STR_EMPTY@216"}, [&] { name = "Draw"; }},
        {{"VerifyString pcAppversion: SK_STR_NULL@225"}, [&] { version = "3.1"; }},
        {{"VerifyConfigStatus failure@255"}, [&] { WriteFile(AgentFolder() / "Sendrix2.cfg", ""); }},
        {{"OptInGet VerifyString pcUsagekey: SK_STR_EMPTY@911", "gsPrefx: @266"},
         [&] { ut.Initialize("MyProduct", true, nullptr); }},
        {{"VerifyTransAgentExist failure@277"},
         [&] { fs::rename(CaseFolder() / "gone", CaseFolder() / "Sendrix2.exe"); }},
        {{"VerifyGroupPolicy failure@286"}, [&] { SetValue(Hive::kMachine, kPolicy, "enabled", "sz:1"); }},
        {{"OptInPolicy: 0@309"}, [&] { ut.SetOptIn(1); }}};
    // clang-format on
    for (const auto& [log, mend] : steps) {
      EXPECT_FALSE(Starts(ut, family, name, version));
      EXPECT_EQ(NewLog("DEBUG"), log);
      EXPECT_EQ(FilesIn(Logs()), Lines());
      mend();
    }
    EXPECT_TRUE(Starts(ut, family, name, version));
  });
}

TEST_F(HostTest, ConsentIsAnOptInOrAnUndecidedUserOfAPreRelease) {
  SetValue(Hive::kUser, kUsage, "send", "dword:0");
  RunHost([](Library& ut) {
    const std::pair<const char*, int> stored[] = {{"", -1},    {"dword:0", 0},  {"dword:1", 1}, {"sz:1", 1},
                                                  {"sz:0", 0}, {"dword:2", -1}, {"sz:01", -1},  {"sz:", -1}};
    for (const int state : {-1, 0, 1, 2, 3}) {
      for (const int call : {state, 4, -1, INT_MAX, INT_MIN}) EXPECT_EQ(ut.SetSerializationState(call), 0);
      for (const auto& [value, optIn] : stored) {
        const std::string key = std::string("Key").append(value);
        if (*value) SetValue(Hive::kUser, kKeys + key, "OptIn", value);
        EXPECT_EQ(ut.OptInGet(key.c_str()), optIn) << value;
        ut.Initialize(key.c_str(), false, nullptr);
        EXPECT_EQ(Starts(ut), optIn == 1 || (optIn == -1 && state == 0)) << value << " in state " << state;
      }
    }
  });
}

TEST_F(HostTest, PolicyRefusesOnlyAPlainZero) {
  SetValue(Hive::kUser, kUsage, "send", "dword:0");
  SetValue(Hive::kUser, kKeys + "MyProduct", "OptIn", "dword:1");
  RunHost([](Library& ut) {
    ut.Initialize("MyProduct", false, nullptr);
    const std::pair<const char*, bool> rows[] = {{"dword:0", false}, {"dword:1", true},   {"sz:0", false},
                                                 {"sz:00", true},    {"expand:0", false}, {"sz:", true}};
    EXPECT_TRUE(Starts(ut));
    SetValue(Hive::kMachine, kPolicy, "other", "dword:0");
    EXPECT_TRUE(Starts(ut));
    for (const auto& [value, isAllowed] : rows) {
      SetValue(Hive::kMachine, kPolicy, "enabled", value);
      EXPECT_EQ(Starts(ut), isAllowed) << value;
    }
  });
}

// Once a start for a changed opt-in or a finished document, and once at each close.
TEST_F(HostTest, AgentStartsWhileSendingIsOn) {
  SwitchLogOn();
  RunHost([](Library& ut) {
    // clang-format off
    const struct { const char *optIn, *ofProduct, *send, *waiting; ptrdiff_t starts; } rows[] = {
        {"", "", "sz:", "x.tmp", 0}, {"", "", "sz:", "x.xml", 1}, {"", "", "sz:00", "x.rdy", 1},
        {"", "", "sz:0", "x.xml", 0}, {"dword:0", "dword:1", "dword:1", "x", 1}, {"dword:0", "", "sz:", "x", 1},
        {"dword:0", "dword:0", "sz:", "x", 0}, {"dword:1", "dword:0", "sz:", "x", 2},
        {"dword:1", "dword:1", "sz:", "x", 1}, {"dword:1", "dword:1", "sz:", "x.rdy", 2},
        {"dword:1", "", "dword:0", "x.rdy", 0}};
    // clang-format on
    for (const auto& row : rows) {
      const std::string key = "Key" + std::to_string(&row - rows);
      for (const std::string& name : FilesIn(Logs())) fs::remove(Logs() / name);
      WriteFile(Logs() / row.waiting, "x");
      SetValue(Hive::kUser, kUsage, "send", row.send);
      if (*row.optIn) SetValue(Hive::kUser, kKeys + key, "OptIn", row.optIn);
      if (*row.ofProduct) SetValue(Hive::kUser, kKeys + key + "_Acme_Draw_3.1", "OptIn", row.ofProduct);
      ut.Initialize(key.c_str(), false, nullptr);
      Starts(ut);
      const std::string start = "Sendrix2 Path: \"" + (CaseFolder() / "Sendrix2.exe").string() + "\"@";
      EXPECT_EQ(std::ranges::count_if(NewLog("INFO"), [&](auto& line) { return line.starts_with(start); }),
                row.starts)
          << key;
    }
  });
}

HRESULT WINAPI SayProtected(BOOL* isProtected) { return *isProtected = TRUE, S_OK; }

HRESULT WINAPI FindLow(const GUID&, DWORD, HANDLE, PWSTR* path) {
  const std::wstring low = (CaseFolder() / "Low").wstring();
  *path = static_cast<PWSTR>(CoTaskMemAlloc((low.size() + 1) * sizeof(wchar_t)));
  return std::wcscpy(*path, low.c_str()), S_OK;
}

// What the platform has, but for what it knows of rights.
FARPROC WINAPI FindFunction(HMODULE module, const char* name) {
  const std::string_view wanted(name);
  if (wanted == "IEIsProtectedModeProcess")
    return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(SayProtected));
  if (wanted == "SHGetKnownFolderPath") return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(FindLow));
  return GetProcAddress(module, name);
}

// In a process of low rights documents lie elsewhere, and what an agent would do is done in its place.
TEST_F(HostTest, ProtectedMode) {
  const Path logs = CaseFolder() / "Low" / "Tolvex" / "Sendrix2" / "Logs";
  fs::create_directories(logs);
  for (const char* name : {"1.log", "2.log", "3.txt"}) WriteFile(logs / name, std::string(6 << 20, 'x'));
  fs::last_write_time(logs / "2.log", fs::last_write_time(logs / "1.log") - std::chrono::hours(1));
  RunHost([](Library& ut) {
    ut.Replace("GetProcAddress", &FindFunction);
    void* session = ut.Open();
    EXPECT_EQ(ut.CloseSession(&session), 0);
  });
  EXPECT_EQ(FilesIn(Logs()), Lines());
  Lines names = FilesIn(logs);
  std::erase_if(names, [](auto& name) { return name.starts_with("ulog_"); });
  EXPECT_EQ(names, (Lines{"1.log", "3.txt"}));
  EXPECT_EQ(FilesIn(logs).size(), 4u);
  EXPECT_EQ(AgentStarts(), Lines());
}

TEST_F(HostTest, AgentIsTheFirstHit) {
  SwitchLogOn();
  fs::remove(CaseFolder() / "Sendrix2.exe");
  for (const char* folder : {"A", "B", "C\\Sendrix2.exe"}) fs::create_directories(CaseFolder() / folder);
  SetValue(Hive::kUser, kUsage, "Agent", "sz:" + (CaseFolder() / "B").string());
  SetValue(Hive::kUser, kKeys + "MyProduct", "OptIn", "dword:1");
  SetValue(Hive::kUser, kKeys + "Agent", "OptIn", "dword:0");  // a usage key, and no trace of an agent
  RunHost([](Library& ut) {
    // clang-format off
    const struct { const char *folder, *added, *found; } rows[] = {
        {nullptr, nullptr, nullptr}, {nullptr, "B", "B"}, {nullptr, ".", "."}, {"A", nullptr, "."}, {nullptr, "A", "A"},
        {"", nullptr, "."}, {"A\\", nullptr, "A"}, {"C", nullptr, "."}};
    // clang-format on
    for (const auto& [folder, added, found] : rows) {
      if (added) WriteFile(CaseFolder() / added / "Sendrix2.exe", "no program");
      fs::current_path(CaseFolder());
      ut.Initialize("MyProduct", false, folder);
      fs::current_path(AppData());
      EXPECT_EQ(Starts(ut), found != nullptr);
      Lines log = NewLog("INFO");
      std::erase_if(log, [](auto& line) { return !line.starts_with("Sendrix2 Path: "); });
      EXPECT_EQ(log.empty(), found == nullptr);
      for (const std::string& line : log) {
        const Path path = (CaseFolder() / found / "Sendrix2.exe").lexically_normal();
        EXPECT_TRUE(line.starts_with("Sendrix2 Path: \"" + path.string() + "\"@")) << line;
      }
    }
  });
  EXPECT_EQ(GetValue(Hive::kUser, kKeys + "Agent", "OptIn"), "dword:0");
}

}  // namespace
}  // namespace vantra::test
