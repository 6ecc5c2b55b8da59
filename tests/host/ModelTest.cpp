// What the exports make of their arguments: the rules once more, told plainly and for nothing but this,
// beside random calls with texts at the ends of pages. VANTRA_SEED=N in the environment makes other calls.
// clang-format off
#include <windows.h>
#include <bcrypt.h>
// clang-format on

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <iostream>
#include <map>
#include <optional>
#include <random>

#include "HostTest.h"
#include "PageEnd.h"

namespace vantra::test {
namespace {

using std::to_string;
using Text = std::optional<std::string>;  // none for NULL

const std::string kUser = "0a1b2c3d-4e5f-6071-8293-a4b5c6d7e8f9", kDate = "2011-03-04T05:06:07Z";
const std::string kPrologue = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n\n<UsageDoc version=\"0.5.4\">\n";

struct Rule {
  size_t limit;
  bool isIdentifier = false, mayBeMissing = false, mayHoldBackslash = true;
};
constexpr Rule kIdentifier{128, true}, kUsageKey{64, false, false, false}, kDemographicKey{64};
constexpr Rule kOptional128{128, false, true}, kOptional512{512, false, true}, kNeeded512{512};

bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

struct Checked {
  std::string value;
  bool isRefused = false, isCut = false;
};

Checked Check(const Text& text, const Rule& rule) {
  if (!text || text->empty()) {
    if (rule.mayBeMissing) return {"NOVALUE"};
    return {text ? "SK_STR_EMPTY" : "SK_STR_NULL", true};
  }
  if (!rule.mayHoldBackslash && text->find('\\') != text->npos) return {*text, true};
  const std::string whole = (rule.isIdentifier && !IsLetter(text->front()) ? "SK_" : "") + *text;
  std::string value = whole.substr(0, rule.limit);
  for (char& c : value) {
    if (rule.isIdentifier && !IsLetter(c) && !(c >= '0' && c <= '9')) c = '_';
  }
  return {value, false, value.size() < whole.size()};
}

std::string Attribute(const std::string& name, const std::string& value) {
  static const std::map<char, std::string> kReferences = {{'&', "&#38;"}, {'<', "&#60;"},  {'>', "&#62;"},
                                                          {'"', "&#34;"}, {'\'', "&#39;"}, {'\\', "&#92;"}};
  std::string escaped;
  for (const char c : value) escaped += kReferences.contains(c) ? kReferences.at(c) : std::string(1, c);
  return " " + name + "=\"" + (value.empty() ? "NOVALUE" : escaped) + "\"";
}

// The digest by another way than the library's.
Text DocumentId(const Text& text, uint32_t length) {
  if (!text) return "0";
  if (length > 0x7fffffff) return {};
  std::string salted = text->substr(0, std::min<size_t>(length, text->find('\0'))) + kUser, digits;
  BCRYPT_ALG_HANDLE provider = nullptr;
  unsigned char hash[16]{};
  BCryptOpenAlgorithmProvider(&provider, BCRYPT_MD5_ALGORITHM, nullptr, 0);
  BCryptHash(provider, nullptr, 0, reinterpret_cast<UCHAR*>(salted.data()), static_cast<ULONG>(salted.size()),
             hash, sizeof hash);
  BCryptCloseAlgorithmProvider(provider, 0);
  for (const int byte : hash) digits.append({"0123456789abcdef"[byte / 16], "0123456789abcdef"[byte % 16]});
  return digits;
}

// What the log must hold, each line with the number of its call.
struct Log {
  int call = 0;
  std::vector<std::pair<std::string, int>> lines;

  // Without a line number when any will do.
  void Add(const std::string& level, const std::string& message, int line = 0) {
    lines.emplace_back(level + " " + message + " @WrapperUTLogData:" + (line ? to_string(line) : ""), call);
  }
  void Info(const std::string& message, int line = 0) { Add("INFO", message, line); }
  int Debug(const std::string& message, int line = 0) { return Add("DEBUG", message, line), 1; }

