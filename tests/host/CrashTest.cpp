// What is left of a host that crashes, and of a host that lives on without the library.
#include <array>
#include <set>
#include <thread>

#include "HostTest.h"
#include "Rules.h"

namespace vantra::test {
namespace {

constexpr uint32_t kHostsOwnCode = 77, kViolation = EXCEPTION_ACCESS_VIOLATION;

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
void* OpenWatched(Library& ut, const char* name = "Draw", int isWatched = 0xFE) {
  void* session = nullptr;
  const auto initialize =
      reinterpret_cast<int32_t (*)(const char*, int, const char*)>(reinterpret_cast<void*>(ut.Initialize));
  EXPECT_EQ(initialize("MyProduct", isWatched, nullptr), 0);
  EXPECT_EQ(ut.StartSession(&session, "Acme", name, "3.1", nullptr, nullptr), 0);
  return session;
}

using Entry = std::array<unsigned char, 17>;  // the first bytes, and the protection of their page

void* EntryOfTheSetter() {
  return reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA("kernel32"), "SetUnhandledExceptionFilter"));
}
Entry EntryBytes() {
  Entry bytes;
  std::memcpy(bytes.data(), EntryOfTheSetter(), bytes.size() - 1);
  MEMORY_BASIC_INFORMATION page;
  VirtualQuery(EntryOfTheSetter(), &page, sizeof page);
  bytes.back() = static_cast<unsigned char>(page.Protect);
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

// A host that lives on has its entry, its filter and its crashes to itself, however often it loads the
// library.
void LoadAndUnload(LPTOP_LEVEL_EXCEPTION_FILTER filter) {
  SetUnhandledExceptionFilter(filter);
  const Entry before = EntryBytes();
  for (int load = 0; load < 3; ++load) {
    Library ut;
    for (int starts = 0; starts <= load; ++starts) OpenWatched(ut);
    const Entry patched = EntryBytes();
    EXPECT_NE(patched, before);
    EXPECT_EQ(patched[0] * 256 + patched[1], 0x49BB);
    EXPECT_EQ(patched[10] * 65536 + patched[11] * 256 + patched[12], 0x41FFE3);
  }
  EXPECT_EQ(EntryBytes(), before);
}

// As two parts of a host may bring them; they go in any order.
void LoadTwoCopies() {
  const Path copy = CaseFolder() / "second" / "Vantra.dll";
  std::filesystem::create_directory(copy.parent_path());
  std::filesystem::copy(CaseFolder() / "Vantra.dll", copy);
  SetUnhandledExceptionFilter(HostsFilter);
  const Entry before = EntryBytes();
  auto first = std::make_unique<Library>();
  OpenWatched(*first);
  static Library second(copy);  // is there as the host crashes
  OpenWatched(second);
  first.reset();
  EXPECT_EQ(EntryBytes(), before);
}

// Ends the host by a crash, which tells that no expectation has failed.
void CrashAfter(auto body) {
  body();
  if (testing::Test::HasFailure()) ExitProcess(1);
  WriteNowhere();
}

// The same in a host that has a watched session.
void CrashIn(auto body) {
  Library ut;
  void* session = OpenWatched(ut);
  CrashAfter([&] { body(ut, session); });
}

const std::set<std::string> kBoth = {"Draw.xml", "Draw_0.tmp", "Paint.xml", "Paint_0.tmp", "other.xml"},
                            kDraw = {"Draw.xml", "Draw_0.tmp", "other.xml"},
                            kOpen = {"Draw_0.tmp", "other.xml"};

struct CrashRow {
  const char* test;
  void (*act)();
  std::set<std::string> left;  // names of documents, without what is the same in all
  uint32_t code = kViolation;
  const char* obfuscate = "sz:0";
  friend void PrintTo(const CrashRow& row, std::ostream* out) { *out << row.test; }
};

// clang-format off
const CrashRow kCrashes[] = {
    {"MainThread", [] { CrashIn([](auto& ut, auto*) { OpenWatched(ut, "Paint"); }); }, kBoth},
    {"OtherThread", [] { CrashIn([](auto& ut, auto*) { OpenWatched(ut, "Paint");
       SetValue(kUsage, "obfuscate", "sz:0"), std::thread(WriteNowhere).join(); }); },
     {"Draw.rdy", "Draw_0.tmp", "Paint.rdy", "Paint_0.tmp", "other.xml"}, kViolation, "sz:1"},
    {"InsideACall", [] { CrashIn([](auto& ut, auto* session) {
       ut.AddToSession(session, reinterpret_cast<const char*>(uintptr_t{16}), "value"); }); }, kDraw},
    {"Division", [] { CrashIn([](auto&...) { Divide(); }); }, kDraw, EXCEPTION_INT_DIVIDE_BY_ZERO},
    {"RaisedException", [] { CrashIn([](auto&...) {
       RaiseException(0xE0001234, EXCEPTION_NONCONTINUABLE, 0, nullptr); }); }, kDraw, 0xE0001234},
    // What consent at that moment makes of the documents, those of others included.
    {"OptedOut", [] { CrashIn([](auto& ut, auto*) { ut.SetSerializationState(0), ut.SetOptIn(0); }); }, {}},
    {"Undecided", [] { CrashIn([](auto& ut, auto*) { ut.SetOptIn(-1); }); }, {}},
    {"PreRelease", [] { CrashIn([](auto& ut, auto*) { ut.SetSerializationState(0), ut.SetOptIn(-1); }); }, kDraw},
    {"NotWatched", [] { Library ut; CrashAfter([&] { OpenWatched(ut, "Draw", 0), ut.SetOptIn(0); }); }, kOpen},
    {"NothingOpen", [] { CrashIn([](auto& ut, auto* session) { ut.CloseSession(&session), ut.SetOptIn(0); }); },
     {"Draw_0.xml", "other.xml"}},
    // While the library is there nobody's filter but its own is in force; before and after it is the host's.
    {"FilterBefore", [] { SetUnhandledExceptionFilter(HostsFilter), CrashIn([](auto&...) {}); }, kDraw},
    {"FilterAfter", [] { CrashIn([](auto&...) {
       EXPECT_EQ(SetUnhandledExceptionFilter(HostsFilter), nullptr); }); }, kDraw},
    {"FilterWithoutSession", [] { Library ut; CrashAfter([] { SetUnhandledExceptionFilter(HostsFilter); }); },
     {"other.xml"}, kHostsOwnCode},
    {"Unloaded", [] { CrashAfter([] { LoadAndUnload(nullptr); }); }, kOpen},
    {"UnloadedFilter", [] { CrashAfter([] { LoadAndUnload(HostsFilter); }); }, kOpen, kHostsOwnCode},
    {"UnloadedHook", [] { SetUnhandledExceptionFilter(HostsFilter), HookTheSetter();
       CrashAfter([] { LoadAndUnload(nullptr); }); }, kOpen, kHostsOwnCode},
    {"TwoCopies", [] { CrashAfter(LoadTwoCopies); }, kOpen, kHostsOwnCode},
};
// clang-format on

constexpr std::string_view kCrashDocument = R"(<?xml version="1.0" encoding="utf-8"?>

<UsageDoc version="0.5.4">
<StartSession id="ID1" time="TIME" seq="0" />
<NewGroup category="Skylamp" subcategory="Crash" name="Session" time="TIME" group="1" doc="" seq="1" />
<DataRec time="TIME" group="1" name="ProductFamily" data="Skylamp" seq="2" />
<DataRec time="TIME" group="1" name="ProductName" data="AppCrash" seq="3" />
<NewGroup category="AppExit" subcategory="Crash" name="ExitInfo" time="TIME" group="2" doc="" seq="4" />
<DataRec time="TIME" group="2" name="ExitType" data="Crash" seq="5" />
<DataRec time="TIME" group="2" name="CrashProductName" data="{}" seq="6" />
<DataRec time="TIME" group="2" name="CrashProductFamily" data="Acme" seq="7" />
<DataRec time="TIME" group="2" name="UserID" data="ID2" seq="8" />
<EndSession id="ID1" time="TIME" seq="9" />
</UsageDoc>
)";

