// What is on disk and in the registry after a host that may not record, against what was there before. What
// docs/privacy.md lists is all that may be new. And what is told of a choice that has changed.

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
  friend void PrintTo(const Refusal& row, std::ostream* out) { *out << row.test; }
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

struct ChangeRow {
  const char* test;
  const char* stored;  // for the product; none when empty
  int32_t held;
  const char* base;  // the counts of the report; no report when empty
  const char* optIn;
  friend void PrintTo(const ChangeRow& row, std::ostream* out) { *out << row.test; }
};

class Change : public HostTable<ChangeRow> {};

// A changed mind is stored for the product, reported once, and the agent started for the report.
TEST_P(Change, OfMind) {
  const auto& [test, stored, held, base, optIn] = GetParam();
  SetValue(Hive::kUser, kUsage, "GUID", "sz:0a1b2c3d-4e5f-6071-8293-a4b5c6d7e8f9");
  SetValue(Hive::kUser, kUsage, "obfuscate", "dword:0");
  const std::string product = std::string(kUsage) + "\\MyProduct_Acme_Draw_3.1";
  if (*stored != '\0') SetValue(Hive::kUser, product, "OptIn", stored);
  RunHost([held = held](Library& ut) {
    ut.Initialize("MyProduct", false, nullptr);
    ut.SetOptIn(held);
    void* session = nullptr;
    EXPECT_EQ(ut.StartSession(&session, "Acme", "Draw", "3.1", nullptr, nullptr), held == 1 ? 0 : 1);
  });
  Lines reports = FilesIn(Logs());
  std::erase_if(reports, [](auto& file) { return !file.starts_with("ulog_SkylampOptinProductFamily_"); });
  ASSERT_EQ(reports.size(), *base == '\0' ? 0u : 1u);
  EXPECT_EQ(AgentStarts().size(), reports.size());
  if (reports.empty()) return;
  EXPECT_EQ(GetValue(Hive::kUser, product, "OptIn"), "dword:" + std::to_string(held));
  std::string wanted = R"(<?xml version="1.0" encoding="utf-8"?>

<UsageDoc version="0.5.4">
<StartSession id="ID1" time="TIME" seq="0" />
<NewGroup category="Skylamp" subcategory="OptinRate" name="Session" time="TIME" group="1" doc="" seq="1" />
<DataRec time="TIME" group="1" name="ProductFamily" data="SkylampOptinProductFamily" seq="2" />
<DataRec time="TIME" group="1" name="ProductName" data="SkylampOptinProduct" seq="3" />
<NewGroup category="Skylamp" subcategory="OptinRate" name="OptinProductInfo" time="TIME" group="2" doc="" seq="4" />
<DataRec time="TIME" group="2" name="OptinProductFamily" data="Acme" seq="5" />
<DataRec time="TIME" group="2" name="OptinProductName" data="Draw" seq="6" />
<DataRec time="TIME" group="2" name="OptinProductVersion" data="3.1" seq="7" />
<DataRec time="TIME" group="2" name="OptinProductSerializationState" data="Serialized" seq="8" />
<DataRec time="TIME" group="2" name="OptinKey" data="MyProduct" seq="9" />
<NewGroup category="Skylamp" subcategory="OptinRate" name="OptInInfo" time="TIME" group="3" doc="" seq="10" />
<DataRec time="TIME" group="3" name="BaseCount" data=")";
  wanted.append(base).append(
      "\" seq=\"11\" />\n<DataRec time=\"TIME\" group=\"3\" name=\"OptInCount\" data=\"");
  wanted.append(optIn).append(
      "\" seq=\"12\" />\n<EndSession id=\"ID1\" time=\"TIME\" seq=\"13\" />\n</UsageDoc>\n");
  const std::string document = ReadDocument(Logs() / reports[0]);
  EXPECT_EQ(Normalised(document), wanted);
  EXPECT_EQ(Records(document)[0]["id"], "00000000-0000-0000-0000-000000000000");
  EXPECT_EQ(reports[0].find("0a1b2c3d"), std::string::npos) << "the report names the user";
}

INSTANTIATE_TEST_SUITE_P(Kinds, Change,
                         testing::Values(ChangeRow{"FirstIn", "", 1, "1", "1"},
                                         ChangeRow{"FirstOut", "", 0, "1", "0"},
                                         ChangeRow{"OutToIn", "dword:0", 1, "0", "1"},
                                         ChangeRow{"InToOut", "dword:1", 0, "0", "-1"},
                                         ChangeRow{"StillIn", "sz:1", 1, "", ""},
                                         ChangeRow{"StillOut", "dword:0", 0, "", ""},
                                         ChangeRow{"Undecided", "dword:1", -1, "", ""}),
                         kRowName);

}  // namespace
}  // namespace vantra::test
