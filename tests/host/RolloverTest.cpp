// How a session goes on in another file, and what becomes of its files in the end.
#include <windows.h>

#include <functional>

#include "HostTest.h"
#include "session/DocumentSeries.h"

namespace vantra::test {
namespace {

namespace fs = std::filesystem;

constexpr size_t kSplit = session::DocumentSeries::kSplitSize;

class Rollover : public HostTest {
 protected:
  Rollover() {
    SetValue(Hive::kUser, kUsage, "obfuscate", "sz:0");
    SetValue(Hive::kUser, kUsage, "send", "sz:0");
  }
};

TEST_F(Rollover, AtTheSplitSize) {
  for (const auto& [obfuscate, bytes] :
       {std::pair{"sz:0", kSplit}, {"sz:0", kSplit - 1}, {"dword:1", kSplit}, {"dword:1", kSplit - 1}}) {
    SCOPED_TRACE(testing::Message() << obfuscate << " " << bytes);
    SetValue(Hive::kUser, kUsage, "obfuscate", obfuscate);
    RunHost([bytes = bytes](Library& ut) {
      void* session = nullptr;
      ut.Initialize("MyProduct", false, nullptr);
      ut.SetOptIn(1);
      ut.StartSession(&session, "Acme", "Draw", "3.1", "412", "en");
      FillTo(ut, session, bytes);
      EXPECT_EQ(Documents().size(), bytes == kSplit ? 2u : 1u);
      ut.LogEvent(session, "a", "b", "c", nullptr, 0);
      FillTo(ut, session, kSplit);
    });
    const Lines names = Documents();
    ASSERT_EQ(names.size(), 3u);
    EXPECT_TRUE(names[0].ends_with(*obfuscate == 's' ? "_0.xml" : "_0.rdy")) << names[0];
    EXPECT_EQ(names[2], names[0].substr(0, names[0].size() - 5) + "2.tmp");
    const std::string first = ReadDocument(Logs() / names[0]);
    const std::string second = ReadDocument(Logs() / names[1]);
    const std::vector<Record> before = Records(first);
    for (size_t i = 0; i < before.size(); ++i) EXPECT_EQ(before[i]["seq"], std::to_string(i));
    EXPECT_EQ(first.find("<SplitSession id=\"" + before[0]["id"] + "\"") == bytes, bytes == kSplit);
    EXPECT_TRUE(first.ends_with(" />\n</UsageDoc>\n"));

    EXPECT_EQ(second.find("<SplitSession"), kSplit);
    EXPECT_EQ(second.find("<EventRec") == second.find(" />\n") + 4, bytes == kSplit);
    for (const std::string& name : names) fs::remove(Logs() / name);
  }
}

// The limit holds after the closing record too: it is followed by a split, and one more file.
TEST_F(Rollover, AtTheEndRecord) {
  RunHost([](Library& ut) {
    void* session = ut.Open("Acme", "First");
    ut.CloseSession(&session);
    const std::string first = OnlyDocument();
    // What closing adds, but for one more digit in each number.
    const size_t closing = first.size() - first.rfind("<NewGroup");
    session = ut.Open("Acme", "Second");
    FillTo(ut, session, kSplit + 40 - closing);
    EXPECT_EQ(ut.CloseSession(&session), 0);
  });
  const Lines names = Documents();
  ASSERT_EQ(names.size(), 3u);
  EXPECT_TRUE(names[1].ends_with("_0.xml") && names[2].ends_with("_1.xml")) << names[2];
  const std::string first = ReadDocument(Logs() / names[1]);
  const std::string second = ReadDocument(Logs() / names[2]);
  const size_t count = Records(first).size();
  const auto seq = [](size_t n) { return "\" time=\"TIME\" seq=\"" + std::to_string(n) + "\" />\n"; };
  EXPECT_TRUE(Normalised(first).ends_with("<EndSession id=\"ID1" + seq(count - 2) +
                                          "</UsageDoc>\n<SplitSession id=\"ID1" + seq(count - 1) +
                                          "</UsageDoc>\n"));
  EXPECT_EQ(Records(second).size(), 1u);
  EXPECT_TRUE(Normalised(second).ends_with("User=\"ID2" + seq(count))) << second;
}

// Consent and agent are asked for at the close, whatever they were at the start.
TEST_F(Rollover, CloseKeepsOrDeletesAllFiles) {
  fs::create_directories(Logs() / "sub");
  RunHost([](Library& ut) {
    const Path agent = CaseFolder() / "Sendrix2.exe", gone = CaseFolder() / "gone";
    // clang-format off
    const struct { std::string test; std::function<void()> act; const char* optedIn; } rows[] = {
        {"OptedIn", [] {}, "TRUE"}, {"OptedOut", [&] { ut.SetOptIn(0); }, ""},
        {"OptedOutElsewhere", [] { SetValue(Hive::kUser, std::string(kUsage) + "\\MyProduct", "OptIn", "sz:0"); }, ""},
        {"Undecided", [&] { ut.SetOptIn(-1); }, ""}, {"OtherKey", [&] { ut.OptInSet("Other", 0); }, "TRUE"},
        {"OwnKeyBeforeAnother", [&] { ut.SetOptIn(0), ut.Initialize("Next", false, nullptr), ut.SetOptIn(1); }, ""},
        {"AgentGone", [&] { fs::rename(agent, gone); }, ""},
        {"OptedOutPreRelease", [&] { ut.SetSerializationState(0), ut.SetOptIn(0); }, ""},
        {"UndecidedPreRelease", [&] { ut.SetSerializationState(0), ut.SetOptIn(-1); }, "UNKNOWN"}};
    // clang-format on
    for (const auto& [test, act, optedIn] : rows) {
      SCOPED_TRACE(test);
      for (const char* file : {"other.xml", "none", "sub\\kept"}) WriteFile(Logs() / file, "x");
      void* session = ut.Open();
      act();
      EXPECT_EQ(ut.CloseSession(&session), 0);
      EXPECT_EQ(FilesIn(Logs() / "sub"), Lines{"kept"});
      if (*optedIn == '\0') {
        EXPECT_EQ(FilesIn(Logs()), Lines{"sub"});
        if (fs::exists(gone)) fs::rename(gone, agent);
        continue;
      }
      ASSERT_EQ(Documents().size(), 4u);
      const std::vector<Record> records = Records(ReadDocument(Logs() / Documents().back()));
      EXPECT_EQ(records.at(records.size() - 3)["data"], optedIn);
      fs::remove(Logs() / Documents().back());
    }
  });
}

// Without consent, which another process takes back here, a full document is deleted, and its successor
// counts as full from the first. One that somebody reads cannot be deleted, and nothing of it is left in its
// successor.
TEST_F(Rollover, WithoutConsentDeletes) {
  RunHost([](Library& ut) {
    void* session = ut.Open();
    WriteFile(Logs() / "other.xml", "x");
    fs::permissions(Logs() / "other.xml", fs::perms::owner_read);
    SetValue(Hive::kUser, std::string(kUsage) + "\\MyProduct", "OptIn", "sz:0");
    const HANDLE reader = CreateFileW(OpenFile().c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                      nullptr, OPEN_EXISTING, 0, nullptr);
    FillTo(ut, session, kSplit);
    EXPECT_EQ(Records(ReadFile(OpenFile())).size(), 1u);
    CloseHandle(reader);
    for (int i = 0; i < 3; ++i) {
      EXPECT_EQ(FilesIn(Logs()).size(), 1u);
      EXPECT_TRUE(OpenFile().string().ends_with("_0.tmp"));
      EXPECT_EQ(Records(ReadFile(OpenFile())).size(), 1u);
      EXPECT_EQ(ut.LogEvent(session, "a", "b", "c", nullptr, 0), 0);
    }
    EXPECT_EQ(ut.CloseSession(&session), 0);
    EXPECT_EQ(FilesIn(Logs()), Lines());
    EXPECT_NE(ut.Open(), nullptr);  // left open, and left as it is
  });
  EXPECT_TRUE(OpenFile().string().ends_with("_0.tmp"));
  EXPECT_EQ(Records(OnlyDocument()).back()["name"], "Vantra.dll");
}

}  // namespace
}  // namespace vantra::test
