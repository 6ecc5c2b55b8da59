// Whether a session may start.
#include <windows.h>

#include "Document.h"
#include "Host.h"

namespace vantra::test {
namespace {

namespace fs = std::filesystem;

int32_t TryStart(Library& ut, void*& session, const char* family = "Acme", const char* name = "Draw",
                 const char* version = "3.1") {
  session = &session;
  return ut.StartSession(&session, family, name, version, nullptr, nullptr);
}

bool Starts(Library& ut) {
  void* session = nullptr;
  const bool started = TryStart(ut, session) == 0;
  EXPECT_EQ(session != nullptr, started);
  EXPECT_EQ(ut.CloseSession(&session), started ? 0 : 1);
  return started;
}

std::vector<std::string> DebugLines() {
  std::vector<std::string> lines = LogLines();
  std::erase_if(lines, [](const std::string& line) { return !line.starts_with("DEBUG"); });
  return lines;
}

// One reason to refuse more for each row upwards: what is logged is the first of all that apply.
struct RefusalRow {
  const char* test;
  std::vector<std::string> log;
};

class Refusal : public HostTest, public testing::WithParamInterface<int> {};

const RefusalRow kRefusals[] = {
    {"Family", {"DEBUG VerifyString pcAppFamily: SK_STR_NULL @WrapperUTLogData:207"}},
    {"Name", {"DEBUG VerifyString pcAppName: SK_STR_EMPTY @WrapperUTLogData:216"}},
    {"Version", {"DEBUG VerifyString pcAppversion: SK_STR_NULL @WrapperUTLogData:225"}},
    {"Configuration", {"DEBUG VerifyConfigStatus failure @WrapperUTLogData:255"}},
    {"UsageKey",
     {"DEBUG OptInGet VerifyString pcUsagekey: SK_STR_EMPTY @WrapperUTLogData:911",
      "DEBUG gsPrefx:  @WrapperUTLogData:266"}},
    {"Agent", {"DEBUG VerifyTransAgentExist failure @WrapperUTLogData:277"}},
    {"Policy", {"DEBUG VerifyGroupPolicy failure @WrapperUTLogData:286"}},
    {"Consent", {"DEBUG OptInPolicy: 0 @WrapperUTLogData:309"}},
};

TEST_P(Refusal, IsTheFirstThatApplies) {
  enum { kFamily, kName, kVersion, kConfiguration, kUsageKey, kAgent, kPolicyKey, kConsent };
  const int first = GetParam();
  SwitchLogOn();
  if (first <= kConfiguration) WriteFile(AgentFolder() / "Sendrix2.cfg", "[ulog]\nstatus=Disabled\n");
  if (first <= kAgent) fs::remove(CaseFolder() / "Sendrix2.exe");
  if (first <= kPolicyKey) SetValue(Hive::kMachine, kPolicy, "enabled", "dword:0");
  RunHost([first](Library& ut) {
    if (first > kUsageKey) ut.Initialize("MyProduct", true, nullptr);
    void* session = nullptr;
    EXPECT_EQ(TryStart(ut, session, first <= kFamily ? nullptr : "Acme", first <= kName ? "" : "Draw",
                       first <= kVersion ? nullptr : "3.1"),
              1);
    EXPECT_EQ(session, nullptr);
  });
  EXPECT_EQ(DebugLines(), kRefusals[first].log);
  EXPECT_EQ(FilesIn(Logs()), std::vector<std::string>());
  EXPECT_EQ(AgentStarts(), std::vector<std::string>());
}

INSTANTIATE_TEST_SUITE_P(Start, Refusal, testing::Range(0, 8),
                         [](const auto& row) { return kRefusals[row.param].test; });

TEST_F(HostTest, ConsentIsAnOptInOrAnUndecidedUserOfAPreRelease) {
  SetValue(Hive::kUser, kUsage, "send", "dword:0");
  RunHost([](Library& ut) {
    constexpr int kUndeclared = -1;
    constexpr const char* kStored[] = {"", "dword:0", "dword:1", "sz:1", "sz:0", "dword:2", "sz:01", "sz:"};
    constexpr bool kIsOptedIn[] = {false, false, true, true, false, false, false, false};
    constexpr bool kIsUndecided[] = {true, false, false, false, false, true, true, true};
    for (const int state : {kUndeclared, 0, 1, 2, 3}) {
      for (const int call : {state, 4, -1, INT_MAX, INT_MIN}) EXPECT_EQ(ut.SetSerializationState(call), 0);
      for (size_t i = 0; i < std::size(kStored); ++i) {
        SCOPED_TRACE(testing::Message() << "state " << state << ", stored " << kStored[i]);
        const std::string key = "Key" + std::to_string(i);
        if (*kStored[i] != '\0') SetValue(Hive::kUser, std::string(kUsage) + "\\" + key, "OptIn", kStored[i]);
        EXPECT_EQ(ut.OptInGet(key.c_str()), kIsOptedIn[i] ? 1 : kIsUndecided[i] ? -1 : 0);
        ut.Initialize(key.c_str(), false, nullptr);
        EXPECT_EQ(Starts(ut), kIsOptedIn[i] || (kIsUndecided[i] && state == 0));
      }
    }
  });
}

TEST_F(HostTest, PolicyRefusesOnlyAPlainZero) {
  struct Row {
    const char* name;
    const char* stored;
    bool isAllowed;
  };
  SetValue(Hive::kUser, kUsage, "send", "dword:0");
  RunHost([](Library& ut) {
    void* session = ut.Open();
    EXPECT_EQ(ut.CloseSession(&session), 0);
    for (const Row& row :
         {Row{"other", "dword:0", true}, Row{"enabled", "dword:0", false}, Row{"enabled", "dword:1", true},
          Row{"enabled", "sz:0", false}, Row{"enabled", "sz:00", true}, Row{"enabled", "expand:0", false},
          Row{"enabled", "sz:", true}}) {
      SetValue(Hive::kMachine, kPolicy, row.name, row.stored);
      EXPECT_EQ(Starts(ut), row.isAllowed) << row.stored;
    }
  });
}

struct SendRow {
  const char* test;
  const char* optIn;
  const char* productOptIn;
  const char* send;
  const char* waiting;  // a file in Logs
  size_t agents;
};

class Send : public HostTable<SendRow> {};

// The agent is started for a changed opt-in or a finished document once a start, and at each close.
TEST_P(Send, StartsTheAgent) {
  const SendRow& row = GetParam();
  const std::string usage(kUsage);
  if (*row.optIn != '\0') SetValue(Hive::kUser, usage + "\\MyProduct", "OptIn", row.optIn);
  if (*row.productOptIn != '\0') {
    SetValue(Hive::kUser, usage + "\\MyProduct_Acme_Draw_3.1", "OptIn", row.productOptIn);
  }
  if (*row.send != '\0') SetValue(Hive::kUser, usage, "send", row.send);
  if (*row.waiting != '\0') WriteFile(Logs() / row.waiting, "x");
  RunHost([](Library& ut) {
    ut.Initialize("MyProduct", false, nullptr);
    Starts(ut);
  });
  EXPECT_EQ(AgentStarts(),
            std::vector<std::string>(row.agents, "\"" + (CaseFolder() / "Sendrix2.exe").string() + "\""));
}

INSTANTIATE_TEST_SUITE_P(Start, Send,
                         testing::Values(SendRow{"NothingToSend", "", "", "", "old.tmp", 0},
                                         SendRow{"RefusedWithPlainDocument", "", "", "", "old.xml", 1},
                                         SendRow{"RefusedWithObfuscatedDocument", "", "", "", "old.rdy", 1},
                                         SendRow{"RefusedWhileOff", "", "", "dword:0", "old.xml", 0},
                                         SendRow{"OptedOutAnew", "dword:0", "dword:1", "", "", 1},
                                         SendRow{"OptedOutAsBefore", "dword:0", "dword:0", "", "", 0},
                                         SendRow{"OptedInAnew", "dword:1", "", "", "", 2},
                                         SendRow{"OptedInAsBefore", "dword:1", "dword:1", "", "", 1},
                                         SendRow{"ReadyWithOldDocument", "dword:1", "dword:1", "", "old.rdy",
                                                 2},
                                         SendRow{"Off", "dword:1", "", "sz:0", "old.rdy", 0},
                                         SendRow{"NotQuiteOff", "dword:1", "", "sz:00", "", 2}),
                         kRowName);

struct AgentRow {
  const char* test;
  const char* explicitFolder;  // given to UTInitialize, below the case's folder
  const char* storedFolder;    // the registry's, below the case's folder
  const char* present[3];      // where agents lie
  const char* started;         // which of them is found
};

class AgentSearch : public HostTable<AgentRow> {};

TEST_P(AgentSearch, FirstHitWins) {
  const AgentRow row = GetParam();
  fs::rename(CaseFolder() / "Sendrix2.exe", CaseFolder() / "agent.exe");
  for (const char* folder : row.present) {
    if (folder == nullptr) continue;
    fs::create_directories(CaseFolder() / folder);
    fs::copy_file(CaseFolder() / "agent.exe", CaseFolder() / folder / "Sendrix2.exe");
  }
  if (row.storedFolder) {
    SetValue(Hive::kUser, kUsage, "Agent", "sz:" + (CaseFolder() / row.storedFolder).string());
  }
  RunHost([row](Library& ut) {
    const std::string folder = row.explicitFolder ? (CaseFolder() / row.explicitFolder).string() : "";
    ut.Initialize("MyProduct", false, row.explicitFolder ? folder.c_str() : nullptr);
    ut.SetOptIn(1);
    EXPECT_EQ(Starts(ut), row.started != nullptr);
  });
  for (const char* folder : {"A", "B", "."}) {
    const bool isIt = row.started != nullptr && row.started == std::string_view(folder);
    EXPECT_EQ(AgentStarts(CaseFolder() / folder).size(), isIt ? 2u : 0u) << folder;
  }
}

INSTANTIATE_TEST_SUITE_P(Start, AgentSearch,
                         testing::Values(AgentRow{"Explicit", "A", "B", {"A", "B", "."}, "A"},
                                         AgentRow{"ExplicitWithBackslash", "A\\", "B", {"A", "B", "."}, "A"},
                                         AgentRow{"ExplicitIsEmptyFolder", "A", "B", {"B", "."}, "."},
                                         AgentRow{"BesideHost", nullptr, "B", {"A", "B", "."}, "."},
                                         AgentRow{"Stored", nullptr, "B", {"A", "B"}, "B"},
                                         AgentRow{"NoneIsNoStart", "C", "C", {"A", "B"}, nullptr}),
                         kRowName);

}  // namespace
}  // namespace vantra::test
