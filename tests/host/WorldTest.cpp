// Starts and closes in random worlds: what registry, configuration, agents and earlier calls say decides
// whether a session starts, what is logged, stored and started, and what becomes of the documents. After each
// call the whole world is as the rules have it, and nothing else has changed in it.
#include "Agents.h"

namespace vantra::test {
namespace {

const std::string kLogs = "AppData/Tolvex/Sendrix2/Logs/", kFamily = "Acm\xC3\xA9 & Son's",
                  kDocument = kLogs + "ulog_" + kFamily + "_Draw_USER_ID1_";

// Without the contents of documents and of the log, and with USER for the user's identifier.
Surroundings Seen() {
  Surroundings seen;
  for (const auto& [path, content] : LookAround()) {
    const size_t user = path.find(kUser);
    std::string name = user == path.npos ? path : std::string(path).replace(user, kUser.size(), "USER");
    if (path == "Sendrix2.exe") name = "." + kAgent;
    if (!path.ends_with("SKLog-Vantra.txt"))
      seen[Normalised(path.starts_with("HK") ? name.substr(0, 4) + Lower(name.substr(4)) : name)] =
          path.starts_with(kLogs + "ulog_") ? "" : Normalised(content);
  }
  return seen;
}

constexpr std::string_view kReport = R"(<?xml version="1.0" encoding="utf-8"?>

<UsageDoc version="0.5.4">
<StartSession id="ID1" time="TIME" seq="0" />
<NewGroup category="Skylamp" subcategory="OptinRate" name="Session" time="TIME" group="1" doc="" seq="1" />
<DataRec time="TIME" group="1" name="ProductFamily" data="SkylampOptinProductFamily" seq="2" />
<DataRec time="TIME" group="1" name="ProductName" data="SkylampOptinProduct" seq="3" />
<NewGroup category="Skylamp" subcategory="OptinRate" name="OptinProductInfo" time="TIME" group="2" doc="" seq="4" />
<DataRec time="TIME" group="2" name="OptinProductFamily" data="{}" seq="5" />
<DataRec time="TIME" group="2" name="OptinProductName" data="Draw" seq="6" />
<DataRec time="TIME" group="2" name="OptinProductVersion" data="3.1" seq="7" />
<DataRec time="TIME" group="2" name="OptinProductSerializationState" data="{}" seq="8" />
<DataRec time="TIME" group="2" name="OptinKey" data="{}" seq="9" />
<NewGroup category="Skylamp" subcategory="OptinRate" name="OptInInfo" time="TIME" group="3" doc="" seq="10" />
<DataRec time="TIME" group="3" name="BaseCount" data="{}" seq="11" />
<DataRec time="TIME" group="3" name="OptInCount" data="{}" seq="12" />
<EndSession id="ID1" time="TIME" seq="13" />
</UsageDoc>
)";

class Worlds : public Agents {
 public:
  using Agents::Agents;

  void Play(bool mayDeclare) {
    ++log.call;
    Make();
    if (mayDeclare) Initialize(chance.One<const char*>({"Key", "Other"}));
    SetState(chance.One({0, 0, 1, 2, 3}));
    EXPECT_EQ(ut.StartSession(nullptr, "Acme", "Draw", "3.1", nullptr, nullptr), 1);
    log.Info("UTStartSession", 196);
    Start();
    for (size_t calls = chance.Below(9); mayDeclare && calls > 0; --calls)
      chance.Below(3) == 0 ? Change() : Call();
    if (handle == nullptr) return Compare();
    for (size_t calls = chance.Below(60); calls > 0 && !testing::Test::HasFailure(); --calls)
      CallWithSession();
    if (chance.Below(4) == 0) Fill(chance.One({size_t{0}, size_t{1}, chance.Below(700)})), CallWithSession();
    if (chance.Below(4) == 0) Change();
    if (chance.Below(2) == 0) CallWithSession();
    Close();
  }

