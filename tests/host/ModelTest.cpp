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
  void* const old = s.handle;
  ASSERT_TRUE(ut.CloseSession(&s.handle) == 0 && s.handle == nullptr);
  s.CloseSession();
  s.log.Info("UTAddToSession", 352);
  ASSERT_EQ(ut.AddToSession(old, "after", "close"), 1);
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
    EXPECT_EQ(log.Difference(LogLines()), "");
  });
}

}  // namespace
}  // namespace vantra::test
