// What is left of a host that crashes, and of a host that lives on without the library.
#include <windows.h>

#include <algorithm>
#include <array>
#include <thread>

#include "HostTest.h"

namespace vantra::test {
namespace {

constexpr uint32_t kHostsOwnCode = 77;

LONG WINAPI HostsFilter(EXCEPTION_POINTERS*) {
  TerminateProcess(GetCurrentProcess(), kHostsOwnCode);
  return EXCEPTION_EXECUTE_HANDLER;
}

// NOLINTBEGIN(clang-analyzer-core.NullDereference,clang-analyzer-core.DivideZero): crashes are wanted.
[[gnu::no_sanitize_undefined]] void WriteNowhere() { *static_cast<volatile int*>(nullptr) = 1; }

[[gnu::no_sanitize_undefined]] void Divide() {
  volatile int zero = 0;
  volatile int result = 7 / zero;
  static_cast<void>(result);
}
// NOLINTEND(clang-analyzer-core.NullDereference,clang-analyzer-core.DivideZero)

// A session of a user who has opted in, in a host that wants its crashes recorded. Hosts in other languages
// may have any byte for true.
void* OpenWatched(Library& ut, const char* name, bool isWatched = true) {
  void* session = nullptr;
  const auto initialize =
      reinterpret_cast<int32_t (*)(const char*, int, const char*)>(reinterpret_cast<void*>(ut.Initialize));
  EXPECT_EQ(initialize("MyProduct", isWatched ? 0xFE : 0, nullptr), 0);
  EXPECT_EQ(ut.StartSession(&session, "Acme", name, "3.1", nullptr, nullptr), 0);
  return session;
}

class CrashTest : public HostTest {
 protected:
  CrashTest() {
    SetValue(Hive::kUser, kUsage, "GUID", "sz:0a1b2c3d-4e5f-6071-8293-a4b5c6d7e8f9");
    SetValue(Hive::kUser, std::string(kUsage) + "\\MyProduct", "OptIn", "dword:1");
    SetValue(Hive::kUser, kUsage, "obfuscate", "dword:0");
  }
};

constexpr std::string_view kCrashDocument = R"(<?xml version="1.0" encoding="utf-8"?>

<UsageDoc version="0.5.4">
<StartSession id="ID1" time="TIME" seq="0" />
<NewGroup category="Skylamp" subcategory="Crash" name="Session" time="TIME" group="1" doc="" seq="1" />
<DataRec time="TIME" group="1" name="ProductFamily" data="Skylamp" seq="2" />
<DataRec time="TIME" group="1" name="ProductName" data="AppCrash" seq="3" />
<NewGroup category="AppExit" subcategory="Crash" name="ExitInfo" time="TIME" group="2" doc="" seq="4" />
<DataRec time="TIME" group="2" name="ExitType" data="Crash" seq="5" />
<DataRec time="TIME" group="2" name="CrashProductName" data="{name}" seq="6" />
<DataRec time="TIME" group="2" name="CrashProductFamily" data="Acme" seq="7" />
<DataRec time="TIME" group="2" name="UserID" data="ID2" seq="8" />
<EndSession id="ID1" time="TIME" seq="9" />
</UsageDoc>
)";

std::string CrashDocumentOf(const std::string& name) {
  std::string text(kCrashDocument);
  return text.replace(text.find("{name}"), 6, name);
}

// Each open session has its document so far, under its temporary name, and a crash document of its own; there
// is nothing else.
void ExpectCrashOf(const Lines& names, const std::string& extension) {
  Lines files, wanted;
  for (const std::string& name : names) {
    const std::string start = "ulog_Acme_" + name + "_0a1b2c3d-4e5f-6071-8293-a4b5c6d7e8f9_ID";
    wanted.insert(wanted.end(), {start + extension, start + "_0.tmp"});
  }
  for (std::string file : Documents()) {
    const std::string document = ReadDocument(Logs() / file), id = Records(document).at(0)["id"];
    if (file.ends_with(extension)) {
      EXPECT_EQ(Normalised(document), CrashDocumentOf(file.substr(10, file.find('_', 10) - 10)));
    }
    files.push_back(file.replace(file.rfind(id), id.size(), "ID"));
  }
  std::ranges::sort(files), std::ranges::sort(wanted);
  EXPECT_EQ(files, wanted);
}

struct CrashRow {
  const char* test;
  void (*crash)(Library&, void*);
  uint32_t code;
  const char* extension = ".xml";
  friend void PrintTo(const CrashRow& row, std::ostream* out) { *out << row.test; }
};

class Crash : public CrashTest, public testing::WithParamInterface<CrashRow> {};

TEST_P(Crash, LeavesADocumentForEachOpenSession) {
  SetValue(Hive::kUser, kUsage, "obfuscate",
           GetParam().extension == std::string(".rdy") ? "dword:1" : "dword:0");
  const auto crash = GetParam().crash;
  const uint32_t code = StartHost([crash](Library& ut) {
                          void* const session = OpenWatched(ut, "Draw");
                          OpenWatched(ut, "Paint");
                          crash(ut, session);
                        }).Wait();
  EXPECT_EQ(code, GetParam().code);
  ExpectCrashOf({"Draw", "Paint"}, GetParam().extension);
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, Crash,
    testing::Values(
        CrashRow{"MainThread", [](Library&, void*) { WriteNowhere(); }, EXCEPTION_ACCESS_VIOLATION},
        CrashRow{"OtherThread", [](Library&, void*) { std::thread(WriteNowhere).join(); },
                 EXCEPTION_ACCESS_VIOLATION, ".rdy"},
        CrashRow{"InsideACall",
                 [](Library& ut, void* session) {
                   ut.AddToSession(session, reinterpret_cast<const char*>(uintptr_t{16}), "value");
                 },
                 EXCEPTION_ACCESS_VIOLATION},
        CrashRow{"Division", [](Library&, void*) { Divide(); }, EXCEPTION_INT_DIVIDE_BY_ZERO},
        CrashRow{"RaisedException",
                 [](Library&, void*) { RaiseException(0xE0001234, EXCEPTION_NONCONTINUABLE, 0, nullptr); },
                 0xE0001234}),
    kRowName);

struct FateRow {
  const char* test;
  bool isWatched;
  int32_t optIn;
  int32_t state;
  bool isOpen;
  Lines left;  // the ends of the names of what is left of another file and the session
  friend void PrintTo(const FateRow& row, std::ostream* out) { *out << row.test; }
};

class Fate : public CrashTest, public testing::WithParamInterface<FateRow> {};

// What consent at the moment of the crash makes of the documents, those of others included.
TEST_P(Fate, OfTheDocuments) {
  WriteFile(Logs() / "other.xml", "another process's");
  StartHost([isWatched = GetParam().isWatched, optIn = GetParam().optIn, state = GetParam().state,
             isOpen = GetParam().isOpen](Library& ut) {
    void* session = OpenWatched(ut, "Draw", isWatched);
    EXPECT_EQ(isOpen ? 0 : ut.CloseSession(&session), 0);
    ut.SetOptIn(optIn);
    ut.SetSerializationState(state);
    WriteNowhere();
  }).Wait();
  Lines ends;
  for (const std::string& file : Documents()) ends.push_back(file.substr(file.size() - 4));
  std::sort(ends.begin(), ends.end());
  EXPECT_EQ(ends, GetParam().left);
}

INSTANTIATE_TEST_SUITE_P(
    Consent, Fate,
    testing::Values(FateRow{"OptedIn", true, 1, 2, true, {".tmp", ".xml", ".xml"}},
                    FateRow{"OptedOut", true, 0, 0, true, {}},
                    FateRow{"UndecidedPreRelease", true, -1, 0, true, {".tmp", ".xml", ".xml"}},
                    FateRow{"Undecided", true, -1, 2, true, {}},
                    FateRow{"NotWatched", false, 0, 2, true, {".tmp", ".xml"}},
                    FateRow{"NothingOpen", true, 0, 2, false, {".xml", ".xml"}}),
    kRowName);

// While the library is there nobody's filter but its own is in force; before and after it is the host's.
TEST_F(CrashTest, TheHostsFilter) {
  const auto filter = [](auto when) {
    return StartHost([when](Library& ut) {
             if (*when == 'b') SetUnhandledExceptionFilter(HostsFilter);
             if (*when != 'n') OpenWatched(ut, "Draw");
             if (*when != 'b') {
               EXPECT_EQ(SetUnhandledExceptionFilter(HostsFilter) == nullptr, *when == 'a');
             }
             WriteNowhere();
           })
        .Wait();
  };
  EXPECT_EQ(filter("before"), EXCEPTION_ACCESS_VIOLATION);
  EXPECT_EQ(filter("after"), EXCEPTION_ACCESS_VIOLATION);
  EXPECT_EQ(filter("never watched"), kHostsOwnCode);
}

using Entry = std::array<unsigned char, 16>;

void* EntryOfTheSetter() {
  return reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA("kernel32"), "SetUnhandledExceptionFilter"));
}

