// Folders that are missing, names that cannot be, disks that refuse: calls succeed, and nothing else happens.
#include <windows.h>

#include "Document.h"
#include "Host.h"

namespace vantra::test {
namespace {

namespace fs = std::filesystem;

// A call of the system below Wine, which can be told to fail as a disk would.
long long System(long long number, const void* first, const void* second, const void* third = nullptr,
                 const void* fourth = nullptr, const void* fifth = nullptr) {
  register const void* r10 asm("r10") = fourth;
  register const void* r8 asm("r8") = fifth;
  long long result = number;
  asm volatile("syscall"
               : "+a"(result)
               : "D"(first), "S"(second), "d"(third), "r"(r10), "r"(r8)
               : "rcx", "r11", "memory");
  return result;
}

const void* Number(uint64_t number) { return reinterpret_cast<const void*>(number); }

// From now on no file of this process grows beyond so many bytes.
void LimitFiles(uint64_t bytes) {
  const struct {
    const void* handler = Number(1);  // ignore
    uint64_t rest[3] = {};
  } ignore;
  const struct { uint64_t soft, hard = ~uint64_t{0}; } limit{bytes};
  EXPECT_EQ(System(13, Number(25), &ignore, nullptr, Number(8)), 0);  // rt_sigaction SIGXFSZ
  EXPECT_EQ(System(160, Number(1), &limit), 0);                       // setrlimit RLIMIT_FSIZE
}

bool IsUnderWine() { return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr; }

constexpr auto kNoLimit = ~uint64_t{0};

std::string UnixPath(const Path& path) {
  const auto name = reinterpret_cast<char* (*)(const wchar_t*)>(
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "wine_get_unix_file_name")));
  return name(path.c_str());
}

// Every kind of call that records, all of which must succeed.
void UseSession(Library& ut, void* session) {
  uint32_t group = 0;
  EXPECT_EQ(ut.AddToSession(session, "key", "value"), 0);
  EXPECT_EQ(ut.LogEvent(session, "a", "b", "c", nullptr, 0), 0);
  EXPECT_EQ(ut.NewDataGroup(session, "a", "b", "c", &group, nullptr, 0), 0);
  EXPECT_EQ(ut.AddToGroup(session, group, "key", "value"), group == UINT32_MAX ? 1 : 0);
}

std::vector<std::string> FilesBelow(const Path& folder) {
  std::vector<std::string> paths;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) paths.push_back(entry.path().string());
  return paths;
}

struct NameRow {
  const char* test;
  const char* family;
  const char* name;
};

constexpr char kLongName[] =
    "123456789 123456789 123456789 123456789 123456789 123456789 123456789 123456789 123456789 123456789 "
    "123456789 123456789 123456789 123456789 123456789 123456789 123456789 123456789 123456789 123456789 ";

// A session whose files cannot be named records nothing, anywhere, and the host does not notice.
TEST_F(HostTest, NamesThatNoFileCanHave) {
  SetValue(Hive::kUser, kUsage, "send", "dword:0");
  RunHost([](Library& ut) {
    void* session = ut.Open();
    ut.CloseSession(&session);
    fs::create_directories(Logs() / "ulog_a");
    for (const NameRow& row :
         {NameRow{"Backslash", "a\\b", "n"}, NameRow{"Slash", "a/b", "n"}, NameRow{"Stream", "a:b", "n"},
          NameRow{"Upwards", "..\\..\\x", "n"}, NameRow{"InName", "a", "\\..\\x"},
          NameRow{"Wildcard", "a*", "n?"}, NameRow{"Quote", "a", "\"n\""}, NameRow{"Line", "a\nb", "n"},
          NameRow{"Long", kLongName, "n"}}) {
      SCOPED_TRACE(row.test);
      EXPECT_EQ(ut.StartSession(&session, row.family, row.name, "3.1", nullptr, nullptr), 0);
      // The start has told of the new product.
      const std::vector<std::string> before = FilesBelow(CaseFolder());
      UseSession(ut, session);
      EXPECT_EQ(Documents().size(), 2u) << testing::PrintToString(Documents());
      EXPECT_EQ(ut.CloseSession(&session), 0);
      EXPECT_EQ(FilesBelow(CaseFolder()), before);
    }
  });
}

struct MissingRow {
  const char* test;
  void (*remove)();
};

class MissingLogs : public HostTable<MissingRow> {};

// Records are dropped while there is no folder, and spend their numbers; then the session goes on.
TEST_P(MissingLogs, DropsRecordsUntilItIsThere) {
  const MissingRow row = GetParam();
  SetValue(Hive::kUser, kUsage, "obfuscate", "sz:0");
  row.remove();
  RunHost([](Library& ut) {
    void* session = ut.Open();
    UseSession(ut, session);
    EXPECT_FALSE(fs::is_directory(Logs()));
    fs::remove(Logs());
    fs::create_directories(Logs());
    EXPECT_EQ(ut.AddToSession(session, "first", "kept"), 0);
    // An open file goes on when its folder is moved away, but is not finished; the next has its own number.
    fs::rename(Logs(), AgentFolder() / "Moved");
    ut.AddToSession(session, "second", "kept");
    EXPECT_EQ(ut.CloseSession(&session), 0);
    EXPECT_FALSE(fs::exists(Logs()));
  });
  const std::vector<std::string> moved = FilesIn(AgentFolder() / "Moved");
  ASSERT_EQ(moved.size(), 1u);
  EXPECT_TRUE(moved[0].ends_with("_0.tmp"));
  const std::string document = Normalised(ReadFile(AgentFolder() / "Moved" / moved[0]));
  EXPECT_TRUE(document.starts_with(
      "<DataRec time=\"TIME\" group=\"1\" name=\"first\" data=\"kept\" seq=\"37\" />\n"
      "<DataRec time=\"TIME\" group=\"1\" name=\"second\" data=\"kept\" seq=\"38\" />\n"))
      << document;
  EXPECT_TRUE(document.ends_with("</UsageDoc>\n"));
}