class Crash : public HostTest, public testing::WithParamInterface<CrashRow> {
 protected:
  Crash() {
    SetValue(kUsage, "GUID", "sz:" + kUser);
    SetValue(std::string(kUsage) + "\\MyProduct", "OptIn", "dword:1");
    WriteFile(Logs() / "other.xml", "another process's");
  }
};

// Each open session has its document so far, under its temporary name, and a crash document of its own.
TEST_P(Crash, Leaves) {
  SetValue(kUsage, "obfuscate", GetParam().obfuscate);
  EXPECT_EQ(StartHost([act = GetParam().act] { act(); }).Wait(), GetParam().code);
  std::set<std::string> left;
  for (std::string name : Documents()) {
    if (name != "other.xml") {
      const std::string document = ReadDocument(Logs() / name),
                        id = "_" + kUser + "_" + Records(document).at(0)["id"];
      ASSERT_NE(name.find(id), name.npos) << name;
      name.replace(name.find(id), id.size(), "").erase(0, std::string_view("ulog_Acme_").size());
      std::string wanted(kCrashDocument);
      wanted.replace(wanted.find("{}"), 2, name.substr(0, name.size() - 4));
      EXPECT_TRUE(name.find('_') != name.npos || Normalised(document) == wanted) << document;
    }
    left.insert(name);
  }
  EXPECT_EQ(left, GetParam().left);
}

INSTANTIATE_TEST_SUITE_P(Kinds, Crash, testing::ValuesIn(kCrashes), testing::PrintToStringParamName());

TEST_F(HostTest, CrashLog) {
  SwitchLogOn();
  SetValue(std::string(kUsage) + "\\MyProduct", "OptIn", "dword:1");
  StartHost([] { CrashIn([](auto&...) { Progress() = GetCurrentProcessId(); }); }).Wait();
  Log wanted{.process = static_cast<uint32_t>(Progress())};
  wanted.Info("CrashHandler::CustomUnhandledExceptionFilter", 158, "CrashHandler");
  for (const int line : {183, 189, 194}) wanted.Info("CrashHandler::LogCrashInfo", line, "CrashHandler");
  wanted.Info("MiniSession::CreateCrashFile", 61, "MiniSession");
  for (int records = 0; records < 10; ++records) wanted.Info("MiniSession::Write", 172, "MiniSession");
  Lines lines = LogLines();
  lines.erase(lines.begin(), std::ranges::find(lines, wanted.lines[0].first));
  EXPECT_EQ(wanted.Difference(lines), "");
}

}  // namespace
}  // namespace vantra::test
