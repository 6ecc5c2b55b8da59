// What the header blocks tell of machine, user and host, in a world prepared for it.
#include <windows.h>

#include <algorithm>

#include "HostTest.h"

namespace vantra::test {
namespace {

namespace fs = std::filesystem;

class Probes : public HostTest {
 protected:
  Probes() {
    SetValue(Hive::kUser, kUsage, "obfuscate", "sz:0");
    SetValue(Hive::kUser, kUsage, "send", "sz:0");
  }
};

// "name=data" for each entry of the block in the only document, sorted.
Lines Block(std::string_view name) {
  Lines lines;
  std::string group;
  for (const Record& record : Records(OnlyDocument())) {
    if (record.element == "NewGroup" && record["name"] == name) group = record["group"];
    if (record.element == "DataRec" && record["group"] == group)
      lines.push_back(record["name"] + "=" + record["data"]);
  }
  std::sort(lines.begin(), lines.end());
  return lines;
}

bool Has(const Lines& lines, const std::string& line) { return std::ranges::count(lines, line) == 1; }

TEST_F(Probes, RegistryValues) {
  const std::string processor = "HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0";
  const std::string mine = std::string(kUsage) + "\\MyProduct\\Demographic";
  SetValue(Hive::kMachine, processor, "ProcessorNameString", "sz:Test <CPU>  ");
  SetValue(Hive::kMachine, processor, "Identifier", "sz:Family 6");
  SetValue(Hive::kMachine, processor, "~MHz", "dword:2400");
  SetValue(Hive::kUser, mine, "Age", "dword:42");
  SetValue(Hive::kUser, mine, "Long", "sz:" + std::string(512, 'x'));
  SetValue(Hive::kUser, mine, "Role", "sz:R&D \xE2\x82\xAC");
  SetValue(Hive::kUser, std::string(kUsage) + "\\Demographic", "Common", "sz:unseen");
  RunHost([](Library& ut) { EXPECT_NE(ut.Open(), nullptr); });
  const Lines system = Block("SystemInfo");
  EXPECT_TRUE(Has(system, "ProcessorName=Test <CPU>  ") && Has(system, "ProcessorModel=Family 6") &&
              Has(system, "Speed=2400 MHz"))
      << testing::PrintToString(system);
  EXPECT_EQ(Block("Demographics"), (Lines{"Age=42", "Role=R&D \xE2\x82\xAC"}));
}

TEST_F(Probes, UserTypeIdentifierAndUpdate) {
  RunHost([](Library& ut) {
    const std::string text(511, 'x');
    const std::pair<std::string, std::string> rows[] = {{"sz:", ""},
                                                        {"dword:7", "7"},
                                                        {"sz:A & <B>", "A & <B>"},
                                                        {"sz:" + text, text},
                                                        {"sz:" + text + "x", ""}};
    for (const auto& [stored, wanted] : rows) {
      SetValue(Hive::kUser, kUsage, "UserType", stored);
      void* session = ut.Open();
      const Lines block = Block("Session");
      EXPECT_EQ(block.size(), wanted.empty() ? 6u : 7u);
      EXPECT_TRUE(wanted.empty() || Has(block, "UserType=" + wanted)) << stored;
      EXPECT_TRUE(Has(block, "User=" + GetValue(Hive::kUser, kUsage, "GUID").substr(3)));
      ut.CloseSession(&session);
      fs::remove(Logs() / Documents().at(0));
    }
    // The agent may be updated while a host runs.
    fs::remove(CaseFolder() / "Sendrix2.exe");
    fs::copy_file(CaseFolder() / "host.exe", CaseFolder() / "Sendrix2.exe");
    EXPECT_NE(ut.Open(), nullptr);
    EXPECT_TRUE(Has(Block("UsageVersionInfo"), "Sendrix2.exe=12.34"));
  });
  EXPECT_EQ(Normalised(GetValue(Hive::kUser, kUsage, "GUID")), "sz:ID1");
}

// The browser is a copy of the stand-in agent, whose resource names it.
TEST_F(Probes, DefaultBrowser) {
  SwitchLogOn();
  fs::create_directories(CaseFolder() / "My Browser");
  fs::copy_file(CaseFolder() / "Sendrix2.exe", CaseFolder() / "My Browser" / "fire.exe");
  RunHost([](Library& ut) {
    const std::string key = "Software\\Clients\\StartMenuInternet",
                      user = "Failt to read: HKEY_CURRENT_USER\\",
                      machine = "Failt to read: HKEY_LOCAL_MACHINE\\",
                      open = "Failt to open: HKEY_LOCAL_MACHINE\\", command = "\\shell\\open\\command",
                      noUser = user + key + ", wsData is:", noMachine = machine + key + ", wsData is:",
                      found = "Stand-in 5.6.7";
    const std::string program = (CaseFolder() / "My Browser" / "fire.exe").string();
    SetEnvironmentVariableW(L"FIRE", (CaseFolder() / "My Browser").c_str());
    // clang-format off
    const struct { Hive hive; std::string subkey, value, wanted; Lines log; } steps[] = {
        {Hive::kUser, "\\Fire" + command, "sz:" + program, " ", {noUser, noMachine, open + key + "\\" + command}},
        {Hive::kMachine, "", "sz:Fire", " ", {noUser, open + key + "\\Fire" + command}},
        {Hive::kMachine, "\\Fire" + command, "sz:" + program, found, {noUser}},
        {Hive::kMachine, "\\Fire" + command, "sz:\"\"" + program + "\"", found, {noUser}},
        {Hive::kMachine, "\\Fire" + command, "sz:\"" + program + "\" -new", " ", {noUser}},
        {Hive::kMachine, "\\Fire" + command, "expand:\"%FIRE%\\fire.exe\"", found, {noUser}},
        {Hive::kUser, "", "sz:Gone", " ", {open + key + "\\Gone" + command}},
        {Hive::kMachine, "", "sz:Other", " ", {open + key + "\\Gone" + command}},
        {Hive::kUser, "", "sz:Fire", found, {}}};
    // clang-format on
    for (const auto& step : steps) {
      SetValue(step.hive, key + step.subkey, "", step.value);
      NewLog("DEBUG");
      void* session = ut.Open();
      EXPECT_TRUE(Has(Block("SystemInfo"), "DefaultBrowser=" + step.wanted)) << step.value;
      Lines log = NewLog("DEBUG");
      log.pop_back();  // the start's success
      for (std::string& line : log) line.resize(line.find('@'));
      EXPECT_EQ(log, step.log) << step.value;
      ut.CloseSession(&session);
      fs::remove(Logs() / Documents().at(0));
    }
  });
}

// A host without a version resource has no name; the library and the agent still have theirs.
TEST_F(Probes, HostWithoutVersionResource) {
  const HANDLE update = BeginUpdateResourceW((CaseFolder() / "host.exe").c_str(), TRUE);
  ASSERT_TRUE(EndUpdateResourceW(update, FALSE));
  RunHost([](Library& ut) { EXPECT_NE(ut.Open(), nullptr); });
  EXPECT_EQ(Block("ExecutableInfo"), (Lines{"ExecutableBuild=NOVALUE", "ExecutableLanguage=NOVALUE",
                                            "ExecutableName=NOVALUE", "ExecutableVersion=NOVALUE"}));
  EXPECT_EQ(Block("UsageVersionInfo"), (Lines{"Sendrix2.exe=5.6.7", "Vantra.dll=1.0.0"}));
}

}  // namespace
}  // namespace vantra::test
