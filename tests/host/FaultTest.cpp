// Folders that are missing, names that cannot be, disks that refuse: calls succeed, and nothing else happens.
#include <cstdlib>

#include "HostTest.h"
#include "reader/Files.h"

namespace vantra::test {
namespace {

namespace fs = std::filesystem;

class Fault : public HostTest {
 protected:
  Fault() {
    for (const char* product : {"Draw", "Other"}) {  // whose opt-in is not to be reported
      SetValue(std::string(kUsage) + "\\MyProduct_Acme_" + product + "_3.1", "OptIn", "dword:1");
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

HRESULT WINAPI TellNoFolder(HWND, int, HANDLE, DWORD, wchar_t*) { return E_FAIL; }

// Without a known folder nothing is written, reported or deleted, least of all at the root of the drive.
TEST_F(Fault, FolderUnknown) {
  RunHost([](Library& ut) {
    fs::current_path("C:\\");
    WriteFile("kept", "x");
    const Lines before = FilesIn("C:\\");
    ut.Replace("SHGetFolderPathW", &TellNoFolder);
    void* session = ut.Open("Acme", "Report");
    UseSession(ut, session);
    ut.SetOptIn(0);
    EXPECT_EQ(ut.CloseSession(&session), 0);
    EXPECT_EQ(FilesIn("C:\\"), before);
  });
}

// A document that cannot get its final name stays as it is, and the agent starts.
TEST_F(Fault, FinalNameTaken) {
  SetValue(kUsage, "send", "sz:1");
  RunHost([](Library& ut) {
    void* session = ut.Open();
    const Path open = OpenFile();
    fs::create_directories(Path(open).replace_extension(".xml") / "x");
    EXPECT_EQ(ut.CloseSession(&session), 0);
    EXPECT_EQ(Records(ReadFile(open)).back().element, "EndSession");
  });
  EXPECT_EQ(AgentStarts().size(), 1u);
}

// Without consent a full document is deleted. One that somebody reads cannot be, and nothing of it is left in
// its successor.
TEST_F(Fault, DeletedWhileItIsRead) {
  RunHost([](Library& ut) {
    void* session = ut.Open();
    EXPECT_TRUE(reader::IsBeingWritten(OpenFile().string()));
    WriteFile(Logs() / "other.xml", "x");
    fs::permissions(Logs() / "other.xml", fs::perms::owner_read);
    SetValue(std::string(kUsage) + "\\MyProduct", "OptIn", "sz:0");
    const auto open = [](DWORD access) {
      return CreateFileW(OpenFile().c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                         nullptr, OPEN_EXISTING, 0, nullptr);
    };
    EXPECT_TRUE(open(GENERIC_WRITE) == INVALID_HANDLE_VALUE && open(DELETE) == INVALID_HANDLE_VALUE);
    const HANDLE reader = open(GENERIC_READ);
    for (uintmax_t size = 0; fs::file_size(OpenFile()) >= size;) {
      size = fs::file_size(OpenFile());
      EXPECT_EQ(ut.AddToSession(session, "filler", std::string(500, 'x').c_str()), 0);
    }
    EXPECT_EQ(Records(ReadFile(OpenFile())).size(), 1u);
    CloseHandle(reader);
    EXPECT_EQ(ut.CloseSession(&session), 0);
    EXPECT_EQ(FilesIn(Logs()), Lines());
  });
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

BOOL WINAPI TellTooLong(const void* resource, const wchar_t* name, void** value, UINT* length) {
  const BOOL isThere = VerQueryValueW(resource, name, value, length);
  return *length |= 1 << 30, isThere;
}
FARPROC WINAPI FindFunction(HMODULE module, const char* name) {
  return std::string_view(name) == "VerQueryValueW"
             ? reinterpret_cast<FARPROC>(reinterpret_cast<void*>(TellTooLong))
             : GetProcAddress(module, name);
}

// Resources may lie about their lengths. A host without one has no name; the library and the agent still have
// theirs. A user without an identifier gets one.
TEST_F(Fault, NothingIsKnown) {
  const HANDLE update = BeginUpdateResourceW((CaseFolder() / "host.exe").c_str(), TRUE);
  ASSERT_TRUE(EndUpdateResourceW(update, FALSE));
  SetValue(kUsage, "GUID", "sz:");
  RunHost([](Library& ut) {
    ut.Replace("GetProcAddress", &FindFunction);
    EXPECT_NE(ut.Open(), nullptr);
  });
  std::map<std::string, std::string> values;
  for (const Record& record : Records(OnlyDocument())) values[record["name"]] = record["data"];
  for (const char* entry : {"Name", "Version", "Build", "Language"})
    EXPECT_EQ(values[std::string("Executable") + entry], "NOVALUE") << entry;
  EXPECT_EQ("sz:" + values["User"], GetValue(kUsage, "GUID"));
  EXPECT_EQ(Normalised(values["User"]), "ID1");
  EXPECT_EQ(values["Sendrix2.exe"] + " " + values["Vantra.dll"], "5.6.7 1.0.0");
}

size_t allocations;  // that go well until one fails
void* Allocate(size_t size) { return allocations-- == 0 ? nullptr : std::malloc(size); }

// Whatever memory a start does not get, it ends as a refusal or well, and so do all others.
TEST_F(Fault, MemoryRunsOut) {
  RunHost([](Library& ut) {
    ut.Initialize("MyProduct", false, nullptr);
    ut.SetOptIn(1);
    ut.Replace("malloc", &Allocate);
    bool isRefused = true;
    for (size_t failing = 0; isRefused && failing < 1000; ++failing) {
      void* session = &session;
      allocations = failing;
      isRefused = ut.StartSession(&session, "Acme", "Draw", "3.1", nullptr, nullptr) != 0;
      const bool isGone = allocations > failing;
      allocations = SIZE_MAX;
      EXPECT_EQ(session == nullptr, isRefused) << failing;
      EXPECT_EQ(ut.CloseSession(&session), isRefused) << failing;
      isRefused |= isGone;
    }
    EXPECT_FALSE(isRefused);
  });
}

}  // namespace
}  // namespace vantra::test