 private:
  [[nodiscard]] bool MayRecord(int optIn) const { return optIn == 1 || (optIn == -1 && state == 0); }
  [[nodiscard]] std::string Product() const { return "_" + family + "_Draw_3.1"; }
  // A world in which a session starts, but for some settings.
  void Make() {
    const auto usually = [&](const char* usual, std::initializer_list<const char*> others) {
      return chance.Below(6) != 0 ? usual : chance.One(others);
    };
    RemoveKey(kUsage), RemoveKey(kPolicy);
    EXPECT_TRUE(Remove(Logs()));
    std::filesystem::create_directories(Logs() / "ulog_a");
    WriteFile(Logs() / "ulog_a" / "kept", "x");
    WriteFile(Logs() / chance.One({"x", "x.tmp", "x.xml", "x.rdy"}), "x");
    config = usually("[ulog]\nstatus=Active\n",
                     {"[ulog]\nstatus=Disabled\n", "[ulog]\nstatus=Hibernate\nwakeupdate=2099-1-1\n",
                      "[hibernate]\nacm\xC3\xA9 & son's_draw=|2099-1-1\n"});
    WriteFile(AgentFolder() / "Sendrix2.cfg", config);
    const auto flag = [&] {
      return chance.One({"", "sz:0", "dword:0", "sz:", "sz:00", "dword:1", "expand:0", "unterminated:0"});
    };
    send = flag(), obfuscate = flag();
    policy = usually("", {"dword:0", "dword:1", "sz:0", "sz:00", "expand:0", "sz:", "unterminated:0"});
    Put(std::string(kUsage), "GUID", "sz:" + kUser);
    Put(std::string(kUsage), "send", send);
    Put(std::string(kUsage), "obfuscate", obfuscate);
    Put(std::string(kPolicy), "enabled", policy);
    Put(std::string(kPolicy), "other", "dword:0");
    MakeAgents();
    MakeBlocks();
    family = chance.Below(8) != 0 ? kFamily
                                  : chance.One<std::string>({"a\\b", "a/b", "a:b", "..\\..\\x", "a*", "\"a\"",
                                                             "a\nb", std::string(200, 'x')});
    Put(kKeys + family, "Date", chance.One({"", "sz:"}));
    for (const std::string key : {"Key", "Other"}) {
      Put(kKeys + key, "OptIn",
          chance.One({"dword:1", "sz:1", "", "dword:0", "sz:0", "sz:01", "sz:", "dword:2", "expand:1",
                      "unterminated:1", "unterminated:0"}));
      Put(kKeys + key, "Date", chance.One({"", "sz:", "sz:the first"}));
      Put(kKeys + key + Product(), "OptIn", chance.One({"", "dword:0", "dword:1", "sz:1"}));
    }
    wanted.values = Seen();
  }

  void Start() {
    constexpr const char* kNames[] = {"Family", "Name", "version", "build", "language"};
    constexpr int kLines[] = {207, 216, 225};
    const auto needed = [&](const char* text) {
      return chance.Below(20) != 0 ? text : chance.One<Text>({Text(), ""});
    };
    Text texts[] = {needed(family.c_str()), needed("Draw"), needed("3.1"), chance.Any(), chance.Any()};
    const char* placed[5];
    std::ranges::transform(texts, placed, Place);
    handle = &handle;
    const bool isRefused =
        ut.StartSession(&handle, placed[0], placed[1], placed[2], placed[3], placed[4]) != 0;
    log.Info("UTStartSession", 196);
    bool mayStart = true;
    for (size_t i = 0; i < 5 && mayStart; ++i) {
      const Checked checked = Check(texts[i], i < 3 ? kNeeded512 : kOptional512);
      mayStart =
          !IsRefused(checked, std::string("VerifyString pcApp") + kNames[i] + ": ", i < 3 ? kLines[i] : 0);
      if (checked.isCut) log.Debug("SK_INVALID_STRING: " + checked.value, 1068);
      texts[i] = checked.value;
    }
    mayStart = mayStart && MayStart();
    EXPECT_TRUE(isRefused == !mayStart && (handle == nullptr) == isRefused) << "Call " << log.call;
    if (handle != nullptr) Begin(texts);
    Compare();
  }
  void Begin(const Text* texts) {
    Session& s = session.emplace(Session{.log = log, .isDelivered = [this] { return Finish(); }});
    s.id = kUser, s.start = kDate;
    if (IsNamed()) {
      const Record first = Records(ReadDocument(FileOf(".tmp"))).at(0);
      s.id = first["id"], s.start = first["time"];
    }
    s.Append(kPrologue + "<StartSession id=\"" + s.id + "\"", "");
    WriteBlocks(texts, browser, VersionOfAgent());
  }
  // A session whose files cannot be named records nothing, anywhere, and the host does not notice.
  [[nodiscard]] bool IsNamed() const { return family == kFamily; }
  // The session's file of the current number.
  Path FileOf(const std::string& extension) const {
    for (const std::string& name : Documents())
      if (name.starts_with("ulog_" + kFamily) && name.ends_with("_" + to_string(index) + extension))
        return Logs() / Wide(name);
    return {};
  }

