// What the header blocks tell of machine, user and host.
#include <windows.h>

#include "Document.h"
#include "Host.h"

namespace vantra::test {
namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

constexpr char kProcessor[] = "HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0";
constexpr char kBrowsers[] = "Software\\Clients\\StartMenuInternet";

class ProbesTest : public HostTest {
 protected:
  ProbesTest() {
    SetValue(Hive::kUser, kUsage, "obfuscate", "sz:0");
    SetValue(Hive::kUser, kUsage, "send", "sz:0");
  }
};

// "name=data" for each entry of the block in the document.
Lines Block(const std::string& document, std::string_view name) {
  Lines lines;
  std::string group;
  for (const Record& record : Records(document)) {
    if (record.element == "NewGroup" && record["name"] == name) group = record["group"];
    if (record.element == "DataRec" && record["group"] == group)
      lines.push_back(record["name"] + "=" + record["data"]);
  }
  return lines;
}

std::string Entry(const std::string& document, std::string_view block, std::string_view name) {
  for (const std::string& line : Block(document, block)) {
    if (line.starts_with(std::string(name) + "=")) return line.substr(name.size() + 1);
  }
  return "(none)";
}

TEST_F(ProbesTest, RegistryValues) {
  const std::string mine = std::string(kUsage) + "\\MyProduct\\Demographic";
  SetValue(Hive::kMachine, kProcessor, "ProcessorNameString", "sz:Test <CPU>  ");
  SetValue(Hive::kMachine, kProcessor, "Identifier", "sz:Family 6");
  SetValue(Hive::kMachine, kProcessor, "~MHz", "dword:2400");
  SetValue(Hive::kUser, mine, "Age", "dword:42");
  SetValue(Hive::kUser, mine, "Long", "sz:" + std::string(512, 'x'));
  SetValue(Hive::kUser, mine, "Role", "sz:R&D \xE2\x82\xAC");
  SetValue(Hive::kUser, mine, "None", "sz:");
  SetValue(Hive::kUser, std::string(kUsage) + "\\Demographic", "Common", "sz:unseen");
  RunHost([](Library& ut) { EXPECT_NE(ut.Open(), nullptr); });
  const std::string document = OnlyDocument();
  EXPECT_EQ(Entry(document, "SystemInfo", "ProcessorName"), "Test &#60;CPU&#62;  ");
  EXPECT_EQ(Entry(document, "SystemInfo", "ProcessorModel"), "Family 6");
  EXPECT_EQ(Entry(document, "SystemInfo", "Speed"), "2400 MHz");
  Lines demographics = Block(document, "Demographics");
  std::sort(demographics.begin(), demographics.end());
  EXPECT_EQ(demographics, (Lines{"Age=42", "None=NOVALUE", "Role=R&#38;D \xE2\x82\xAC"}));
}

TEST_F(ProbesTest, UserTypeAndIdentifier) {
  RunHost([](Library& ut) {
    const std::string text(511, 'x');
    for (const auto& [stored, wanted] : {std::pair<std::string, std::string>{"sz:", "(none)"},
                                         {"dword:7", "7"},
                                         {"sz:Pro & <Lab>", "Pro &#38; &#60;Lab&#62;"},
                                         {"sz:" + text, text},
                                         {"sz:" + text + "x", "(none)"}}) {
      SetValue(Hive::kUser, kUsage, "UserType", stored);
      void* session = ut.Open();
      EXPECT_EQ(Entry(ReadFile(OpenFile()), "Session", "UserType"), wanted);
      EXPECT_EQ("sz:" + Entry(ReadFile(OpenFile()), "Session", "User"),
                GetValue(Hive::kUser, kUsage, "GUID"));
      ut.CloseSession(&session);
    }
  });
  EXPECT_EQ(Normalised(GetValue(Hive::kUser, kUsage, "GUID")), "sz:ID1");
}

struct BrowserRow {
  const char* test;
  const char* userClient;
  const char* machineClient;
  Hive hive;            // of the command
  const char* command;  // of the client "Fire"; {} stands for its program
  const char* wanted;
  std::vector<std::string> log;
};

// The browser is a copy of the stand-in agent, whose resource names it.
TEST_F(ProbesTest, DefaultBrowser) {
  SwitchLogOn();
  fs::create_directories(CaseFolder() / "My Browser");
  fs::copy_file(CaseFolder() / "Sendrix2.exe", CaseFolder() / "My Browser" / "fire.exe");
  RunHost([](Library& ut) {
    const std::string failure = "DEBUG Failt to ";
    const std::string noUser = failure + "read: HKEY_CURRENT_USER\\" + kBrowsers + ", wsData is:";
    const std::string noMachine = failure + "read: HKEY_LOCAL_MACHINE\\" + kBrowsers + ", wsData is:";
    const std::string noCommand = failure + "open: HKEY_LOCAL_MACHINE\\" + kBrowsers + "\\";
    const std::string command = "\\shell\\open\\command";
    SetEnvironmentVariableW(L"FIRE", (CaseFolder() / "My Browser").c_str());
    size_t logged = 0;
    for (const BrowserRow& row : {
             BrowserRow{"Nothing", "", "", Hive::kMachine, "", " ", {noUser, noMachine, noCommand + command}},
             {"CommandOfUserOnly",
              "",
              "Fire",
              Hive::kUser,
              "sz:{}",
              " ",
              {noUser, noCommand + "Fire" + command}},
             {"Bare", "", "Fire", Hive::kMachine, "sz:{}", "Stand-in 5.6.7", {noUser}},
             {"Quoted", "", "Fire", Hive::kMachine, "sz:\"\"{}\"", "Stand-in 5.6.7", {noUser}},
             {"WithArgument", "", "Fire", Hive::kMachine, "sz:\"{}\" -new", " ", {noUser}},
             {"Expanded",
              "",
              "Fire",
              Hive::kMachine,
              "expand:\"%FIRE%\\fire.exe\"",
              "Stand-in 5.6.7",
              {noUser}},
             {"UsersOwn", "Fire", "Other", Hive::kMachine, "sz:{}", "Stand-in 5.6.7", {}},
             {"UsersOwnWithoutCommand",
              "Gone",
              "Fire",
              Hive::kMachine,
              "sz:{}",
              " ",
              {noCommand + "Gone" + command}},
         }) {
      SCOPED_TRACE(row.test);
      std::string text = row.command;
      if (const size_t at = text.find("{}"); at != std::string::npos) {
        text.replace(at, 2, (CaseFolder() / "My Browser" / "fire.exe").string());
      }
      if (*row.userClient) SetValue(Hive::kUser, kBrowsers, "", std::string("sz:") + row.userClient);
      if (*row.machineClient) SetValue(Hive::kMachine, kBrowsers, "", std::string("sz:") + row.machineClient);
      if (!text.empty()) SetValue(row.hive, std::string(kBrowsers) + "\\Fire" + command, "", text);
      void* session = ut.Open();
      EXPECT_EQ(Entry(ReadFile(OpenFile()), "SystemInfo", "DefaultBrowser"), row.wanted);
      ut.CloseSession(&session);
      Lines log = LogLines();
      log.erase(log.begin(), log.begin() + static_cast<ptrdiff_t>(logged));
      logged += log.size();
      std::erase_if(log, [&](const std::string& line) { return !line.starts_with(failure); });
      for (std::string& line : log) line.resize(line.find(" @VantraUtils:"));
      EXPECT_EQ(log, row.log);
    }
  });
}

// A host without a version resource has no name; the library and the agent still have theirs.
TEST_F(ProbesTest, HostWithoutVersionResource) {
  const Path host = CaseFolder() / "host.exe";
  const Path built = CaseFolder() / "built.exe";
  fs::rename(host, built);
  fs::copy_file(built, host);
  const HANDLE update = BeginUpdateResourceW(host.c_str(), TRUE);
  ASSERT_TRUE(EndUpdateResourceW(update, FALSE));
  RunHost([](Library& ut) { EXPECT_NE(ut.Open(), nullptr); });
  const std::string document = OnlyDocument();
  EXPECT_EQ(Block(document, "ExecutableInfo"),
            (Lines{"ExecutableName=NOVALUE", "ExecutableVersion=NOVALUE", "ExecutableBuild=NOVALUE",
                   "ExecutableLanguage=NOVALUE"}));
  EXPECT_EQ(Block(document, "UsageVersionInfo"), (Lines{"Sendrix2.exe=5.6.7", "Vantra.dll=1.0.0"}));
}

}  // namespace
}  // namespace vantra::test
