// The agent's configuration file: what a start makes of it, and what it leaves.
#include <windows.h>

#include "Document.h"
#include "Host.h"

namespace vantra::test {
namespace {

namespace fs = std::filesystem;
using std::chrono::hours;

// A file's text, or what else stands in its place.
constexpr std::string_view kAbsent = "(absent)";
constexpr std::string_view kFolder = "(folder)";

constexpr std::string_view kDefault =
    "[settings]\nmaxdiskspace=10\nmaxretries=3\nretryinterval=10\n"
    "url=https://usage.tolvex.example/skylamp\n[ulog]\nstatus=Active\n";

struct Row {
  std::string_view test;
  std::string_view shipped;
  int shippedAge;  // hours
  std::string_view user;
  int userAge;
  bool starts;
  std::string_view left;  // at the user's path
};

// Dates are texts in braces: {-1} was yesterday, {0} is today.
constexpr Row kRows[] = {
    {"Default", kAbsent, 0, kAbsent, 0, true, kDefault},
    {"Empty", kAbsent, 0, "", 0, true, ""},
    {"Forms", kAbsent, 0,
     " Lead = Here \r\n# no\n;no\n\n[ Beta ]x\nKEY = Va=Lue\t\nfoo Bar\nkey=Last\n[ALPHA\n  z = 1\n=empty "
     "key",
     0, true, "lead=Here\n[alpha]\n=empty key\nz=1\n[beta]\nfoo bar=foo Bar\nkey=Last\n"},
    {"ByteOrderMark", kAbsent, 0, "\xEF\xBB\xBF[ulog]\nstatus=Disabled", 0, false,
     "[ulog]\nstatus=Disabled\n"},
    {"Disabled", kAbsent, 0, "[ULog]\nStatus= Disabled", 0, false, "[ulog]\nstatus=Disabled\n"},
    {"OtherCase", kAbsent, 0, "[ulog]\nstatus=disabled\n", 0, true, "[ulog]\nstatus=disabled\n"},
    {"HibernateInOtherCase", kAbsent, 0, "[ulog]\nstatus=hibernate\nwakeupdate=2099-01-01\n", 0, true,
     "[ulog]\nstatus=hibernate\nwakeupdate=2099-01-01\n"},
    {"UnknownStatus", kAbsent, 0, "[ulog]\nstatus=Hibernate!\n", 0, true, "[ulog]\nstatus=Hibernate!\n"},
    {"Hibernate", kAbsent, 0, "[ulog]\nstatus=Hibernate\nwakeupdate={1}\n", 0, false,
     "[ulog]\nstatus=Hibernate\nwakeupdate={1}\n"},
    {"HibernateWithSlashes", kAbsent, 0, "[ulog]\nstatus=Hibernate\nwakeupdate=2099/1/2\n", 0, false,
     "[ulog]\nstatus=Hibernate\nwakeupdate=2099/1/2\n"},
    {"HibernateUntilToday", kAbsent, 0, "[ulog]\nstatus=Hibernate\nwakeupdate={0}\n", 0, true,
     "[ulog]\nstatus=Active\nwakeupdate=\n"},
    {"HibernateWithoutDate", kAbsent, 0, "[ulog]\nstatus=Hibernate\n", 0, true,
     "[ulog]\nstatus=Active\nwakeupdate=\n"},
    {"HibernateUntilNoDay", kAbsent, 0, "[ulog]\nstatus=Hibernate\nwakeupdate=2099-02-30\n", 0, true,
     "[ulog]\nstatus=Active\nwakeupdate=\n"},
    {"HibernateUntilYear10001", kAbsent, 0, "[ulog]\nstatus=Hibernate\nwakeupdate=10001-01-01\n", 0, true,
     "[ulog]\nstatus=Active\nwakeupdate=\n"},
    {"Pause", kAbsent, 0, "[Hibernate]\nAcme_Draw=x y|{1}\n", 0, false, "[hibernate]\nacme_draw=x y|{1}\n"},
    {"PauseOver", kAbsent, 0, "[hibernate]\nacme_draw=x|{0}\n", 0, true, "[hibernate]\nacme_draw=\n"},
    {"PauseWithoutBar", kAbsent, 0, "[hibernate]\nacme_draw=2099-01-01\n", 0, true,
     "[hibernate]\nacme_draw=\n"},
    {"PauseOfAnother", kAbsent, 0, "[hibernate]\nacme_paint=x|2099-01-01\n", 0, true,
     "[hibernate]\nacme_paint=x|2099-01-01\n"},
    {"PauseAfterHibernation", kAbsent, 0,
     "[ulog]\nstatus=Hibernate\nwakeupdate={-1}\n[hibernate]\nacme_draw=x|{1}\n", 0, false,
     "[hibernate]\nacme_draw=x|{1}\n[ulog]\nstatus=Active\nwakeupdate=\n"},
    {"Seeded", "[ulog]\nstatus=Disabled\n[Settings]\nURL=Mine # kept\n", 2, kAbsent, 0, false,
     "[settings]\nurl=Mine # kept\n[ulog]\nstatus=Disabled\n"},
    {"NewerShipped", "[ulog]\nstatus=Disabled\nx=1\n[hibernate]\nacme_paint=x|2099-01-01\n", -2,
     "[ulog]\nstatus=Hibernate\nwakeupdate=2099-01-01\ny=2\n[hibernate]\nacme_draw=x|2099-01-01\n", -1, true,
     "[hibernate]\nacme_paint=x|2099-01-01\n[ulog]\nstatus=Active\nwakeupdate=\nx=1\n"},
    {"NewerHostFolder", "[ulog]\nx=1\n", 3, "[ulog]\nstatus=Disabled\n", 2, true,
     "[ulog]\nstatus=Active\nwakeupdate=\nx=1\n"},
    {"OlderShipped", "[ulog]\nx=1\n", 0, "[ulog]\nstatus=Disabled\n", -1, false, "[ulog]\nstatus=Disabled\n"},
    {"FolderAtUsersPath", kAbsent, 0, kFolder, 0, true, kFolder},
    {"FolderReplacedByShipped", "[ulog]\nx=1\n", 2, kFolder, 0, true, "[ulog]\nx=1\n"},
    {"ShippedIsFolder", kFolder, 0, kAbsent, 0, true, ""},
};

std::string WithDates(std::string_view text) {
  std::string result(text);
  for (const auto& [name, day] : {std::pair{"{-1}", -1}, {"{0}", 0}, {"{1}", 1}}) {
    SYSTEMTIME local;
    FILETIME time;
    GetLocalTime(&local);
    SystemTimeToFileTime(&local, &time);
    auto ticks = (static_cast<uint64_t>(time.dwHighDateTime) << 32 | time.dwLowDateTime);
    ticks += static_cast<uint64_t>(day) * 24 * 36'000'000'000;
    time = {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
    FileTimeToSystemTime(&time, &local);
    const std::string date =
        std::to_string(local.wYear) + "-" + std::to_string(local.wMonth) + "-" + std::to_string(local.wDay);
    for (size_t at; (at = result.find(name)) != std::string::npos;) result.replace(at, strlen(name), date);
  }
  return result;
}

void Put(const Path& path, std::string_view content, int age) {
  fs::remove_all(path);
  if (content == kFolder) fs::create_directories(path / "inside");
  if (content == kFolder || content == kAbsent) return;
  WriteFile(path, WithDates(content));
  fs::last_write_time(path, fs::file_time_type::clock::now() - hours(age));
}

bool Starts(Library& ut) {
  void* session = nullptr;
  ut.Initialize("MyProduct", false, nullptr);
  ut.SetOptIn(1);
  const bool started = ut.StartSession(&session, "Acme", "Draw", "3.1", nullptr, nullptr) == 0;
  if (started) ut.CloseSession(&session);
  return started;
}

TEST_F(HostTest, ConfigurationDecidesAndIsWrittenBack) {
  SetValue(Hive::kUser, kUsage, "send", "dword:0");
  RunHost([](Library& ut) {
    const Path user = AgentFolder() / "Sendrix2.cfg";
    for (const Row& row : kRows) {
      SCOPED_TRACE(row.test);
      Put(CaseFolder() / "Sendrix2.cfg", row.shipped, row.shippedAge);
      Put(user, row.user, row.userAge);
      EXPECT_EQ(Starts(ut), row.starts);
      if (row.left == kFolder)
        EXPECT_TRUE(fs::is_directory(user));
      else
        EXPECT_EQ(ReadFile(user), WithDates(row.left));
    }
  });
  EXPECT_EQ(FilesIn(AgentFolder()), (std::vector<std::string>{"Logs", "Sendrix2.cfg"}));
}

// Nothing that the agent or another host does to the file can fail a start.
TEST_F(HostTest, ConfigurationIsLockedBinaryOrHuge) {
  SetValue(Hive::kUser, kUsage, "send", "dword:0");
  RunHost([](Library& ut) {
    const Path user = AgentFolder() / "Sendrix2.cfg";
    WriteFile(user, "[ulog]\nstatus=Disabled\n");
    const HANDLE locked =
        CreateFileW(user.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    EXPECT_TRUE(Starts(ut));
    CloseHandle(locked);
    EXPECT_EQ(ReadFile(user), "[ulog]\nstatus=Disabled\n");

    std::string bytes;
    for (int i = 0; i < 256; ++i) bytes += static_cast<char>(i);
    WriteFile(user, bytes + "\n[ulog]\nstatus=Disabled\n");
    EXPECT_FALSE(Starts(ut));
    const std::string written = ReadFile(user);
    EXPECT_TRUE(written.ends_with("[ulog]\nstatus=Disabled\n"));

    std::string huge = "[big]\nvalue=" + std::string(1 << 20, 'x') + "\n";
    for (int i = 10'000; i < 30'000; ++i) huge += "k" + std::to_string(i) + "=v\n";
    WriteFile(user, "[ulog]\nstatus=Disabled\n" + huge);
    EXPECT_FALSE(Starts(ut));
    EXPECT_EQ(ReadFile(user).size(), huge.size() + strlen("[ulog]\nstatus=Disabled\n"));
  });
}

}  // namespace
}  // namespace vantra::test