INSTANTIATE_TEST_SUITE_P(Fault, MissingLogs,
                         testing::Values(MissingRow{"Absent", [] { fs::remove(Logs()); }},
                                         MissingRow{"PlainFile",
                                                    [] {
                                                      fs::remove(Logs());
                                                      WriteFile(Logs(), "mine");
                                                    }}),
                         kRowName);

struct WriteRow {
  const char* test;
  const char* obfuscate;
  uint64_t limit;
};

class FailedWrite : public HostTable<WriteRow> {};

// A write that fails, or writes less than all, silences the session for good and takes its file away.
TEST_P(FailedWrite, SilencesTheSession) {
  if (!IsUnderWine()) GTEST_SKIP() << "the limit on files is Wine's system's";
  const WriteRow row = GetParam();
  SetValue(Hive::kUser, kUsage, "obfuscate", row.obfuscate);
  SetValue(Hive::kUser, std::string(kUsage) + "\\MyProduct_Acme_Draw_3.1", "OptIn", "dword:1");
  SetValue(Hive::kUser, std::string(kUsage) + "\\MyProduct_Acme_Other_3.1", "OptIn", "dword:1");
  RunHost([row](Library& ut) {
    void* other = ut.Open("Acme", "Other");
    LimitFiles(row.limit);
    void* session = ut.Open();
    for (int i = 0; i < 150; ++i) ut.AddToSession(session, "filler", std::string(500, 'x').c_str());
    if (Documents().size() == 2) FillTo(ut, session, 102'400);
    EXPECT_EQ(Documents().size(), 1u);
    LimitFiles(kNoLimit);
    UseSession(ut, session);
    uint32_t group = 0;
    EXPECT_EQ(ut.NewDataGroup(session, "a", "b", "c", &group, nullptr, 0), 0);
    EXPECT_EQ(group, UINT32_MAX);
    EXPECT_EQ(ut.CloseSession(&session), 0);
    EXPECT_EQ(Documents().size(), 1u);
    UseSession(ut, other);
    EXPECT_EQ(ut.CloseSession(&other), 0);
  });
  EXPECT_TRUE(OnlyDocument().ends_with("</UsageDoc>\n"));
  EXPECT_EQ(AgentStarts().size(), 1u);
}

INSTANTIATE_TEST_SUITE_P(Fault, FailedWrite,
                         testing::Values(WriteRow{"Marker", "sz:1", 10}, WriteRow{"FirstRecord", "sz:1", 25},
                                         WriteRow{"WithinRecord", "sz:0", 8'000},
                                         WriteRow{"SplitRecord", "sz:0", 102'420}),
                         kRowName);

// The same for a volume of ten mebibytes and none more: it is too small from the start.
TEST_F(HostTest, SmallVolume) {
  constexpr uint64_t kLeast = 10'485'760;
  SetValue(Hive::kUser, std::string(kUsage) + "\\MyProduct_Acme_Draw_3.1", "OptIn", "dword:1");
  for (const auto& [size, isEnabled] : {std::pair{kLeast, false}, std::pair{kLeast + 4096, true}}) {
    const std::string logs = IsUnderWine() ? UnixPath(Logs()) : "";
    const std::string option = "size=" + std::to_string(size);
    if (logs.empty() || System(165, "tmpfs", logs.c_str(), "tmpfs", nullptr, option.c_str()) != 0) {
      GTEST_SKIP() << "no volume can be mounted here";
    }
    RunHost([](Library& ut) {
      void* session = ut.Open();
      UseSession(ut, session);
      EXPECT_EQ(ut.CloseSession(&session), 0);
    });
    EXPECT_EQ(Documents().size(), isEnabled ? 1u : 0u) << size;
    EXPECT_EQ(System(166, logs.c_str(), Number(2)), 0);  // umount2, at once
  }
}

// A file in use is tried again at each record; a document that cannot get its final name stays as it is.
TEST_F(HostTest, FilesHeldByOthers) {
  SetValue(Hive::kUser, kUsage, "obfuscate", "sz:0");
  RunHost([](Library& ut) {
    void* session = ut.Open();
    const std::string first = (Logs() / Documents()[0]).string();
    const std::string stem = first.substr(0, first.size() - strlen("0.tmp"));
    const HANDLE held =
        CreateFileA((stem + "1.tmp").c_str(), GENERIC_READ, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    for (int i = 0; i < 180; ++i) ut.AddToSession(session, "filler", std::string(512, 'x').c_str());
    CloseHandle(held);
    EXPECT_TRUE(fs::exists(stem + "0.xml"));
    EXPECT_EQ(fs::file_size(stem + "1.tmp"), 0u);
    EXPECT_EQ(ut.AddToSession(session, "late", "kept"), 0);
    EXPECT_EQ(Records(ReadFile(stem + "1.tmp")).at(0)["name"], "late");
    fs::create_directories(stem + "1.xml\\x");
    EXPECT_EQ(ut.CloseSession(&session), 0);
    EXPECT_EQ(Records(ReadFile(stem + "1.tmp")).back().element, "EndSession");
  });
  EXPECT_EQ(AgentStarts().size(), 3u);
}

}  // namespace
}  // namespace vantra::test
