// Folders that are missing, names that cannot be, disks that refuse: calls succeed, and nothing else happens.
#include <windows.h>

#include <algorithm>

#include "HostTest.h"
#include "stage/Disk.h"

namespace vantra::test {
namespace {

namespace fs = std::filesystem;

class Fault : public HostTest {
 protected:
  Fault() {
    SetValue(Hive::kUser, kUsage, "obfuscate", "sz:0");
    for (const char* product : {"Draw", "Other"}) {  // whose opt-in is not to be reported
      SetValue(Hive::kUser, std::string(kUsage) + "\\MyProduct_Acme_" + product + "_3.1", "OptIn", "dword:1");
    }
  }
};

// Every kind of call that records; the number of the group that it opens.
uint32_t UseSession(Library& ut, void* session) {
  uint32_t group = 0;
  EXPECT_EQ(ut.AddToSession(session, "key", "value"), 0);
  EXPECT_EQ(ut.LogEvent(session, "a", "b", "c", nullptr, 0), 0);
  EXPECT_EQ(ut.NewDataGroup(session, "a", "b", "c", &group, nullptr, 0), 0);
  EXPECT_EQ(ut.AddToGroup(session, group, "key", "value"), group == UINT32_MAX ? 1 : 0);
  return group;
}

Lines FilesBelow(const Path& folder) {
  Lines paths;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) paths.push_back(entry.path().string());
  return paths;
}

// A session whose files cannot be named records nothing, anywhere, and the host does not notice.
TEST_F(Fault, NamesThatNoFileCanHave) {
  SetValue(Hive::kUser, kUsage, "send", "sz:0");
  RunHost([](Library& ut) {
    const std::string tooLong(200, 'x');
    const std::pair<const char*, const char*> rows[] = {
        {"a\\b", "n"}, {"a/b", "n"},   {"a:b", "n"},  {"..\\..\\x", "n"},    {"a", "\\..\\x"},
        {"a*", "n?"},  {"a", "\"n\""}, {"a\nb", "n"}, {tooLong.c_str(), "n"}};
    void* session = ut.Open();
    ut.CloseSession(&session);
    fs::create_directories(Logs() / "ulog_a");
    for (const auto& [family, name] : rows) {
      SCOPED_TRACE(std::string(family) + " " + name);
      EXPECT_EQ(ut.StartSession(&session, family, name, "3.1", nullptr, nullptr), 0);
      const Lines before = FilesBelow(CaseFolder());  // with the report of the new product
      UseSession(ut, session);
      EXPECT_EQ(ut.CloseSession(&session), 0);
      EXPECT_EQ(FilesBelow(CaseFolder()), before);
      EXPECT_EQ(Documents().size(), 2u);
    }
  });
}

// Records are dropped while there is no folder, and spend their numbers; then the session goes on.
TEST_F(Fault, LogsFolderComesAndGoes) {
  for (const bool isFile : {false, true}) {
    fs::remove_all(Logs());
    if (isFile) WriteFile(Logs(), "mine");
    RunHost([isFile](Library& ut) {
      void* session = ut.Open();
      UseSession(ut, session);
      EXPECT_EQ(ReadFile(Logs()), isFile ? "mine" : "");
      fs::remove(Logs());
      fs::create_directories(Logs());
      EXPECT_EQ(ut.AddToSession(session, "first", "kept"), 0);
      // An open file goes on when its folder is moved away, but is not finished.
      fs::rename(Logs(), AgentFolder() / "Moved");
      ut.AddToSession(session, "second", "kept");
      EXPECT_EQ(ut.CloseSession(&session), 0);
      EXPECT_FALSE(fs::exists(Logs()));
    });
    const Lines moved = FilesIn(AgentFolder() / "Moved");
    ASSERT_EQ(moved.size(), 1u);
    EXPECT_TRUE(moved[0].ends_with("_0.tmp"));
    const std::string document = Normalised(ReadFile(AgentFolder() / "Moved" / moved[0]));
    EXPECT_TRUE(document.starts_with(
        "<DataRec time=\"TIME\" group=\"1\" name=\"first\" data=\"kept\" seq=\"37\" />\n"
        "<DataRec time=\"TIME\" group=\"1\" name=\"second\" data=\"kept\" seq=\"38\" />\n"))
        << document;
    EXPECT_TRUE(document.ends_with("</UsageDoc>\n"));
    fs::remove_all(AgentFolder() / "Moved");
  }
}

// A file in use is tried again at each record; a document that cannot get its final name stays as it is.
TEST_F(Fault, FilesHeldByOthers) {
  RunHost([](Library& ut) {
    void* session = ut.Open();
    std::string stem = OpenFile().string();
    stem.resize(stem.size() - 5);
    const HANDLE held =
        CreateFileA((stem + "1.tmp").c_str(), GENERIC_READ, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    FillTo(ut, session, 102'400);
    ut.AddToSession(session, "lost", "");
    CloseHandle(held);
    EXPECT_TRUE(fs::exists(stem + "0.xml"));
    EXPECT_EQ(fs::file_size(stem + "1.tmp"), 0u);
    ut.AddToSession(session, "late", "kept");
    EXPECT_EQ(Records(ReadFile(stem + "1.tmp")).at(0)["name"], "late");
    fs::create_directories(stem + "1.xml\\x");
    EXPECT_EQ(ut.CloseSession(&session), 0);
    EXPECT_EQ(Records(ReadFile(stem + "1.tmp")).back().element, "EndSession");
  });
  EXPECT_EQ(AgentStarts().size(), 2u);
}

// A write that fails, or writes less than all, silences the session for good and takes its file away.
TEST_F(Fault, FailedWriteSilencesTheSession) {
  if (!LimitFiles(~uint64_t{0})) GTEST_SKIP() << "no limit can be set here";
  // In the marker, in the first record behind it, in a later one, and in the record that splits.
  for (const auto& [obfuscate, limit] :
       {std::pair{"sz:1", 10}, {"sz:1", 25}, {"sz:0", 8'000}, {"sz:0", 102'420}}) {
    SetValue(Hive::kUser, kUsage, "obfuscate", obfuscate);
    RunHost([limit = static_cast<uint64_t>(limit)](Library& ut) {
      void* other = ut.Open("Acme", "Other");
      const std::string key = std::string(kUsage) + "\\MyProduct";
      RemoveKey(Hive::kUser, key + "\\Demographic");
      EXPECT_TRUE(LimitFiles(limit));
      void* session = ut.Open();
      // One that fell silent before its header blocks does not look for what they would hold.
      EXPECT_EQ(std::ranges::count(ListValues(Hive::kUser, key), "Demographic\\"), limit > 100) << limit;
      for (int i = 0; i < 20; ++i) ut.AddToSession(session, "filler", std::string(500, 'x').c_str());
      if (Documents().size() == 2) FillTo(ut, session, 102'400);
      EXPECT_EQ(Documents().size(), 1u) << limit;
      EXPECT_TRUE(LimitFiles(~uint64_t{0}));
      EXPECT_EQ(UseSession(ut, session), UINT32_MAX);
      EXPECT_EQ(ut.CloseSession(&session), 0);
      UseSession(ut, other);
      EXPECT_EQ(ut.CloseSession(&other), 0);
    });
    EXPECT_TRUE(OnlyDocument().ends_with("</UsageDoc>\n")) << limit;
    fs::remove(Logs() / Documents().at(0));
  }
  EXPECT_EQ(AgentStarts().size(), 4u);
}

// A session that has no file, or is silent, heeds a withdrawal at its close all the same.
TEST_F(Fault, WithdrawalWithoutAFile) {
  if (!LimitFiles(~uint64_t{0})) GTEST_SKIP() << "no limit can be set here";
  RunHost([](Library& ut) {
    for (const bool isSilent : {false, true}) {
      fs::rename(Logs(), AgentFolder() / "Moved");
      if (isSilent) fs::create_directories(Logs());
      EXPECT_TRUE(LimitFiles(100));
      void* session = ut.Open();
      EXPECT_TRUE(LimitFiles(~uint64_t{0}));
      if (!isSilent) fs::create_directories(Logs());
      WriteFile(Logs() / "other.xml", "x");
      ut.SetOptIn(0);
      EXPECT_EQ(ut.CloseSession(&session), 0);
      EXPECT_EQ(FilesIn(Logs()), Lines()) << isSilent;
      fs::remove_all(AgentFolder() / "Moved");
    }
  });
}

// A session needs more than ten mebibytes of free space when it starts.
TEST_F(Fault, SmallVolume) {
  for (const int size : {10'485'760, 10'485'760 + 4096}) {
    if (!MountVolume(Logs(), static_cast<uint64_t>(size))) GTEST_SKIP() << "no volume can be mounted here";
    RunHost([size](Library& ut) {
      void* session = ut.Open();
      EXPECT_EQ(UseSession(ut, session) == UINT32_MAX, size == 10'485'760);
      EXPECT_EQ(ut.CloseSession(&session), 0);
    });
    EXPECT_EQ(Documents().size(), size == 10'485'760 ? 0u : 1u);
    EXPECT_TRUE(Unmount(Logs()));
  }
}

}  // namespace
}  // namespace vantra::test