Entry EntryBytes() {
  Entry bytes;
  std::memcpy(bytes.data(), EntryOfTheSetter(), bytes.size());
  return bytes;
}

LPTOP_LEVEL_EXCEPTION_FILTER WINAPI RefuseFilter(LPTOP_LEVEL_EXCEPTION_FILTER) { return nullptr; }

// Turns calls of the setter to RefuseFilter, as some other component may: mov r11, imm64; jmp r11.
void HookTheSetter() {
  unsigned char hook[] = {0x49, 0xBB, 0, 0, 0, 0, 0, 0, 0, 0, 0x41, 0xFF, 0xE3};
  auto* const target = &RefuseFilter;
  std::memcpy(hook + 2, &target, sizeof target);
  Overwrite(EntryOfTheSetter(), hook, sizeof hook);
}

struct UnloadRow {
  const char* test;
  bool hasFilter;
  int starts;
  bool isHooked = false;
  friend void PrintTo(const UnloadRow& row, std::ostream* out) { *out << row.test; }
};

class Unload : public CrashTest, public testing::WithParamInterface<UnloadRow> {};

// A host that lives on has its entry, its filter and its crashes to itself, however often it loads the
// library.
TEST_P(Unload, LeavesTheProcessAsItWas) {
  const uint32_t code = StartHost([hasFilter = GetParam().hasFilter, starts = GetParam().starts,
                                   isHooked = GetParam().isHooked] {
                          SetUnhandledExceptionFilter(hasFilter ? HostsFilter : nullptr);
                          if (isHooked) HookTheSetter();
                          const Entry before = EntryBytes();
                          for (int load = 0; load < 3; ++load) {
                            Library ut;
                            for (int i = 0; i < starts; ++i) OpenWatched(ut, "Draw");
                            const Entry patched = EntryBytes();
                            EXPECT_NE(patched, before);
                            EXPECT_EQ(patched[0] * 256 + patched[1], 0x49BB);
                            EXPECT_EQ(patched[10] * 65536 + patched[11] * 256 + patched[12], 0x41FFE3);
                          }
                          EXPECT_EQ(EntryBytes(), before);
                          if (testing::Test::HasFailure()) ExitProcess(1);
                          WriteNowhere();
                        }).Wait();
  EXPECT_EQ(code, GetParam().hasFilter ? kHostsOwnCode : EXCEPTION_ACCESS_VIOLATION);
  for (const std::string& file : Documents()) EXPECT_TRUE(file.ends_with(".tmp")) << file;
}