  void Compare() const {
    Lines written = LogLines();
    std::erase_if(written, [](auto& line) { return line.find(" @WrapperUTLogData:") == line.npos; });
    written.resize(std::max(written.size(), lines.size()));
    for (size_t i = 0; i < written.size(); ++i) {
      const auto& [wanted, number] = i < lines.size() ? lines[i] : std::pair("nothing", call);
      ASSERT_TRUE(wanted.ends_with(':') ? written[i].starts_with(wanted) : written[i] == wanted)
          << "Call " << number << " logs " << written[i] << "\ninstead of " << wanted;
    }
  }
};

// A session, and what its documents must hold.
struct Session {
  Log& log;
  void* handle = nullptr;
  std::string files, id, product, start;
  int seq = 0, groups = 0, documents = 1;
  size_t bytes = 0;
  struct Wanted {
    std::string beforeTime, afterTime;
    int call;
  };
  std::vector<Wanted> records;

  void Append(const std::string& before, const std::string& after, const std::string& end = "") {
    records.push_back(
        {before + " time=\"", "\"" + after + " seq=\"" + to_string(seq++) + "\" />\n" + end, log.call});
    bytes += records.back().beforeTime.size() + kDate.size() + records.back().afterTime.size();
  }
  void Write(const std::string& before, const std::string& after, const std::string& end = "") {
    Append(before, after, end);
    if (bytes < 102'400) return;
    Append("<SplitSession id=\"" + id + "\"", "", "</UsageDoc>\n");
    bytes = 0, ++documents;
    Append(kPrologue + "<ResumeSession id=\"" + id + "\"" + product + " SessionStartTime=\"" + start +
               "\" User=\"" + kUser + "\"",
           "");
  }
  int Group(const std::string& category, const std::string& subcategory, const std::string& name,
            const std::string& doc) {
    Write("<NewGroup" + Attribute("category", category) + Attribute("subcategory", subcategory) +
              Attribute("name", name),
          Attribute("group", to_string(++groups)) + Attribute("doc", doc));
    return groups;
  }
  void Data(int group, const std::string& name, const std::string& value) {
    Write("<DataRec",
          Attribute("group", to_string(group)) + Attribute("name", name) + Attribute("data", value));
  }
  void Error(const std::string& type, const std::string& value) {
    const int group = Group("Skylamp", "", "ValidationErrors", "0");
    Data(group, "ErrorType", type), Data(group, "Value", value);
  }
  // Puts what the rule makes of the text in its place; false when it refuses.
  bool Accepts(Text& text, const Rule& rule, const std::string& name = "", int line = 0) {
    const Checked checked = Check(text, rule);
    if (text && (checked.isCut || checked.isRefused)) Error("SK_INVALID_STRING", *text);
    if (checked.isRefused) log.Debug("VerifyString " + name + ": " + checked.value, line);
    text = checked.value;
    return !checked.isRefused;
  }

  // The calls.
  int AddToSession(Text key, Text value) {
    log.Debug("UTAddToSession has valid session", 363);
    if (!Accepts(key, kIdentifier, "pcKey", 376) || !Accepts(value, kOptional512)) return 1;
    return Data(1, *key, *value), 0;
  }
  int LogEvent(Text category, Text subcategory, Text name, const Text& doc) {
    log.Debug("UTLogEvent has valid session", 414);
    if (!doc) return log.Debug("VerifyDocIdBuffer: ", 419);
    for (Text* text : {&category, &subcategory, &name}) Accepts(*text, kOptional128);
    Write("<EventRec" + Attribute("doc", *doc) + Attribute("category", *category) +
              Attribute("subcategory", *subcategory) + Attribute("name", *name),
          "");
    return 0;
  }
  int NewDataGroup(Text category, Text subcategory, Text name, const Text& doc, int& group) {
    log.Debug("UTNewDataGroup has valid session");
    if (!doc) return log.Debug("VerifyDocIdBuffer: ");
    if (!Accepts(category, kIdentifier, "pcCategory") || !Accepts(subcategory, kOptional128) ||
        !Accepts(name, kIdentifier, "pcGroupName"))
      return 1;
    return group = Group(*category, *subcategory, *name, *doc), 0;
  }
  int AddToGroup(int group, Text key, Text value) {
    log.Debug("UTAddToGroup has valid session", 588);
    if (!Accepts(key, kIdentifier, "pcKey") || !Accepts(value, kOptional512)) return 1;
    if (group >= 0 && group <= groups) return Data(group, *key, *value), 0;
    log.Debug("AddToGroup VerifyGroupId: " + to_string(group), 889);
    Error("SK_INVALID_GROUPID", to_string(Group("Skylamp", "", "ValidationErrors", "0")));
    return 1;
  }

  [[nodiscard]] Path File(const std::string& end) const { return Logs() / Wide(files + id + "_" + end); }

  // Of the header blocks, which have tests of their own, only the product's texts are looked at.
  void Open(const Text* texts) {
    for (const std::string& name : Documents()) {
      if (name.starts_with(files)) id = name.substr(files.size(), kUser.size());
    }
    const std::string document = ReadFile(File("0.tmp"));
    const std::vector<Record> header = Records(document);
    start = header.at(0)["time"];
    Append(kPrologue + "<StartSession id=\"" + id + "\"", "");
    Group("Skylamp", "", "Session", "0");
    for (const std::string entry : {"Family", "Name", "Version", "Build", "Language"}) {
      Data(1, "Product" + entry, **texts);
      product += " Product" + entry + "=\"" + **texts++ + "\"";
    }
    records.push_back({document.substr(bytes), "", log.call});
    bytes = document.size(), seq = static_cast<int>(header.size());
    groups = static_cast<int>(std::ranges::count(header, "NewGroup", &Record::element));
  }

  void Close(Library& ut) {
    ++log.call;
    ASSERT_TRUE(ut.CloseSession(&handle) == 0 && handle == nullptr);
    log.Info("UTCloseSession");
    log.Debug("UTCloseSession has valid session", 631);
    const int group = Group("Skylamp", "", "OptInInfo", "0");
    Data(group, "Key", "MyProduct"), Data(group, "OptedIn", "TRUE"), Data(group, "Date", kDate);
    log.Debug("UTCloseSession Before EndSession: ", 638);
    Write("<EndSession id=\"" + id + "\"", "", "</UsageDoc>\n");
    log.Debug("UTCloseSession Success: ", 656);

    std::string written;
    for (int i = 0; i <= documents; ++i) written += ReadFile(File(to_string(i) + ".xml"));
    std::string_view rest = written;
    for (const auto& [before, after, call] : records) {
      const size_t time = after.empty() ? 0 : kDate.size();
      const std::string_view record = rest.substr(0, before.size() + time + after.size());
      ASSERT_TRUE(record.starts_with(before) && record.ends_with(after) &&
                  Normalised(record.substr(before.size(), time)) == (time ? "TIME" : ""))
          << "Call " << call << " writes\n"
          << record << "\ninstead of\n"
          << before << "TIME" << after;
      rest.remove_prefix(record.size());
    }
    EXPECT_EQ(rest, "");
  }
};

class Chance {
 public:
  Chance() {
    const char* const seed = std::getenv("VANTRA_SEED");
    random_.seed(seed ? static_cast<uint32_t>(std::stoul(seed)) : 1);
    std::cout << "VANTRA_SEED=" << (seed ? seed : "1") << std::endl;
  }

