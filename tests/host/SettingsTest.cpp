// Opt-in and demographic values: what is stored, what is read, and what the log says of it.
#include <algorithm>
#include <cstring>

#include "HostTest.h"

namespace vantra::test {
namespace {

std::string KeyOf(std::string_view subkey) { return std::string(kUsage).append("\\").append(subkey); }

Lines Stored() {
  Lines lines = ListValues(Hive::kUser, kUsage);
  for (std::string& line : lines) line = Normalised(line);
  return lines;
}

TEST_F(HostTest, OptInIsStoredForItsKey) {
  RunHost([](Library& ut) {
    EXPECT_EQ(ut.SetOptIn(1), 1);
    ut.Initialize("Mine", false, nullptr);
    EXPECT_EQ(ut.SetOptIn(2), 1);
    EXPECT_EQ(Stored(), Lines());
    EXPECT_EQ(ut.SetOptIn(1) + ut.OptInSet("Other", 0), 0);
    // A reset takes the product's values along, and is done also when there is nothing left.
    EXPECT_EQ(ut.OptInSet("Gone", 1) + ut.SetNonDefaultDemographic("Gone", "Age", "7") +
                  ut.SetNonDefaultDemographic("Gone\\Demographic", "Age", "7"),
              0);
    EXPECT_EQ(ut.OptInSet("Gone", -1) + ut.OptInSet("Gone", -1), 0);
    EXPECT_EQ(ut.OptInGet("Gone"), -1);
  });
  EXPECT_EQ(Stored(), (Lines{"Gone\\Date=sz:TIME", "Mine\\Date=sz:TIME", "Mine\\OptIn=dword:1",
                             "Other\\Date=sz:TIME", "Other\\OptIn=dword:0"}));
}

TEST_F(HostTest, DateOfTheFirstUseStays) {
  constexpr char kFirst[] = "sz:2001-02-03T04:05:06Z";
  SetValue(Hive::kUser, KeyOf("MyProduct"), "Date", kFirst);
  SetValue(Hive::kUser, KeyOf("Acme"), "Date", "sz:");
  SetValue(Hive::kUser, kUsage, "obfuscate", "sz:0");
  for (const bool isDated : {true, false}) {
    RunHost([](Library& ut) {
      void* session = ut.Open();
      ut.CloseSession(&session);
      session = ut.Open("Fresh", "Draw");
    });
    // An empty date stays too, and is not recorded.
    EXPECT_EQ(GetValue(Hive::kUser, KeyOf("MyProduct"), "Date"), isDated ? kFirst : "sz:");
    EXPECT_EQ(GetValue(Hive::kUser, KeyOf("Acme"), "Date"), "sz:");
    EXPECT_EQ(Normalised(GetValue(Hive::kUser, KeyOf("Fresh"), "Date")), "sz:TIME");
    const std::vector<Record> records = Records(ReadDocument(Logs() / Documents().at(0)));
    EXPECT_EQ(records.at(records.size() - 2)["data"], isDated ? kFirst + 3 : "TRUE");
    SetValue(Hive::kUser, KeyOf("MyProduct"), "Date", "sz:");
    std::filesystem::remove(Logs() / Documents().at(0));
  }
}

TEST_F(HostTest, DemographicsAreStoredInTheirPlace) {
  RunHost([](Library& ut) {
    const std::string letters(200, 'x'), split = letters.substr(0, 127) + "\xC3\xA9", tooLong(300, 'k');
    EXPECT_EQ(ut.SetDemographic("a\\b", nullptr) + ut.SetDemographic("Split", split.c_str()) +
                  ut.SetDemographic(letters.c_str(), letters.c_str()) +
                  ut.SetNonDefaultDemographic(nullptr, "Age", "4") +
                  ut.SetNonDefaultDemographic("", "Role", "") +
                  ut.SetNonDefaultDemographic("Mine", "Age", "5\xE2\x82\xAC") +
                  ut.SetNonDefaultDemographic("Outer\\Inner", "Age", "6"),
              0);
    char buffer[8];
    size_t size = sizeof buffer;
    EXPECT_EQ(ut.GetNonDefaultDemographic("Mine", "Age", buffer, &size), 0);
    EXPECT_STREQ(buffer, "5\xE2\x82\xAC");
    EXPECT_EQ(ut.GetDemographic("Age", nullptr, &size) + ut.GetDemographic("Age", buffer, nullptr), 2);
    // The registry takes no key of that length.
    EXPECT_EQ(ut.SetNonDefaultDemographic(tooLong.c_str(), "Age", "7"), 1);
  });
  const std::string x128(128, 'x');
  EXPECT_EQ(Stored(),
            (Lines{"Demographic\\Age=sz:4", "Demographic\\Role=sz:NOVALUE",
                   "Demographic\\Split=sz:" + x128.substr(1) + "\xEF\xBF\xBD", "Demographic\\a\\b=sz:NOVALUE",
                   "Demographic\\" + x128.substr(64) + "=sz:" + x128,
                   "Mine\\Demographic\\Age=sz:5\xE2\x82\xAC", "Outer\\Inner\\Demographic\\Age=sz:6"}));
}

// A buffer gets what fits, with its end; not a byte beyond its size is written.
TEST_F(HostTest, DemographicsFillTheBuffer) {
  RunHost([](Library& ut) {
    const std::string longest = "sz:" + std::string(511, 'x'), tooLong = longest + "x";
    // clang-format off
    const struct { const char* stored; size_t size; const char* wanted; } rows[] = {
        {"sz:abc", 0, ""}, {"sz:abc", 1, ""}, {"sz:abc", 3, "ab"}, {"sz:abc", 4, "abc"}, {"sz:abc", 9, "abc"},
        {"sz:", 9, ""}, {"dword:4000000000", 20, "4000000000"}, {"expand:%x%", 9, "%x%"},
        {longest.c_str(), 600, longest.c_str() + 3}, {tooLong.c_str(), 600, nullptr}};
    // clang-format on
    for (const auto& [stored, given, wanted] : rows) {
      SCOPED_TRACE(testing::Message() << stored << " " << given);
      SetValue(Hive::kUser, KeyOf("Demographic"), "Key", stored);
      std::string buffer(700, '#'), filled = buffer;
      size_t size = given;
      EXPECT_EQ(ut.GetDemographic("Key", buffer.data(), &size), wanted ? 0 : 1);
      if (wanted) filled.replace(0, std::strlen(wanted) + 1, std::string(wanted) + '\0');
      EXPECT_EQ(buffer, filled);
      EXPECT_EQ(size, wanted && given != 0 ? std::strlen(wanted) + 1 : given);
    }
  });
}

}  // namespace
}  // namespace vantra::test