INSTANTIATE_TEST_SUITE_P(Filters, Unload,
                         testing::Values(UnloadRow{"OfTheHost", true, 1},
                                         UnloadRow{"OfTheHostTwice", true, 2}, UnloadRow{"None", false, 1},
                                         UnloadRow{"NoneTwice", false, 2},
                                         UnloadRow{"Hooked", true, 2, true}),
                         kRowName);

// Two copies of the library in one process, as two parts of a host may bring them, go in any order.
TEST_F(CrashTest, TwoCopiesOfTheLibrary) {
  std::filesystem::create_directory(CaseFolder() / "second");
  std::filesystem::copy(CaseFolder() / "Vantra.dll", CaseFolder() / "second" / "Vantra.dll");
  const uint32_t code = StartHost([] {
                          SetUnhandledExceptionFilter(HostsFilter);
                          const Entry before = EntryBytes();
                          auto first = std::make_unique<Library>();
                          OpenWatched(*first, "Draw");
                          Library second(CaseFolder() / "second" / "Vantra.dll");
                          OpenWatched(second, "Paint");
                          first.reset();
                          EXPECT_EQ(EntryBytes(), before);
                          if (testing::Test::HasFailure()) ExitProcess(1);
                          WriteNowhere();
                        }).Wait();
  EXPECT_EQ(code, kHostsOwnCode);
}

TEST_F(CrashTest, LogLines) {
  SwitchLogOn();
  StartHost([](Library& ut) {
    OpenWatched(ut, "Draw");
    WriteNowhere();
  }).Wait();
  Lines lines = NewLog("INFO");
  std::erase_if(lines, [](const std::string& line) {
    return !line.starts_with("CrashHandler") && !line.starts_with("MiniSession") &&
           line.find("Filter()") == line.npos;
  });
  Lines wanted = {"CrashHandler::SetCrashHandler@58", "PreventSetUnhandledExceptionFilter() - Enter@82",
                  "PreventSetUnhandledExceptionFilter() - Exit@118",
                  "CrashHandler::SetUnhandledExceptionFilter@70", "MiniSession::CreateOptInRateFile@104"};
  wanted.insert(wanted.end(), 14, "MiniSession::Write@172");
  wanted.insert(wanted.end(), {"CrashHandler::CustomUnhandledExceptionFilter@158",
                               "CrashHandler::LogCrashInfo@183", "CrashHandler::LogCrashInfo@189",
                               "CrashHandler::LogCrashInfo@194", "MiniSession::CreateCrashFile@61"});
  wanted.insert(wanted.end(), 10, "MiniSession::Write@172");
  EXPECT_EQ(lines, wanted);
}

}  // namespace
}  // namespace vantra::test
