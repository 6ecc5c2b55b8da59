// The classes of vantra.hpp, by what the exports then say.
#include "HostTest.h"
#include "vantra/load.hpp"

namespace vantra::test {
namespace {

TEST_F(HostTest, Header) {
  std::filesystem::create_directory(CaseFolder() / "Agent");
  std::filesystem::rename(CaseFolder() / "Sendrix2.exe", CaseFolder() / "Agent" / "Sendrix2.exe");
  std::filesystem::copy_file(CaseFolder() / "Vantra.dll", AppData() / "Vantra.2.dll");
  std::string euros;
  for (int i = 0; i < 511; ++i) euros += "\xE2\x82\xAC";
  SetValue(std::string(kUsage) + "\\Sub\\Demographic", "Long", "sz:" + euros);
  RunHost([](stage::Library& ut) {
    const vantra::Library library = Load();
    std::filesystem::current_path(AppData());
    EXPECT_TRUE(library.IsPresent() && !Load(L"Vantra.2.dll").IsPresent());
    EXPECT_FALSE(library.Initialize("a\\b", CrashHandling::kOff));
    EXPECT_TRUE(library.Initialize("Mine", CrashHandling::kOff, (CaseFolder() / "Agent").string()));
    EXPECT_TRUE(library.Initialize("Mine", CrashHandling::kOff));  // keeps the agent's folder
    EXPECT_TRUE(library.SetOptIn(OptIn::kIn) && library.SetOptIn(OptIn::kOut, "Other"));
    EXPECT_TRUE(library.GetOptIn() == OptIn::kIn && library.GetOptIn("Other") == OptIn::kOut);
    EXPECT_EQ(ut.GetOptIn() * 10 + ut.OptInGet("Other"), 10);
    EXPECT_TRUE(library.SetDemographic("Age", 7, "Mine") && library.SetDemographic("Role", "x"));
    EXPECT_EQ(library.GetDemographic("Long", "Sub")->size(), 1533u);
    EXPECT_TRUE(library.GetDemographic("Role") == "x" && !library.GetDemographic("Age"));
    vantra::Session session = library.StartSession({.family = "Acme", .name = "Draw", .version = "3.1"});
    EXPECT_TRUE(session.LogEvent("a", "b", "without", "") && session.LogEvent("a", "b", "with", "x"));
    EXPECT_TRUE(session.Close() && !session.Close() && !session.Add("a", "b"));
  });
  EXPECT_EQ(GetValue(std::string(kUsage) + "\\Mine\\Demographic", "Age"), "sz:7");
  for (const Record& record : Records(OnlyDocument())) {
    const size_t wanted = record["name"] == "with"      ? 32
                          : record["name"] == "without" ? 1
                                                        : record["doc"].size();
    EXPECT_EQ(record["doc"].size(), wanted);
  }
}

}  // namespace
}  // namespace vantra::test