  size_t Below(size_t count) { return random_() % count; }
  template <class T>
  T One(std::initializer_list<T> values) {
    return values.begin()[Below(values.size())];
  }
  // At times missing, often about as long as a limit; of any bytes when there is an empty alphabet.
  Text Some(std::initializer_list<std::string_view> alphabets) {
    if (Below(16) == 0) return {};
    std::string text(One({size_t{0}, Below(6), Below(40), 62 + Below(5), 123 + Below(9), 509 + Below(6)}),
                     'x');
    const std::string_view alphabet = One(alphabets);
    const size_t rare = One<size_t>({1, 20, 200});
    for (char& c : text) {
      if (Below(rare) != 0) continue;
      c = alphabet.empty() ? static_cast<char>(14 + Below(242)) : alphabet[Below(alphabet.size())];
    }
    return text;
  }
  Text Any() { return Some({"", "azAZ09_", "&<>\"'\\", "@[`{/: -\t\n", "\\1a%sn"}); }

 private:
  std::mt19937 random_;
};

const char* Place(const Text& text) { return text ? AtPageEnd({text->c_str(), text->size() + 1}) : nullptr; }

class Model : public HostTest {
 protected:
  Model() {
    const std::string product = std::string(kUsage) + "\\MyProduct";
    SetValue(Hive::kUser, kUsage, "GUID", "sz:" + kUser);
    SetValue(Hive::kUser, kUsage, "obfuscate", "sz:0");
    SetValue(Hive::kUser, kUsage, "send", "sz:0");
    SetValue(Hive::kUser, product, "Date", "sz:" + kDate);
    SetValue(Hive::kUser, product, "OptIn", "dword:1");
    SwitchLogOn();
  }
};

// Calls with random texts until a session starts.
void Start(Library& ut, Session& s, Chance& chance) {
  static int count = 0;
  static constexpr const char* kNames[] = {"Family", "Name", "version", "build", "language"};
  static constexpr int kLines[] = {207, 216, 225};
  const std::string name = "S" + to_string(++count);
  s.files = "ulog_Acme_" + name + "_" + kUser + "_";
  for (bool isRefused = true; isRefused;) {
    ++s.log.call;
    // Names of files do not hold everything.
    Text texts[] = {chance.One<Text>({Text(), "", "Acme", "Acme"}),
                    chance.One<Text>({Text(), "", name, name}), chance.Any(), chance.Any(), chance.Any()};
    const char* placed[5];
    std::ranges::transform(texts, placed, Place);
    s.handle = &s;
    const int result = ut.StartSession(&s.handle, placed[0], placed[1], placed[2], placed[3], placed[4]);
    s.log.Info("UTStartSession");
    isRefused = false;
    for (size_t i = 0; i < 5 && !isRefused; ++i) {
      const Checked checked = Check(texts[i], i < 3 ? kNeeded512 : kOptional512);
      isRefused = checked.isRefused;
      const std::string message = std::string("VerifyString pcApp") + kNames[i] + ": ";
      if (isRefused) s.log.Debug(message + checked.value, kLines[i]);
      if (checked.isCut) s.log.Debug("SK_INVALID_STRING: " + checked.value);
      texts[i] = checked.value;
    }
    ASSERT_TRUE(result == (isRefused ? 1 : 0) && (s.handle == nullptr) == isRefused) << "Call " << s.log.call;
    if (isRefused) continue;
    s.log.Info("OptInGet: MyProductvalue: 1", 919);
    s.log.Debug("UTStartSession Success: ", 331);
    s.Open(texts);
  }
}

// Calls with the session, or with the other handle, which is none.
void Call(Library& ut, Session& s, void* other, Chance& chance) {
  const bool isOpen = chance.Below(30) != 0;
  void* const handle = isOpen ? s.handle : other;
  const Text a = chance.Any(), b = chance.Any(), c = chance.Any();
  const char *const placedA = Place(a), *const placedB = Place(b), *const placedC = Place(c);
  // A document is named by a text with its end, or by bytes alone.
  const Text name = chance.Some({"", std::string_view("ab\0", 3)});
  const bool hasEnd = chance.Below(2) == 0;
  const char* const placedName = hasEnd || !name ? Place(name) : AtPageEnd(*name);
  const size_t size = name ? name->size() : 0;
  const auto length = static_cast<uint32_t>(
      chance.Below(8) == 0 ? chance.One({hasEnd ? 0x7fffffffU : 0x80000000U, 0x80000000U, UINT32_MAX})
                           : chance.Below(size + (hasEnd ? 9 : 1)));
  const Text doc = DocumentId(name, length);
  const int number = chance.One({1, s.groups, s.groups + 1, -1, INT_MIN, static_cast<int>(chance.Below(40))});
  uint32_t group = 7;
  int wantedGroup = 7, result = 0, wanted = 1;
  switch (chance.Below(4)) {
    case 0:
      s.log.Info("UTAddToSession");
      result = ut.AddToSession(handle, placedA, placedB);
      if (isOpen) wanted = s.AddToSession(a, b);
      break;
    case 1:
      s.log.Info("UTLogEvent");
      result = ut.LogEvent(handle, placedA, placedB, placedC, placedName, length);
      if (isOpen) wanted = s.LogEvent(a, b, c, doc);
      break;
    case 2:
      s.log.Info("UTNewDataGroup");
      result = ut.NewDataGroup(handle, placedA, placedB, placedC, &group, placedName, length);
      if (isOpen) wanted = s.NewDataGroup(a, b, c, doc, wantedGroup);
      break;
    default:
      s.log.Info("UTAddToGroup");
      result = ut.AddToGroup(handle, static_cast<uint32_t>(number), placedA, placedB);
      if (isOpen) wanted = s.AddToGroup(number, a, b);
  }
  ASSERT_TRUE(result == wanted && group == static_cast<uint32_t>(wantedGroup)) << "Call " << s.log.call;
}

TEST_F(Model, Sessions) {
  RunHost([](Library& ut) {
    Chance chance;
    Log log;
    ut.Initialize("MyProduct", false, nullptr);
    log.Info("UTInitialize", 159);
    std::unique_ptr<Session> sessions[2];
    void* closed = nullptr;
    for (int round = 0; round < 12 && !HasFailure(); ++round) {
      std::unique_ptr<Session>& next = sessions[round % 2];
      if (next) closed = next->handle, next->Close(ut);
      next.reset(new Session{.log = log});
      Start(ut, *next, chance);
      for (size_t calls = chance.Below(800); calls > 0 && !HasFailure(); --calls) {
        ++log.call;
        void* other = chance.One<void*>({nullptr, &ut, reinterpret_cast<void*>(-1), closed});
        if (std::ranges::any_of(sessions, [&](auto& s) { return s && s->handle == other; })) other = nullptr;
        Call(ut, *sessions[round == 0 ? 0 : chance.Below(2)], other, chance);
      }
    }
    for (const auto& session : sessions) session->Close(ut);
    log.Compare();
  });
}

std::string Lower(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

// Of the registry's values only what comes back through the exports.
TEST_F(Model, Settings) {
  RunHost([](Library& ut) {
    Chance chance;
    Log log;
    std::string declared;
    std::map<std::string, int> optIns;  // names of the registry are the same in letters of both cases
    std::map<std::string, std::string> demographics;
    const auto isRefused = [&](const Checked& checked, const std::string& message, int line) {
      if (checked.isRefused) log.Debug(message + checked.value, line);
      return checked.isRefused;
    };
    for (; log.call < 3000; ++log.call) {
      const Text text = chance.Below(2) == 0 ? "Mine" : chance.Some({"azAZ09_", " /%n\\a:", "aB"});
      const Text value = chance.Some({"azAZ09_", " /%n\\a&<"});
      const char *const placed = Place(text), *const placedValue = Place(value);
      const int number = chance.One({-2, -1, 0, 1, 2, INT_MIN, INT_MAX});
      const bool isShort = chance.Below(2) == 0;  // the export without a usage key or subkey
      const Checked given = Check(text, kUsageKey), usage = Check(isShort ? declared : text, kUsageKey);
      const Checked key = Check(text, kDemographicKey);
      const std::string place = (isShort ? "" : "Sub\\") + Lower(key.value);
      std::string held(600, '?'), wantedText = held;
      size_t size = chance.One<size_t>({0, held.size()}), wantedSize = size;
      int result = 0, wanted = 1;
      switch (chance.Below(6)) {
        case 0:
          result = ut.Initialize(placed, false, nullptr);
          log.Info("UTInitialize", 159);
          if (given.isCut) log.Debug("SK_INVALID_STRING: " + given.value);
          if (!isRefused(given, "pcUsagekey: ", 167)) declared = given.value, wanted = 0;
          break;
        case 1:
          result = isShort ? ut.GetOptIn() : ut.OptInGet(placed);
          log.Info(isShort ? "UTGetOptIn" : "UTOptInGet", isShort ? 668 : 696);
          wanted = -1;
          if (isRefused(usage, "OptInGet VerifyString pcUsagekey: ", 911)) break;
          if (optIns.contains(Lower(usage.value))) wanted = optIns[Lower(usage.value)];
          if (usage.value == declared) log.Info("OptInGet: " + declared + "value: " + to_string(wanted), 919);
          break;
        case 2:
          result = isShort ? ut.SetOptIn(number) : ut.OptInSet(placed, number);
          log.Info(isShort ? "UTSetOptIn" : "UTOptInSet", isShort ? 682 : 709);
          if (number < -1 || number > 1) log.Debug("OptInSet VerifyOptinValue: " + to_string(number), 934);
          if (number < -1 || number > 1 || isRefused(usage, "OptInSet VerifyString pcUsagekey: ", 946)) break;
          wanted = 0, optIns[Lower(usage.value)] = number;
          if (usage.value == declared) log.Info("OptInSet: " + declared + "value: " + to_string(number), 956);
          break;
        case 3:
          result = isShort ? ut.GetDemographic(placed, held.data(), &size)
                           : ut.GetNonDefaultDemographic("Sub", placed, held.data(), &size);
          log.Info(isShort ? "UTGetDemographic" : "GetNonDefaultDemographic", isShort ? 721 : 0);
          log.Info("GetDemographicHelper", 965);
          if (!isRefused(key, "VerifyString pcKey: ", 974)) {
            wanted = wantedSize == 0 || demographics.contains(place)
                         ? 0
                         : log.Debug("GetDemographicHelper failed ", 999);
            if (wanted == 0) wantedText = wantedSize == 0 ? "" : demographics[place];
            if (wanted == 0 && wantedSize != 0) wantedSize = wantedText.size() + 1;
          }
          if (wanted == 1)
            log.Debug(isShort ? "UTGetDemographic failed " : "GetNonDefaultDemographic failed ",
                      isShort ? 727 : 0);
          break;
        case 4:
          result = isShort ? ut.SetDemographic(placed, placedValue)
                           : ut.SetNonDefaultDemographic("Sub", placed, placedValue);
          log.Info(isShort ? "UTSetDemographic" : "SetNonDefaultDemographic");
          log.Info("SetDemographicHelper", 1010);
          if (isRefused(key, "VerifyString pcKey: ", 1023)) {
            log.Debug(isShort ? "UTSetDemographic failed " : "SetNonDefaultDemographic failed ");
          } else {
            wanted = 0, demographics[place] = Check(value, kOptional128).value;
          }
          break;
        default:
          result = ut.SetSerializationState(number), wanted = 0;
          log.Info("UTSetSerializationState");
          log.Info("SetSerializationState: " + to_string(number), 798);
      }
      ASSERT_TRUE(result == wanted && wantedText == held.c_str() && size == wantedSize)
          << "Call " << log.call;
    }
    log.Compare();
  });
}

}  // namespace
}  // namespace vantra::test
