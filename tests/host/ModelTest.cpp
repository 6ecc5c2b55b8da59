// Random calls with texts at the ends of pages, held against the rules. VANTRA_SEED=N in the environment
// makes other ones.
#include <climits>

#include "Chance.h"
#include "HostTest.h"
#include "Rules.h"

namespace vantra::test {
namespace {

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

void Compare(const Log& log) {
  Lines written = LogLines();
  std::erase_if(written, [](auto& line) { return line.find(" @WrapperUTLogData:") == line.npos; });
  written.resize(std::max(written.size(), log.lines.size()));
  for (size_t i = 0; i < written.size(); ++i) {
    const auto& [wanted, call] = i < log.lines.size() ? log.lines[i] : std::pair("nothing", log.call);
    ASSERT_EQ(written[i], wanted) << "Call " << call;
  }
}

Path FileOf(const Session& s, const std::string& end) { return Logs() / Wide(s.files + s.id + "_" + end); }

// Of the header blocks, which have tests of their own, only the product's texts are looked at.
void ReadHeader(Session& s, const Text* texts) {
  for (const std::string& name : Documents()) {
    if (name.starts_with(s.files)) s.id = name.substr(s.files.size(), kUser.size());
  }
  const std::string document = ReadFile(FileOf(s, "0.tmp"));
  const std::vector<Record> header = Records(document);
  s.start = header.at(0)["time"];
  s.Append(kPrologue + "<StartSession id=\"" + s.id + "\"", "");
  s.Group("Skylamp", "", "Session", "0");
  for (const std::string entry : {"Family", "Name", "Version", "Build", "Language"}) {
    s.Data(1, "Product" + entry, **texts);
    s.product += " Product" + entry + "=\"" + **texts++ + "\"";
  }
  s.records.push_back({document.substr(s.bytes), "", s.log.call});
  s.bytes = document.size(), s.seq = static_cast<int>(header.size());
  s.groups = static_cast<int>(std::ranges::count(header, "NewGroup", &Record::element));
}

void Close(Library& ut, Session& s) {
  ++s.log.call;
  ASSERT_TRUE(ut.CloseSession(&s.handle) == 0 && s.handle == nullptr);
  s.CloseSession();
  std::string written;
  for (int i = 0; i <= s.documents; ++i) written += ReadFile(FileOf(s, to_string(i) + ".xml"));
  std::string_view rest = written;
  for (const auto& [before, after, call] : s.records) {
    const size_t time = after.empty() ? 0 : kDate.size();
    const std::string_view record = rest.substr(0, before.size() + time + after.size());
    ASSERT_TRUE(record.starts_with(before) && record.ends_with(after) &&
                Normalised(record.substr(before.size(), time)) == (time ? "TIME" : ""))
        << "Call " << call << " writes\n" + std::string(record) + "\ninstead of\n" + before + "TIME" + after;
    rest.remove_prefix(record.size());
  }
  EXPECT_EQ(rest, "");
}

// Calls with random texts until a session starts.
void Start(Library& ut, Session& s, Chance& chance) {
  static int count = 0;
  static constexpr const char* kNames[] = {"Family", "Name", "version", "build", "language"};
  static constexpr int kLines[] = {207, 216, 225};
  const std::string name = "x " + to_string(++count);
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
    s.log.Info("UTStartSession", 196);
    isRefused = false;
    for (size_t i = 0; i < 5 && !isRefused; ++i) {
      const Checked checked = Check(texts[i], i < 3 ? kNeeded512 : kOptional512);
      isRefused = checked.isRefused;
      const std::string message = std::string("VerifyString pcApp") + kNames[i] + ": ";
      if (isRefused) s.log.Debug(message + checked.value, kLines[i]);
      if (checked.isCut) s.log.Debug("SK_INVALID_STRING: " + checked.value, 1068);
      texts[i] = checked.value;
    }
    ASSERT_TRUE(result == (isRefused ? 1 : 0) && (s.handle == nullptr) == isRefused) << "Call " << s.log.call;
    if (isRefused) continue;
    s.log.Info("OptInGet: MyProductvalue: 1", 919);
    s.log.Debug("UTStartSession Success: ", 331);
    ReadHeader(s, texts);
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
  if (!isOpen) {
    void* variable = other;
    s.log.Info("UTCloseSession", 620);
    ASSERT_TRUE(ut.CloseSession(a ? &variable : nullptr) == 1 && variable == other);
  }
  uint32_t group = 7;
  int wantedGroup = 7, result = 0, wanted = 1;
  switch (chance.Below(4)) {
    case 0:
      s.log.Info("UTAddToSession", 352);
      result = ut.AddToSession(handle, placedA, placedB);
      if (isOpen) wanted = s.AddToSession(a, b);
      break;
    case 1:
      s.log.Info("UTLogEvent", 404);
      result = ut.LogEvent(handle, placedA, placedB, placedC, placedName, length);
      if (isOpen) wanted = s.LogEvent(a, b, c, doc);
      break;
    case 2:
      s.log.Info("UTNewDataGroup", 489);
      result = ut.NewDataGroup(handle, placedA, placedB, placedC, &group, placedName, length);
      if (isOpen) wanted = s.NewDataGroup(a, b, c, doc, wantedGroup);
      break;
    default:
      s.log.Info("UTAddToGroup", 577);
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
    for (int round = 0; round < 18 && !HasFailure(); ++round) {
      std::unique_ptr<Session>& next = sessions[round % 2];
      if (next) closed = next->handle, Close(ut, *next);
      next.reset(new Session{.log = log});
      Start(ut, *next, chance);
      for (size_t calls = chance.Below(800); calls > 0 && !HasFailure(); --calls) {
        ++log.call;
        void* other = chance.One<void*>({nullptr, &ut, reinterpret_cast<void*>(-1), closed});
        if (std::ranges::any_of(sessions, [&](auto& s) { return s && s->handle == other; })) other = nullptr;
        Call(ut, *sessions[round == 0 ? 0 : chance.Below(2)], other, chance);
      }
    }
    for (const auto& session : sessions) Close(ut, *session);
    Compare(log);
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

TEST_F(Model, Settings) {
  RunHost([](Library& ut) {
    Settings settings(ut);
    for (int call = 0; call < 5000 && !HasFailure(); ++call) settings.Call();
    Compare(settings.log);
  });
}

}  // namespace
}  // namespace vantra::test