  // Notes what a start leaves and logs.
  bool MayStart() {
    const bool isPaused = config.find("Active") == config.npos;
    if (isPaused && (IsNamed() || config.find("status") != config.npos))
      return log.Debug("VerifyConfigStatus failure", 255), false;
    if (declared.empty()) {
      log.Debug("OptInGet VerifyString pcUsagekey: SK_STR_EMPTY", 911);
      return log.Debug("gsPrefx: ", 266), false;
    }
    const int optIn = Choice(declared);
    log.Info("OptInGet: " + declared + "value: " + to_string(optIn), 919);
    if (Agent().empty()) return log.Debug("VerifyTransAgentExist failure", 277), false;
    if (!policy.empty() && !IsOn(policy)) return log.Debug("VerifyGroupPolicy failure", 286), false;
    if (!MayRecord(optIn)) return Report(optIn), log.Debug("OptInPolicy: 0", 309), false;
    recorded = declared, index = 0;
    if (IsNamed()) wanted.values[kDocument + "0.tmp"];
    wanted.Touch(kKeys + Lower(declared) + "\\demographic");
    wanted.Stamp(kKeys + Lower(family));
    browser = Browser();
    if (isWatched) Watch();
    log.Debug("UTStartSession Success: ", 331);
    return Report(optIn), true;
  }
  // A choice that the product has not heard of yet is told, and what waits is sent.
  void Report(int optIn) {
    const std::string product = declared + Product(), extension = IsOn(obfuscate) ? ".rdy" : ".xml";
    const int told = optIn < 0 ? optIn : Choice(product);
    if (told != optIn) {
      wanted.Store(kKeys + Lower(product) + "\\optin", "dword:" + to_string(optIn));
      wanted.values[kLogs + "ulog_SkylampOptinProductFamily_SkylampOptinProduct_ID1_ID2" + extension];
      log.Info("MiniSession::CreateOptInRateFile", 104, "MiniSession");
      for (int records = 0; records < 14; ++records) log.Info("MiniSession::Write", 172, "MiniSession");
      const char* const states[] = {"PreRelease", "Trial", "Serialized", "SharedComponent"};
      const std::string texts[] = {Escaped(family), states[state], declared, told < 0 ? "1" : "0",
                                   optIn == 1 ? "1"
                                   : told < 0 ? "0"
                                              : "-1"};
      std::string report(kReport);
      for (const std::string& text : texts) report.replace(report.find("{}"), 2, text);
      for (const std::string& name : FilesIn(Logs())) {
        if (!name.starts_with("ulog_Skylamp")) continue;
        const std::string document = ReadDocument(Logs() / name);
        EXPECT_EQ(Normalised(document), report);
        EXPECT_EQ(Records(document)[0]["id"], "00000000-0000-0000-0000-000000000000");
      }
    }
    const auto waits = [](auto& each) {
      return each.first.starts_with(kLogs) && (each.first.ends_with(".xml") || each.first.ends_with(".rdy"));
    };
    if (IsOn(send) && std::ranges::any_of(wanted.values, waits)) StartAgent();
  }
  // Crashes are handled from the first start on whose host wants it.
  void Watch() {
    const std::string unit = "CrashHandler";
    log.Info("CrashHandler::SetCrashHandler", 58, unit);
    if (std::exchange(hasWatched, true)) return;
    log.Info("PreventSetUnhandledExceptionFilter() - Enter", 82, unit);
    log.Info("PreventSetUnhandledExceptionFilter() - Exit", 118, unit);
    log.Info("CrashHandler::SetUnhandledExceptionFilter", 70, unit);
  }

