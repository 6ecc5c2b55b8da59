// How a session goes on in another file, and what becomes of its files in the end.
#include "Document.h"
#include "Host.h"

namespace vantra::test {
namespace {

namespace fs = std::filesystem;

constexpr size_t kFull = 102'400;

struct LimitRow {
  const char* test;
  const char* obfuscate;
  size_t bytes;
  bool isSplit;
};

class Limit : public HostTable<LimitRow> {};

TEST_P(Limit, SplitsAt102400BytesOfText) {
  const LimitRow row = GetParam();
  SetValue(Hive::kUser, kUsage, "send", "dword:0");
  SetValue(Hive::kUser, kUsage, "obfuscate", row.obfuscate);
  RunHost([row](Library& ut) {
    void* session = nullptr;
    ut.Initialize("MyProduct", false, nullptr);
    ut.SetOptIn(1);
    ut.StartSession(&session, "Acme", "Draw", "3.1 \"<&", "4\\12", "en");
    FillTo(ut, session, row.bytes);
    EXPECT_EQ(Documents().size(), row.isSplit ? 2u : 1u);
    ut.LogEvent(session, "a", "b", "c", nullptr, 0);
    EXPECT_EQ(Documents().size(), 2u);
    EXPECT_TRUE(OpenFile().string().ends_with("_1.tmp"));
  });
  const std::vector<std::string> names = Documents();
  ASSERT_EQ(names.size(), 2u);
  EXPECT_TRUE(names[0].ends_with(*row.obfuscate == 's' ? "_0.xml" : "_0.rdy")) << names[0];
  EXPECT_EQ(names[0].substr(0, names[0].size() - 6), names[1].substr(0, names[1].size() - 6));
  const std::string first = ReadDocument(Logs() / names[0]);
  const std::string second = ReadDocument(Logs() / names[1]);

  const std::vector<Record> before = Records(first);
  for (size_t i = 0; i < before.size(); ++i) EXPECT_EQ(before[i]["seq"], std::to_string(i));
  EXPECT_EQ(before.back().element, "SplitSession");
  EXPECT_EQ(first.find("<SplitSession") == row.bytes, row.isSplit);
  EXPECT_TRUE(first.ends_with(" />\n</UsageDoc>\n"));

  // Nothing is escaped in a ResumeSession.
  const std::string resumed = second.substr(0, second.find("<EventRec"));
  EXPECT_EQ(
      Normalised(resumed),
      "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n\n<UsageDoc version=\"0.5.4\">\n"
      "<ResumeSession id=\"ID1\" ProductFamily=\"Acme\" ProductName=\"Draw\" ProductVersion=\"3.1 \"<&\" "
      "ProductBuild=\"4\\12\" ProductLanguage=\"en\" SessionStartTime=\"TIME\" User=\"ID2\" time=\"TIME\" "
      "seq=\"" +
          std::to_string(before.size()) + "\" />\n");
  for (const std::string& same : {"id=\"" + before[0]["id"], "SessionStartTime=\"" + before[0]["time"],
                                  "User=\"" + before[7]["data"]}) {
    EXPECT_NE(resumed.find(same + "\""), std::string::npos) << same;
  }
  EXPECT_EQ(resumed != second, row.isSplit);
}

INSTANTIATE_TEST_SUITE_P(Rollover, Limit,
                         testing::Values(LimitRow{"Full", "sz:0", kFull, true},
                                         LimitRow{"OneShort", "sz:0", kFull - 1, false},
                                         LimitRow{"ObfuscatedFull", "dword:1", kFull, true},
                                         LimitRow{"ObfuscatedOneShort", "dword:1", kFull - 1, false}),
                         kRowName);

// The limit holds after the closing record too: it is followed by a split, and one more file.
TEST_F(HostTest, EndRecordCanSplit) {
  SetValue(Hive::kUser, kUsage, "obfuscate", "sz:0");
  RunHost([](Library& ut) {
    void* session = ut.Open("Acme", "First");
    ut.CloseSession(&session);
    const std::string first = OnlyDocument();
    // What closing will add, with each number one digit longer.
    const size_t closing =
        first.size() - first.find("<NewGroup category=\"Skylamp\" subcategory=\"NOVALUE\" name=\"OptIn");
    session = ut.Open("Acme", "Second");
    FillTo(ut, session, kFull + 40 - closing);
    EXPECT_EQ(ut.CloseSession(&session), 0);
  });
  const std::vector<std::string> names = Documents();
  ASSERT_EQ(names.size(), 3u);
  const std::string first = ReadDocument(Logs() / names[1]);
  EXPECT_TRUE(names[1].ends_with("_0.xml"));
  EXPECT_TRUE(names[2].ends_with("_1.xml"));
  const std::vector<Record> records = Records(first);
  const auto seq = [](size_t n) { return "\" time=\"TIME\" seq=\"" + std::to_string(n) + "\" />\n"; };
  EXPECT_TRUE(Normalised(first).ends_with("<EndSession id=\"ID1" + seq(records.size() - 2) +
                                          "</UsageDoc>\n<SplitSession id=\"ID1" + seq(records.size() - 1) +
                                          "</UsageDoc>\n"));
  const std::string second = ReadDocument(Logs() / names[2]);
  EXPECT_EQ(Records(second).size(), 1u);
  EXPECT_TRUE(Normalised(second).ends_with("User=\"ID2" + seq(records.size()))) << second;
}

struct CloseRow {
  const char* test;
  void (*act)(Library& ut);
  bool isKept;
  const char* optedIn;
};

class Close : public HostTable<CloseRow> {};

// Consent and agent are asked for at the close, whatever they were at the start.
TEST_P(Close, KeepsOrDeletesAllFiles) {
  const CloseRow row = GetParam();
  SetValue(Hive::kUser, kUsage, "obfuscate", "sz:0");
  fs::create_directories(Logs() / "sub");
  for (const char* file : {"other.xml", "noextension", "sub/kept.xml"}) WriteFile(Logs() / file, "x");
  RunHost([row](Library& ut) {
    void* session = ut.Open();
    row.act(ut);
    EXPECT_EQ(ut.CloseSession(&session), 0);
  });
  if (!row.isKept) {
    EXPECT_EQ(FilesIn(Logs()), std::vector<std::string>{"sub"});
    EXPECT_EQ(AgentStarts().size(), 1u);
  } else {
    EXPECT_EQ(FilesIn(Logs()).size(), 5u);
    const std::vector<Record> records = Records(ReadDocument(Logs() / Documents().back()));
    ASSERT_GT(records.size(), 3u);
    EXPECT_EQ(records[records.size() - 3]["data"], row.optedIn);
  }
  EXPECT_EQ(FilesIn(Logs() / "sub"), std::vector<std::string>{"kept.xml"});
}

constexpr const char kMyProduct[] = "Software\\Tolvex\\CommonFiles\\Usage\\MyProduct";

INSTANTIATE_TEST_SUITE_P(
    Rollover, Close,
    testing::Values(
        CloseRow{"OptedIn", [](Library&) {}, true, "TRUE"},
        CloseRow{"OptedOut", [](Library& ut) { ut.SetOptIn(0); }, false, ""},
        CloseRow{"OptedOutElsewhere", [](Library&) { SetValue(Hive::kUser, kMyProduct, "OptIn", "dword:0"); },
                 false, ""},
        CloseRow{"Undecided", [](Library& ut) { ut.SetOptIn(-1); }, false, ""},
        CloseRow{"UndecidedPreRelease",
                 [](Library& ut) {
                   ut.SetSerializationState(0);
                   ut.SetOptIn(-1);
                 },
                 true, "UNKNOWN"},
        CloseRow{"OptedOutPreRelease",
                 [](Library& ut) {
                   ut.SetSerializationState(0);
                   ut.SetOptIn(0);
                 },
                 false, ""},
        CloseRow{"AnotherKeyOptedOut", [](Library& ut) { ut.OptInSet("Other", 0); }, true, "TRUE"},
        CloseRow{"AgentGone",
                 [](Library&) { fs::rename(CaseFolder() / "Sendrix2.exe", CaseFolder() / "gone"); }, false,
                 ""}),
    kRowName);

// Without consent a full document is deleted, and its successor counts as full from the first.
TEST_F(HostTest, SplitWithoutConsentDeletes) {
  SetValue(Hive::kUser, kUsage, "obfuscate", "sz:0");
  RunHost([](Library& ut) {
    void* session = ut.Open();
    WriteFile(Logs() / "other.xml", "x");
    ut.SetOptIn(0);
    FillTo(ut, session, kFull);
    for (int i = 0; i < 3; ++i) {
      EXPECT_EQ(FilesIn(Logs()).size(), 1u);
      EXPECT_TRUE(OpenFile().string().ends_with("_0.tmp"));
      EXPECT_EQ(Records(ReadFile(OpenFile())).size(), 1u);
      EXPECT_EQ(ut.LogEvent(session, "a", "b", "c", nullptr, 0), 0);
    }
    EXPECT_EQ(ut.CloseSession(&session), 0);
  });
  EXPECT_EQ(FilesIn(Logs()), std::vector<std::string>());
}

// A session that nobody closes is left as it is.
TEST_F(HostTest, UnloadLeavesOpenSessions) {
  RunHost([](Library& ut) { EXPECT_NE(ut.Open(), nullptr); });
  EXPECT_TRUE(OpenFile().string().ends_with("_0.tmp"));
  EXPECT_EQ(Records(OnlyDocument()).back()["name"], "Vantra.dll");
}

}  // namespace
}  // namespace vantra::test
