// Opt-in and demographic values: what is stored, what is read, and what the log says of it.
#include <algorithm>
#include <climits>
#include <cstring>

#include "Chance.h"
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

// A call of an export without a session, and what it makes of the settings. Of the registry's values only
// what comes back through the exports.
class Settings {
 public:
  explicit Settings(Library& library) : ut(library) {}

  void Call() {
    ++log.call;
    text = chance.Below(2) == 0 ? "Mine" : chance.Some({"azAZ09_", " /%n\\a:", "aB"});
    placed = Place(text);
    isShort = chance.Below(2) == 0;
    number = chance.One({-2, -1, 0, 1, 2, INT_MIN, INT_MAX});
    (this->*chance.One({&Settings::Initialize, &Settings::GetOptIn, &Settings::SetOptIn,
                        &Settings::GetDemographic, &Settings::SetDemographic, &Settings::SetState}))();
  }

  Log log;

 private:
  [[nodiscard]] bool IsRefused(const Checked& checked, const std::string& message, int line) {
    if (checked.isRefused) log.Debug(message + checked.value, line);
    return checked.isRefused;
  }
  void Expect(int result, int wanted) const { EXPECT_EQ(result, wanted) << "Call " << log.call; }
  [[nodiscard]] Checked UsageKey() const { return Check(isShort ? declared : text, kUsageKey); }
  [[nodiscard]] std::string NameOf(const Checked& key) const {
    return (isShort ? "" : "Sub\\") + Lower(key.value);
  }
  // Names of the registry are the same in letters of both cases.
  [[nodiscard]] static std::string Lower(std::string name) {
    for (char& c : name) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    return name;
  }

  void Initialize() {
    const int result = ut.Initialize(placed, false, nullptr);
    log.Info("UTInitialize", 159);
    const Checked key = Check(text, kUsageKey);
    if (key.isCut) log.Debug("SK_INVALID_STRING: " + key.value, 1068);
    if (!IsRefused(key, "pcUsagekey: ", 167)) declared = key.value;
    Expect(result, key.isRefused ? 1 : 0);
  }
  void GetOptIn() {
    const int result = isShort ? ut.GetOptIn() : ut.OptInGet(placed);
    log.Info(isShort ? "UTGetOptIn" : "UTOptInGet", isShort ? 668 : 696);
    const Checked key = UsageKey();
    if (IsRefused(key, "OptInGet VerifyString pcUsagekey: ", 911)) return Expect(result, -1);
    const auto found = optIns.find(Lower(key.value));
    const int wanted = found == optIns.end() ? -1 : found->second;
    if (key.value == declared) log.Info("OptInGet: " + declared + "value: " + to_string(wanted), 919);
    Expect(result, wanted);
  }
  void SetOptIn() {
    const int result = isShort ? ut.SetOptIn(number) : ut.OptInSet(placed, number);
    log.Info(isShort ? "UTSetOptIn" : "UTOptInSet", isShort ? 682 : 709);
    const Checked key = UsageKey();
    if (number < -1 || number > 1)
      return Expect(result, log.Debug("OptInSet VerifyOptinValue: " + to_string(number), 934));
    if (IsRefused(key, "OptInSet VerifyString pcUsagekey: ", 946)) return Expect(result, 1);
    optIns[Lower(key.value)] = number;
    if (key.value == declared) log.Info("OptInSet: " + declared + "value: " + to_string(number), 956);
    Expect(result, 0);
  }
  void GetDemographic() {
    std::string held(600, '?'), wanted = held;
    size_t size = chance.One<size_t>({0, held.size()});
    const bool isAsked = size != 0;
    const int result = isShort ? ut.GetDemographic(placed, held.data(), &size)
                               : ut.GetNonDefaultDemographic("Sub", placed, held.data(), &size);
    log.Info(isShort ? "UTGetDemographic" : "GetNonDefaultDemographic", isShort ? 721 : 755);
    log.Info("GetDemographicHelper", 965);
    const Checked key = Check(text, kDemographicKey);
    const auto found = demographics.find(NameOf(key));
    bool isRead = false;
    if (!IsRefused(key, "VerifyString pcKey: ", 974)) {
      isRead = !isAsked || found != demographics.end();
      if (!isRead) log.Debug("GetDemographicHelper failed ", 999);
    }
    if (isRead) wanted = isAsked ? found->second : "";
    if (!isRead)
      log.Debug(isShort ? "UTGetDemographic failed " : "GetNonDefaultDemographic failed ",
                isShort ? 727 : 761);
    Expect(result, isRead ? 0 : 1);
    EXPECT_EQ(held.c_str(), wanted) << "Call " << log.call;
    EXPECT_EQ(size, !isAsked ? 0 : isRead ? wanted.size() + 1 : held.size()) << "Call " << log.call;
  }
  void SetDemographic() {
    const Text value = chance.Some({"azAZ09_", " /%n\\a&<"});
    const int result = isShort ? ut.SetDemographic(placed, Place(value))
                               : ut.SetNonDefaultDemographic("Sub", placed, Place(value));
    log.Info(isShort ? "UTSetDemographic" : "SetNonDefaultDemographic", isShort ? 738 : 772);
    log.Info("SetDemographicHelper", 1010);
    const Checked key = Check(text, kDemographicKey);
    Expect(result, key.isRefused ? 1 : 0);
    if (!IsRefused(key, "VerifyString pcKey: ", 1023))
      demographics[NameOf(key)] = Check(value, kOptional128).value;
    else
      log.Debug(isShort ? "UTSetDemographic failed " : "SetNonDefaultDemographic failed ",
                isShort ? 744 : 778);
  }
  void SetState() {
    Expect(ut.SetSerializationState(number), 0);
    log.Info("UTSetSerializationState", 789);
    log.Info("SetSerializationState: " + to_string(number), 798);
  }

  Library& ut;
  Chance chance;
  Text text;  // a key
  const char* placed = nullptr;
  bool isShort = false;  // the export without a usage key or subkey
  int number = 0;
  std::string declared;
  std::map<std::string, int> optIns;
  std::map<std::string, std::string> demographics;
};

TEST_F(HostTest, SettingsOfRandomCalls) {
  SwitchLogOn();
  RunHost([](Library& ut) {
    Settings settings(ut);
    for (int call = 0; call < 5000 && !HasFailure(); ++call) settings.Call();
    EXPECT_EQ(settings.log.Difference(LogLines()), "");
  });
}

}  // namespace
}  // namespace vantra::test
