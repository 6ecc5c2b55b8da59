// What is on disk and in the registry after a host that may not record, against what was there before. What
// docs/privacy.md lists is all that may be new.

#include "HostTest.h"

namespace vantra::test {
namespace {

namespace fs = std::filesystem;

const std::string kKey = std::string(kUsage) + "\\MyProduct";

// What is new, with its content where that is told, and behind a minus what is gone or was changed.
Lines Changes(const Surroundings& before, const Surroundings& after) {
  Lines changes;
  const auto add = [&](const char* sign, const Surroundings& all, const Surroundings& others) {
    for (const auto& [path, content] : all) {
      const auto other = others.find(path);
      if (other != others.end() && other->second == content) continue;
      const bool isDocument = path.find("/Logs/") != path.npos;
      changes.push_back(sign + Normalised(path + (isDocument || content.empty() ? "" : "=" + content)));
    }
  };
  add("-", before, after);
  add("", after, before);
  return changes;
}

struct Refusal {
  const char* test;
  void (*prepare)();
  void (*act)(Library&);
  Lines written;
};
class Refused : public HostTable<Refusal> {};

void Start(Library& ut) {
  void* session = nullptr;
  EXPECT_EQ(ut.StartSession(&session, "Acme", "Draw", "3.1", nullptr, nullptr), 1);
}
void InitialiseAndStart(Library& ut) {
  EXPECT_EQ(ut.Initialize("MyProduct", true, nullptr), 0);
  Start(ut);
}
void SetOptIn(const char* value) { SetValue(Hive::kUser, kKey, "OptIn", value); }

const std::string kConfig =
    "AppData/Tolvex/Sendrix2/Sendrix2.cfg=[settings]\nmaxdiskspace=10\nmaxretries=3\nretryinterval=10\n"
    "url=https://usage.tolvex.example/skylamp\n[ulog]\nstatus=Active\n";
const std::string kUser = "HKCU Software\\Tolvex\\CommonFiles\\Usage\\";
const std::string kGuid = kUser + "GUID=sz:ID1";

const std::string kEmptyKey = kUser + "MyProduct\\";

TEST_P(Refused, WritesWhatIsListed) {
  GetParam().prepare();
  const Surroundings before = LookAround();
  const auto act = GetParam().act;
  RunHost([act](Library& ut) { act(ut); });
  EXPECT_EQ(Changes(before, LookAround()), GetParam().written);
  const std::string guid = GetValue(Hive::kUser, kUsage, "GUID");
  for (const std::string& name : FilesIn(Logs())) {
    EXPECT_EQ((name + ReadDocument(Logs() / name)).find(guid.substr(3)), std::string::npos) << name;
  }
}

const Refusal kRefusals[] = {
    {"Loaded", [] {}, [](Library&) {}, {}},
    {"NoUsageKey", [] {}, Start, {kConfig}},
    {"BadArguments",
     [] {},
     [](Library& ut) {
       void* session = nullptr;
       EXPECT_EQ(ut.Initialize("My\\Product", true, nullptr), 1);
       EXPECT_EQ(ut.StartSession(nullptr, "Acme", "Draw", "3.1", nullptr, nullptr), 1);
       EXPECT_EQ(ut.StartSession(&session, "Acme", "", "3.1", nullptr, nullptr), 1);
       EXPECT_EQ(ut.OptInSet("", 1) + ut.OptInSet("MyProduct", 7) + ut.SetOptIn(1), 3);
       EXPECT_EQ(ut.SetDemographic(nullptr, "x"), 1);
     },
     {}},
    {"NoSession",
     [] {},
     [](Library& ut) {
       void* session = &ut;
       uint32_t group = 0;
       EXPECT_EQ(ut.Initialize("MyProduct", true, nullptr), 0);
       EXPECT_EQ(ut.AddToSession(session, "Theme", "dark") + ut.AddToGroup(session, 1, "Theme", "dark"), 2);
       EXPECT_EQ(ut.LogEvent(session, "File", "Menu", "Save", "a", 1) + ut.CloseSession(&session), 2);
       EXPECT_EQ(ut.NewDataGroup(session, "File", "Menu", "Shapes", &group, nullptr, 0), 1);
     },
     {}},
    {"Disabled",
     [] { WriteFile(AgentFolder() / "Sendrix2.cfg", "[ulog]\nstatus=Disabled\n"); },
     InitialiseAndStart,
     {}},
    {"NoAgent",
     [] { fs::remove(CaseFolder() / "Sendrix2.exe"); },
     InitialiseAndStart,
     {kConfig, kGuid, kEmptyKey}},
    {"Policy",
     [] {
       SetOptIn("dword:1");
       SetValue(Hive::kMachine, kPolicy, "enabled", "dword:0");
     },
     InitialiseAndStart,
     {kConfig, kGuid}},
    {"NoChoice", [] {}, InitialiseAndStart, {kConfig, kGuid, kEmptyKey}},
    {"OptedOut",
     [] {
       SetOptIn("dword:0");
       SetValue(Hive::kUser, kUsage, "send", "sz:0");
     },
     InitialiseAndStart,
     {"AppData/Tolvex/Sendrix2/Logs/ulog_SkylampOptinProductFamily_SkylampOptinProduct_ID1_ID2.rdy", kConfig,
      kGuid, kUser + "MyProduct_Acme_Draw_3.1\\OptIn=dword:0"}},
    {"OptedOutBefore",
     [] {
       SetOptIn("dword:0");
       SetValue(Hive::kUser, std::string(kUsage) + "\\MyProduct_Acme_Draw_3.1", "OptIn", "dword:0");
     },
     InitialiseAndStart,
     {kConfig, kGuid}},
    {"Reads",
     [] {},
     [](Library& ut) {
       char text[10];
       size_t size = sizeof text;
       EXPECT_EQ(ut.Initialize("MyProduct", true, nullptr), 0);
       EXPECT_EQ(ut.GetOptIn(), -1);
       EXPECT_EQ(ut.GetNonDefaultDemographic("Other", "Age", text, &size), 1);
     },
     {kEmptyKey, kUser + "Other\\Demographic\\"}},
};
INSTANTIATE_TEST_SUITE_P(Paths, Refused, testing::ValuesIn(kRefusals), kRowName);

}  // namespace
}  // namespace vantra::test
