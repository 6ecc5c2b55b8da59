// Opt-in and demographic values: what is stored, what is read, and what the log says of it.
#include <algorithm>

#include "Document.h"
#include "Host.h"

namespace vantra::test {
namespace {

using Lines = std::vector<std::string>;

TEST_F(HostTest, OptInIsStoredForItsKey) {
  SwitchLogOn();
  RunHost([](Library& ut) {
    // No key yet.
    EXPECT_EQ(ut.GetOptIn(), -1);
    EXPECT_EQ(ut.SetOptIn(1), 1);
    EXPECT_EQ(ut.Initialize("Mine", false, nullptr), 0);
    EXPECT_EQ(ut.GetOptIn(), -1);
    for (const int refused : {2, -2, INT_MAX, INT_MIN}) EXPECT_EQ(ut.SetOptIn(refused), 1);
    EXPECT_EQ(ut.OptInSet(nullptr, 5), 1);
    EXPECT_EQ(ut.SetOptIn(1), 0);
    EXPECT_EQ(ut.GetOptIn(), 1);
    EXPECT_EQ(ut.OptInSet("Other", 0), 0);
    EXPECT_EQ(ut.OptInGet("Other"), 0);
    EXPECT_EQ(ut.OptInGet("Third"), -1);
    EXPECT_EQ(ut.GetOptIn(), 1);
    // A reset takes the product's values along, and is done also when there is nothing left to reset.
    EXPECT_EQ(ut.OptInSet("Forgotten", 1), 0);
    EXPECT_EQ(ut.SetNonDefaultDemographic("Forgotten", "Age", "7"), 0);
    EXPECT_EQ(ut.OptInSet("Forgotten", -1), 0);
    EXPECT_EQ(ut.OptInSet("Forgotten", -1), 0);
    EXPECT_EQ(ut.OptInGet("Forgotten"), -1);
    // The registry takes no key of that name.
    EXPECT_EQ(ut.SetNonDefaultDemographic(std::string(300, 'k').c_str(), "Age", "7"), 1);
  });
  Lines stored = ListValues(Hive::kUser, kUsage);
  for (std::string& line : stored) line = Normalised(line);
  EXPECT_EQ(stored, (Lines{"Forgotten\\Date=sz:TIME", "Mine\\Date=sz:TIME", "Mine\\OptIn=dword:1",
                           "Other\\Date=sz:TIME", "Other\\OptIn=dword:0", "Third\\"}));
  Lines log = LogLines();
  std::erase_if(log, [](const std::string& line) {
    return line.find(" UTOptIn") != std::string::npos || line.find("Forgotten") != std::string::npos ||
           line.find("Demographic") != std::string::npos;
  });
  const std::string at = " @WrapperUTLogData:";
  EXPECT_EQ(log, (Lines{"INFO UTGetOptIn" + at + "668",
                        "DEBUG OptInGet VerifyString pcUsagekey: SK_STR_EMPTY" + at + "911",
                        "INFO UTSetOptIn" + at + "682",
                        "DEBUG OptInSet VerifyString pcUsagekey: SK_STR_EMPTY" + at + "946",
                        "INFO UTInitialize" + at + "159",
                        "INFO UTGetOptIn" + at + "668",
                        "INFO OptInGet: Minevalue: -1" + at + "919",
                        "INFO UTSetOptIn" + at + "682",
                        "DEBUG OptInSet VerifyOptinValue: 2" + at + "934",
                        "INFO UTSetOptIn" + at + "682",
                        "DEBUG OptInSet VerifyOptinValue: -2" + at + "934",
                        "INFO UTSetOptIn" + at + "682",
                        "DEBUG OptInSet VerifyOptinValue: 2147483647" + at + "934",
                        "INFO UTSetOptIn" + at + "682",
                        "DEBUG OptInSet VerifyOptinValue: -2147483648" + at + "934",
                        "DEBUG OptInSet VerifyOptinValue: 5" + at + "934",
                        "INFO UTSetOptIn" + at + "682",
                        "INFO OptInSet: Minevalue: 1" + at + "956",
                        "INFO UTGetOptIn" + at + "668",
                        "INFO OptInGet: Minevalue: 1" + at + "919",
                        "INFO UTGetOptIn" + at + "668",
                        "INFO OptInGet: Minevalue: 1" + at + "919"}));
}

TEST_F(HostTest, DateOfTheFirstChoiceStays) {
  constexpr std::string_view kFirst = "2001-02-03T04:05:06Z";
  const auto usage = [](std::string_view key) { return std::string(kUsage) + "\\" + std::string(key); };
  SetValue(Hive::kUser, usage("MyProduct"), "Date", "sz:" + std::string(kFirst));
  SetValue(Hive::kUser, usage("Empty"), "Date", "sz:");
  SetValue(Hive::kUser, usage("Acme"), "Date", "dword:5");
  SetValue(Hive::kUser, kUsage, "obfuscate", "sz:0");
  RunHost([](Library& ut) {
    void* session = ut.Open();
    ut.CloseSession(&session);
    ut.Initialize("Empty", false, nullptr);
    ut.SetOptIn(1);
    EXPECT_EQ(ut.StartSession(&session, "Family", "Draw", "3.1", nullptr, nullptr), 0);
    ut.CloseSession(&session);
  });
  EXPECT_EQ(GetValue(Hive::kUser, usage("MyProduct"), "Date"), "sz:" + std::string(kFirst));
  EXPECT_EQ(GetValue(Hive::kUser, usage("Empty"), "Date"), "sz:");
  EXPECT_EQ(GetValue(Hive::kUser, usage("Acme"), "Date"), "dword:5");
  EXPECT_EQ(Normalised(GetValue(Hive::kUser, usage("Family"), "Date")), "sz:TIME");
  const Lines names = Documents();
  ASSERT_EQ(names.size(), 2u);
  const std::vector<Record> dated = Records(ReadDocument(Logs() / names[0]));
  const std::vector<Record> undated = Records(ReadDocument(Logs() / names[1]));
  EXPECT_EQ(dated[dated.size() - 2]["data"], kFirst);
  EXPECT_EQ(undated[undated.size() - 2]["name"], "OptedIn");
}

TEST_F(HostTest, DemographicsAreStoredInTheirPlace) {
  SwitchLogOn();
  RunHost([](Library& ut) {
    const std::string letters(200, 'x');
    const std::string split = letters.substr(0, 127) + "\xC3\xA9";
    EXPECT_EQ(ut.SetDemographic("Age", "4\xE2\x82\xAC"), 0);
    EXPECT_EQ(ut.SetDemographic("a\\b", nullptr), 0);
    EXPECT_EQ(ut.SetDemographic(letters.substr(0, 70).c_str(), ""), 0);
    EXPECT_EQ(ut.SetDemographic("Long", letters.c_str()), 0);
    EXPECT_EQ(ut.SetDemographic("Split", split.c_str()), 0);
    for (const char* common : {static_cast<const char*>(nullptr), ""}) {
      EXPECT_EQ(ut.SetNonDefaultDemographic(common, "Common", "yes"), 0);
    }
    EXPECT_EQ(ut.SetNonDefaultDemographic("Mine", "Age", "5"), 0);
    EXPECT_EQ(ut.SetNonDefaultDemographic("Outer\\Inner", "Age", "6"), 0);
    char buffer[8];
    size_t size = sizeof buffer;
    EXPECT_EQ(ut.GetNonDefaultDemographic("Mine", "Age", buffer, &size), 0);
    EXPECT_STREQ(buffer, "5");

    for (const char* key : {static_cast<const char*>(nullptr), ""}) {
      EXPECT_EQ(ut.SetDemographic(key, "v"), 1);
      EXPECT_EQ(ut.GetDemographic(key, buffer, &size), 1);
    }
    EXPECT_EQ(ut.GetNonDefaultDemographic("Mine", "None", buffer, &size), 1);
    EXPECT_EQ(ut.SetNonDefaultDemographic(std::string(300, 'k').c_str(), "Age", "7"), 1);
  });
  const std::string x128(128, 'x');
  EXPECT_EQ(
      ListValues(Hive::kUser, kUsage),
      (Lines{"Demographic\\Age=sz:4\xE2\x82\xAC", "Demographic\\Common=sz:yes",
             "Demographic\\Long=sz:" + x128, "Demographic\\Split=sz:" + x128.substr(0, 127) + "\xEF\xBF\xBD",
             "Demographic\\a\\b=sz:NOVALUE", "Demographic\\" + x128.substr(0, 64) + "=sz:NOVALUE",
             "Mine\\Demographic\\Age=sz:5", "Outer\\Inner\\Demographic\\Age=sz:6"}));
  Lines log = LogLines();
  std::erase_if(log, [](const std::string& line) { return line.starts_with("INFO"); });
  // Lines of the wrappers' own messages but one are nobody's contract.
  for (std::string& line : log) {
    if (line.find("Demographic failed ") != std::string::npos && !line.ends_with(":727"))
      line.resize(line.find(" @"));
  }
  const std::string at = " @WrapperUTLogData:";
  EXPECT_EQ(
      log,
      (Lines{"DEBUG VerifyString pcKey: SK_STR_NULL" + at + "1023", "DEBUG UTSetDemographic failed ",
             "DEBUG VerifyString pcKey: SK_STR_NULL" + at + "974",
             "DEBUG UTGetDemographic failed " + at + "727",
             "DEBUG VerifyString pcKey: SK_STR_EMPTY" + at + "1023", "DEBUG UTSetDemographic failed ",
             "DEBUG VerifyString pcKey: SK_STR_EMPTY" + at + "974",
             "DEBUG UTGetDemographic failed " + at + "727", "DEBUG GetDemographicHelper failed " + at + "999",
             "DEBUG GetNonDefaultDemographic failed ", "DEBUG SetDemographicHelper failed " + at + "1045",
             "DEBUG SetNonDefaultDemographic failed "}));
  const Lines traces = LogLines();
  for (const char* trace :
       {"UTGetDemographic @WrapperUTLogData:721", "GetDemographicHelper @WrapperUTLogData:965",
        "SetDemographicHelper @WrapperUTLogData:1010"}) {
    EXPECT_NE(std::ranges::count(traces, std::string("INFO ") + trace), 0) << trace;
  }
}

// A buffer gets what fits, with its end; not a byte beyond its size is written.
TEST_F(HostTest, DemographicsFillTheBuffer) {
  struct Row {
    const char* stored;
    size_t size;
    const char* wanted;  // nullptr for a failure
  };
  RunHost([](Library& ut) {
    const std::string longest = "sz:" + std::string(511, 'x');
    const std::string tooLong = longest + "x";
    for (const Row& row :
         {Row{"sz:abc", 0, ""}, Row{"sz:abc", 1, ""}, Row{"sz:abc", 3, "ab"}, Row{"sz:abc", 4, "abc"},
          Row{"sz:abc", 9, "abc"}, Row{"sz:", 9, ""}, Row{"dword:4000000000", 20, "4000000000"},
          Row{"expand:%x%", 9, "%x%"}, Row{longest.c_str(), 600, longest.c_str() + 3},
          Row{tooLong.c_str(), 600, nullptr}, Row{nullptr, 9, nullptr}, Row{nullptr, 0, ""}}) {
      SCOPED_TRACE(testing::Message() << (row.stored ? row.stored : "nothing") << " " << row.size);
      const char* const key = row.stored == nullptr ? "None" : "Key";
      if (row.stored) SetValue(Hive::kUser, std::string(kUsage) + "\\Demographic", key, row.stored);
      char buffer[700];
      std::fill_n(buffer, sizeof buffer, '#');
      size_t size = row.size;
      EXPECT_EQ(ut.GetDemographic(key, buffer, &size), row.wanted == nullptr ? 1 : 0);
      const std::string wanted = row.wanted == nullptr ? "" : std::string(row.wanted) + '\0';
      EXPECT_EQ(std::string(buffer, wanted.size()), wanted);
      EXPECT_EQ(std::count(buffer + wanted.size(), buffer + sizeof buffer, '#'),
                static_cast<ptrdiff_t>(sizeof buffer - wanted.size()));
      EXPECT_EQ(size, row.wanted == nullptr || row.size == 0 ? row.size : wanted.size());
    }
    char buffer[4];
    size_t size = 4;
    EXPECT_EQ(ut.GetDemographic("Key", nullptr, &size), 1);
    EXPECT_EQ(ut.GetDemographic("Key", buffer, nullptr), 1);
  });
}

}  // namespace
}  // namespace vantra::test