  // What the host, the user or another process may do.
  void Change() {
    const int optIn = chance.One({-1, 0, 1});
    switch (chance.Below(5)) {
      case 0:
        return SetOptIn(chance.One<const char*>({"Key", "Other"}), optIn);
      case 1:
        return Initialize(chance.One<const char*>({"Key", "Other"}));
      case 2:
        return RemoveAgent();
      default:
        SetValue(kKeys + declared, "OptIn", "sz:" + to_string(optIn));
        wanted.Store(kKeys + Lower(declared) + "\\optin", "sz:" + to_string(optIn));
    }
  }

  // What becomes of the document that ends: is it delivered?
  bool Finish() {
    const std::string number = to_string(index);
    const bool hasAgent = !Agent().empty();
    const bool isDelivered = IsAllowed() && hasAgent;
    if (isDelivered) {
      ++index;
      if (!IsNamed()) return true;
      wanted.values.erase(kDocument + number + ".tmp");
      wanted.values[kDocument + number + (IsOn(obfuscate) ? ".rdy" : ".xml")];
      if (IsOn(send)) StartAgent();
    } else {
      EmptyLogs();
    }
    if (IsNamed()) wanted.values[kDocument + to_string(index) + ".tmp"];
    return isDelivered;
  }
  bool IsAllowed() { return MayRecord(Choice(declared)) && (recorded == declared || Choice(recorded) != 0); }
  void EmptyLogs() {
    std::erase_if(wanted.values, [](auto& each) {
      return each.first.starts_with(kLogs) && each.first.size() > kLogs.size() &&
             !each.first.starts_with(kLogs + "ulog_a/");
    });
  }

  void Close() {
    ++log.call;
    closed = handle;
    EXPECT_TRUE(ut.CloseSession(&handle) == 0 && handle == nullptr);
    log.Info("UTCloseSession", 620);
    log.Debug("UTCloseSession has valid session", 631);
    session->CloseSession(declared, Choice(declared), TextOf(GetValue(kKeys + declared, "Date")), IsNamed());
    if (!IsNamed() && !IsAllowed()) EmptyLogs();
    log.Info("UTAddToSession", 352);
    EXPECT_EQ(ut.AddToSession(closed, "key", "value"), 1);
    wanted.values.erase(kDocument + to_string(index) + ".tmp");
    Compare();
    if (!IsNamed()) return;
    std::string written, expected;
    const int last = std::exchange(index, 0);
    for (; index <= last; ++index) written += ReadDocument(FileOf(IsOn(obfuscate) ? ".rdy" : ".xml"));
    for (const auto& [record, call] : session->records) expected += record;
    written = Normalised(written), expected = Normalised(expected);
    const size_t same = static_cast<size_t>(std::ranges::mismatch(written, expected).in1 - written.begin());
    const size_t from = written.rfind('<', same);
    EXPECT_TRUE(written == expected) << "Call " << log.call << " leaves\n"
                                     << written.substr(from, 300) << "\ninstead of\n"
                                     << expected.substr(std::min(from, expected.size()), 300);
  }

  void Compare() {
    EXPECT_EQ(Difference(wanted.values, Seen()), "") << "Call " << log.call;
    EXPECT_EQ(std::exchange(starts, {}), std::exchange(wantedStarts, {})) << "Call " << log.call;
  }
  bool hasWatched = false;
  std::string config, policy, send, obfuscate;  // as they are stored
  std::string family, browser;
  std::string recorded;  // the one of the session
  int index = 0;         // of its document
};

// Several, so that they can run beside each other; VANTRA_SEED in their place repeats one.
class RandomWorlds : public HostTest, public testing::WithParamInterface<int> {};

TEST_P(RandomWorlds, AreAsTheRulesSay) {
  if (std::getenv("VANTRA_SEED") == nullptr)
    SetEnvironmentVariableA("VANTRA_SEED", to_string(GetParam()).c_str());
  SwitchLogOn();
  WriteFile(AppData() / "Tolvex" / "Skylamp", "a file in the place of the log's folder");
  RunHost([](Library& ut) {
    Blocks::Prepare();
    Worlds worlds(ut);
    for (int round = 0; round < 60 && !HasFailure(); ++round) worlds.Play(round >= 5);
    EXPECT_EQ(worlds.log.Difference(LogLines()), "");
  });
  EXPECT_TRUE(Remove(Logs()));  // the last world's documents may have values of group 0, which nobody opens
}
INSTANTIATE_TEST_SUITE_P(Seeds, RandomWorlds, testing::Range(1, 5));

}  // namespace
}  // namespace vantra::test
