// The agent's configuration file as a start finds and leaves it, where the agent is looked for, and where
// documents lie when a process has low rights. What the file's text means is tested in the core.
#include <algorithm>
#include <thread>

#include "HostTest.h"

namespace vantra::test {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

Path UserFile() { return AgentFolder() / "Sendrix2.cfg"; }

const std::string kAbsent = "(absent)", kFolder = "(folder)",
                  kHuge((1 << 20) + 1, '\n'), kOff = "[ulog]\nstatus=Disabled\n";

void Put(const Path& path, const std::string& content, int hoursAgo = 0) {
  fs::remove_all(path);
  if (content == kFolder) fs::create_directories(path / "inside");
  if (content == kFolder || content == kAbsent) return;
  WriteFile(path, content);
  fs::last_write_time(path, fs::file_time_type::clock::now() - std::chrono::hours(hoursAgo));
}

bool Starts(Library& ut) {
  void* session = nullptr;
  ut.Initialize("MyProduct", false, nullptr);
  ut.SetOptIn(1);
  return ut.StartSession(&session, "Acme", "Draw", "3.1", nullptr, nullptr) == 0 &&
         ut.CloseSession(&session) == 0;
}

// A local date so many days from today.
std::string Date(int day) {
  SYSTEMTIME local;
  FILETIME time;
  GetLocalTime(&local);
  SystemTimeToFileTime(&local, &time);
  const uint64_t ticks = std::bit_cast<uint64_t>(time) + uint64_t(day) * 864'000'000'000;
  const FILETIME other = std::bit_cast<FILETIME>(ticks);
  FileTimeToSystemTime(&other, &local);
  return std::to_string(local.wYear) + "-" + std::to_string(local.wMonth) + "-" + std::to_string(local.wDay);
}

BOOL WINAPI TellOldFolders(const wchar_t* path, GET_FILEEX_INFO_LEVELS level, void* info) {
  const BOOL isThere = GetFileAttributesExW(path, level, info);
  static_cast<WIN32_FILE_ATTRIBUTE_DATA*>(info)->ftCreationTime = {};
  return isThere;
}

TEST_F(HostTest, ConfigIsSynchronisedCheckedAndWrittenBack) {
  WriteFile(AgentFolder() / "Sendrix2.cfg.4294967280.tmp", "of a process that was killed");
  RunHost([](Library& ut) {
    const std::string x = "[ulog]\nx=1\n", hibernate = "[ulog]\nstatus=Hibernate\nwakeupdate=",
                      on = "[ulog]\nstatus=Active\nwakeupdate=\n";
    // clang-format off
    const struct { std::string shipped; int age; std::string user; int userAge; bool starts; std::string left; } rows[] = {
        {kAbsent, 0, kAbsent, 0, true, "[settings]\nmaxdiskspace=10\nmaxretries=3\nretryinterval=10\n"
         "url=https://usage.tolvex.example/skylamp\n[ulog]\nstatus=Active\n"},
        {kAbsent, 0, "# no\r\n[B]\r\nKey = Va=Lue\r\nfoo\n", 0, true, "[b]\nfoo=foo\nkey=Va=Lue\n"},
        {kAbsent, 0, hibernate + Date(1) + "\n", 0, false, hibernate + Date(1) + "\n"},
        {kAbsent, 0, hibernate + Date(0) + "\n", 0, true, on},
        {"[ULOG]\nStatus=Disabled\n", 2, kAbsent, 0, false, kOff},                             // seeded
        {"[ulog]\nstatus=Disabled\nx=1\n", -2, hibernate + "2099-1-1\ny=2\n", -1, true, on + "x=1\n"},  // newer
        {x, 3, kOff, 2, true, on + "x=1\n"},                                                   // newer host folder
        {x, 0, kOff, -1, false, kOff},                                                         // older
        {kAbsent, 0, kFolder, 0, true, kFolder}, {x, 2, kFolder, 0, true, x}, {kFolder, 0, kAbsent, 0, true, ""},
        {x + kHuge, 0, kAbsent, 0, true, ""}, {x + kHuge, 0, kOff, 2, false, kOff}};
    // clang-format on
    for (const auto& row : rows) {
      Put(CaseFolder() / "Sendrix2.cfg", row.shipped, row.age);
      Put(UserFile(), row.user, row.userAge);
      EXPECT_EQ(Starts(ut), row.starts) << row.user;
      EXPECT_EQ(fs::is_directory(UserFile()) ? kFolder : ReadFile(UserFile()), row.left) << row.user;
    }
    // A file that comes into an old host folder makes no new installation.
    Put(CaseFolder() / "Sendrix2.cfg", x, 3), Put(UserFile(), kOff, 2);
    ut.Replace("GetFileAttributesExW", &TellOldFolders);
    EXPECT_FALSE(Starts(ut));
  });
  EXPECT_EQ(FilesIn(AgentFolder()), (Lines{"Logs", "Sendrix2.cfg"}));
}

// Nothing that others do to the file can break a start, or make it lose what the file says.
TEST_F(HostTest, ConfigIsHeldBinaryOrHuge) {
  RunHost([](Library& ut) {
    HANDLE held = nullptr;
    const auto hold = [&](DWORD share) {
      held = CreateFileW(UserFile().c_str(), GENERIC_READ, share, nullptr, OPEN_EXISTING, 0, nullptr);
    };
    const auto startsWhileRead = [&] {
      hold(FILE_SHARE_READ);
      const bool starts = Starts(ut);
      CloseHandle(held);
      return starts;
    };
    Put(UserFile(), kOff);
    hold(0);
    EXPECT_TRUE(Starts(ut));
    // It is waited for, unless this thread comes too late.
    auto begin = Clock::now(), released = begin;
    std::thread release([&] { Sleep(20), CloseHandle(held), released = Clock::now(); });
    const bool starts = Starts(ut);
    release.join();
    EXPECT_TRUE(!starts || released - begin > std::chrono::milliseconds(35));
    // A text that stays the same is not replaced, but its time is set.
    Put(UserFile(), kOff, 1);
    EXPECT_FALSE(startsWhileRead());
    EXPECT_EQ(ReadFile(UserFile()), kOff);
    EXPECT_LT(fs::file_time_type::clock::now() - fs::last_write_time(UserFile()), std::chrono::minutes(30));

    std::string bytes, keys;
    for (int i = 0; i < 256; ++i) bytes += static_cast<char>(i);
    for (int i = 10'000; i < 30'000; ++i) keys += "k" + std::to_string(i) + "=v\n";
    const std::string section = std::string(90'000, 's') + "]\n" + keys;
    const std::pair<std::string, bool> rows[] = {{bytes + "\n" + kOff, true},
                                                 {kOff + "[" + section, true},
                                                 {"#\n" + kOff + kHuge, false},
                                                 {"[k/" + section + kOff, false}};
    for (const auto& [text, isRead] : rows) {
      WriteFile(UserFile(), text);
      begin = Clock::now();
      EXPECT_EQ(Starts(ut), !isRead);
      EXPECT_LT(Clock::now() - begin, std::chrono::seconds(5));
      EXPECT_TRUE(isRead ? ReadFile(UserFile()).find(kOff) != kOff.npos : ReadFile(UserFile()) == text);
    }
    WriteFile(UserFile(), "#\n" + kOff);
    EXPECT_FALSE(startsWhileRead());
    SetFileAttributesW(UserFile().c_str(), FILE_ATTRIBUTE_READONLY);
    EXPECT_FALSE(Starts(ut));
    SetFileAttributesW(UserFile().c_str(), FILE_ATTRIBUTE_NORMAL);
    EXPECT_EQ(ReadFile(UserFile()), "#\n" + kOff);
    EXPECT_EQ(FilesIn(AgentFolder()), (Lines{"Logs", "Sendrix2.cfg"}));
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
  void* const by = wanted == "IEIsProtectedModeProcess" ? reinterpret_cast<void*>(SayProtected)
                   : wanted == "SHGetKnownFolderPath"   ? reinterpret_cast<void*>(FindLow)
                                                        : nullptr;
  return by == nullptr ? GetProcAddress(module, name) : reinterpret_cast<FARPROC>(by);
}

// In a process of low rights documents lie elsewhere, and what an agent would do is done in its place.
TEST_F(HostTest, ProtectedMode) {
  const Path logs = CaseFolder() / "Low" / "Tolvex" / "Sendrix2" / "Logs";
  fs::create_directories(logs);
  for (const char* name : {"1.log", "2.log", "3.txt"}) WriteFile(logs / name, std::string(6 << 20, 'x'));
  fs::last_write_time(logs / "2.log", fs::last_write_time(logs / "1.log") - std::chrono::hours(1));
  SetValue(kUsage, "send", "sz:1");
  WriteFile(CaseFolder() / "ieframe.dll", "in the place of the platform's");
  RunHost([](Library& ut) {
    ut.Replace("GetProcAddress", &FindFunction);
    void* session = ut.Open();
    EXPECT_EQ(ut.CloseSession(&session), 0);
  });
  Lines names = FilesIn(logs);
  EXPECT_EQ(std::erase_if(names, [](auto& name) { return name.starts_with("ulog_"); }), 2u);
  EXPECT_EQ(names, (Lines{"1.log", "3.txt"}));
  EXPECT_EQ(FilesIn(Logs()), Lines());
  EXPECT_EQ(AgentStarts(), Lines());
}

}  // namespace
}  // namespace vantra::test
