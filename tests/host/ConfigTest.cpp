// The agent's configuration file as a start finds and leaves it. What its text means is tested in the core.
#include <windows.h>

#include <thread>

#include "HostTest.h"

namespace vantra::test {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

class ConfigFile : public HostTest {
 protected:
  ConfigFile() { SetValue(Hive::kUser, kUsage, "send", "dword:0"); }
};

Path UserFile() { return AgentFolder() / "Sendrix2.cfg"; }

const std::string kAbsent = "(absent)", kFolder = "(folder)", kHuge((1 << 20) + 1, '\n');

void Put(const Path& path, const std::string& content, int hoursAgo) {
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
  const uint64_t ticks =
      (uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime) + uint64_t(day) * 864'000'000'000;
  time = {DWORD(ticks), DWORD(ticks >> 32)};
  FileTimeToSystemTime(&time, &local);
  return std::to_string(local.wYear) + "-" + std::to_string(local.wMonth) + "-" + std::to_string(local.wDay);
}

TEST_F(ConfigFile, IsSynchronisedCheckedAndWrittenBack) {
  WriteFile(AgentFolder() / "Sendrix2.cfg.4294967280.tmp", "of a process that was killed");
  RunHost([](Library& ut) {
    const std::string off = "[ulog]\nstatus=Disabled\n", x = "[ulog]\nx=1\n",
                      hibernate = "[ulog]\nstatus=Hibernate\nwakeupdate=",
                      on = "[ulog]\nstatus=Active\nwakeupdate=\n";
    // clang-format off
    const struct { std::string shipped; int age; std::string user; int userAge; bool starts; std::string left; } rows[] = {
        {kAbsent, 0, kAbsent, 0, true, "[settings]\nmaxdiskspace=10\nmaxretries=3\nretryinterval=10\n"
         "url=https://usage.tolvex.example/skylamp\n[ulog]\nstatus=Active\n"},
        {kAbsent, 0, "# no\r\n[B]\r\nKey = Va=Lue\r\nfoo\n", 0, true, "[b]\nfoo=foo\nkey=Va=Lue\n"},
        {kAbsent, 0, hibernate + Date(1) + "\n", 0, false, hibernate + Date(1) + "\n"},
        {kAbsent, 0, hibernate + Date(0) + "\n", 0, true, on},
        {"[ULOG]\nStatus=Disabled\n", 2, kAbsent, 0, false, off},                              // seeded
        {"[ulog]\nstatus=Disabled\nx=1\n", -2, hibernate + "2099-1-1\ny=2\n", -1, true, on + "x=1\n"},  // newer
        {x, 3, off, 2, true, on + "x=1\n"},                                                    // newer host folder
        {x, 0, off, -1, false, off},                                                           // older
        {kAbsent, 0, kFolder, 0, true, kFolder}, {x, 2, kFolder, 0, true, x}, {kFolder, 0, kAbsent, 0, true, ""},
        {x + kHuge, 0, kAbsent, 0, true, ""}, {x + kHuge, 0, off, 2, false, off}};
    // clang-format on
    for (const auto& row : rows) {
      Put(CaseFolder() / "Sendrix2.cfg", row.shipped, row.age);
      Put(UserFile(), row.user, row.userAge);
      EXPECT_EQ(Starts(ut), row.starts) << row.user;
      EXPECT_EQ(fs::is_directory(UserFile()) ? kFolder : ReadFile(UserFile()), row.left) << row.user;
    }
  });
  EXPECT_EQ(FilesIn(AgentFolder()), (Lines{"Logs", "Sendrix2.cfg"}));
}

// Nothing that others do to the file can break a start, or make it lose what the file says.
TEST_F(ConfigFile, IsHeldBinaryOrHuge) {
  RunHost([](Library& ut) {
    const std::string off = "[ulog]\nstatus=Disabled\n";
    const auto hold = [](DWORD share) {
      return CreateFileW(UserFile().c_str(), GENERIC_READ, share, nullptr, OPEN_EXISTING, 0, nullptr);
    };
    WriteFile(UserFile(), off);
    HANDLE held = hold(0);
    EXPECT_TRUE(Starts(ut));
    // It is waited for, unless this thread comes too late.
    auto begin = Clock::now(), released = begin;
    std::thread release([&] { Sleep(20), CloseHandle(held), released = Clock::now(); });
    const bool starts = Starts(ut);
    release.join();
    EXPECT_TRUE(!starts || released - begin > std::chrono::milliseconds(35));
    // A text that stays the same is not replaced, but its time is set.
    Put(UserFile(), off, 1);
    held = hold(FILE_SHARE_READ);
    EXPECT_FALSE(Starts(ut));
    CloseHandle(held);
    EXPECT_EQ(ReadFile(UserFile()), off);
    EXPECT_LT(fs::file_time_type::clock::now() - fs::last_write_time(UserFile()), std::chrono::minutes(30));

    std::string bytes, keys;
    for (int i = 0; i < 256; ++i) bytes += static_cast<char>(i);
    for (int i = 10'000; i < 30'000; ++i) keys += "k" + std::to_string(i) + "=v\n";
    const std::string section = std::string(90'000, 's') + "]\n" + keys;
    const std::pair<std::string, bool> rows[] = {{bytes + "\n" + off, true},
                                                 {off + "[" + section, true},
                                                 {"#\n" + off + kHuge, false},
                                                 {"[k/" + section + off, false}};
    for (const auto& [text, isRead] : rows) {
      WriteFile(UserFile(), text);
      begin = Clock::now();
      EXPECT_EQ(Starts(ut), !isRead);
      EXPECT_LT(Clock::now() - begin, std::chrono::seconds(5));
      EXPECT_TRUE(isRead ? ReadFile(UserFile()).find(off) != off.npos : ReadFile(UserFile()) == text);
    }
    WriteFile(UserFile(), "#\n" + off);
    held = hold(FILE_SHARE_READ);
    EXPECT_FALSE(Starts(ut));
    CloseHandle(held);
    SetFileAttributesW(UserFile().c_str(), FILE_ATTRIBUTE_READONLY);
    EXPECT_FALSE(Starts(ut));
    SetFileAttributesW(UserFile().c_str(), FILE_ATTRIBUTE_NORMAL);
    EXPECT_EQ(ReadFile(UserFile()), "#\n" + off);
    EXPECT_EQ(FilesIn(AgentFolder()), (Lines{"Logs", "Sendrix2.cfg"}));
  });
}

}  // namespace
}  // namespace vantra::test
