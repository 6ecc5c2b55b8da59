// What the header blocks tell of machine, user and host, in a world prepared for it.
#include <algorithm>

#include "HostTest.h"

namespace vantra::test {
namespace {

namespace fs = std::filesystem;

// "name=data" for each entry of the block of the session that this opens and closes, sorted.
Lines BlockOf(Library& ut, std::string_view name) {
  Lines lines;
  std::string group;
  void* session = ut.Open();
  for (const Record& record : Records(OnlyDocument())) {
    if (record.element == "NewGroup" && record["name"] == name) group = record["group"];
    if (record.element == "DataRec" && record["group"] == group)
      lines.push_back(record["name"] + "=" + record["data"]);
  }
  ut.CloseSession(&session);
  fs::remove(Logs() / Documents().at(0));
  std::sort(lines.begin(), lines.end());
  return lines;
}

int WINAPI TellLocale(LCID id, LCTYPE, char* to, int) {
  return std::strcpy(to, id == LOCALE_USER_DEFAULT ? "user" : "system"), 1;
}

bool Has(const Lines& lines, const std::string& line) { return std::ranges::count(lines, line) == 1; }

TEST_F(HostTest, ProbesOfTheRegistry) {
  const std::string processor = "HKLM\\HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0";
  const std::string mine = std::string(kUsage) + "\\MyProduct\\Demographic";
  SetValue(processor, "ProcessorNameString", "sz:Test <CPU>  ");
  SetValue(processor, "Identifier", "sz:Family 6");
  SetValue(processor, "~MHz", "dword:2400");
  SetValue(mine, "Age", "dword:42");
  SetValue(mine, "Long", "sz:" + std::string(512, 'x'));
  SetValue(mine, "Role", "sz:R&D \xE2\x82\xAC");
  SetValue(std::string(kUsage) + "\\Demographic", "Common", "sz:unseen");
  RunHost([](Library& ut) {
    ut.Replace("GetLocaleInfoA", &TellLocale);
    const Lines system = BlockOf(ut, "SystemInfo");
    for (const char* line : {"ProcessorName=Test <CPU>  ", "ProcessorModel=Family 6", "Speed=2400 MHz",
                             "OSLanguage=system-system", "UserLanguage=user-user"})
      EXPECT_TRUE(Has(system, line)) << testing::PrintToString(system);
    EXPECT_EQ(BlockOf(ut, "Demographics"), (Lines{"Age=42", "Role=R&D \xE2\x82\xAC"}));
    const std::string text(511, 'x');
    for (const auto& [stored, wanted] : {std::pair<std::string, std::string>{"sz:", ""},
                                         {"dword:7", "7"},
                                         {"sz:A & <B>", "A & <B>"},
                                         {"sz:" + text, text},
                                         {"sz:" + text + "x", ""}}) {
      SetValue(kUsage, "UserType", stored);
      const Lines block = BlockOf(ut, "Session");
      EXPECT_EQ(block.size(), wanted.empty() ? 6u : 7u);
      EXPECT_TRUE(wanted.empty() || Has(block, "UserType=" + wanted)) << stored;
      EXPECT_TRUE(Has(block, "User=" + GetValue(kUsage, "GUID").substr(3)));
    }
  });
  EXPECT_EQ(Normalised(GetValue(kUsage, "GUID")), "sz:ID1");
}

// The browser is a copy of the stand-in agent, whose resource names it.
TEST_F(HostTest, DefaultBrowser) {
  SwitchLogOn();
  fs::create_directories(CaseFolder() / "My Browser");
  fs::copy_file(CaseFolder() / "Sendrix2.exe", CaseFolder() / "My Browser" / "fire.exe");
  RunHost([](Library& ut) {
    const std::string key = "Software\\Clients\\StartMenuInternet",
                      user = "DEBUG Failt to read: HKEY_CURRENT_USER\\",
                      machine = "DEBUG Failt to read: HKEY_LOCAL_MACHINE\\",
                      open = "DEBUG Failt to open: HKEY_LOCAL_MACHINE\\", command = "\\shell\\open\\command",
                      noUser = user + key + ", wsData is: @VantraUtils:214", no = " @VantraUtils:236",
                      noMachine = machine + key + ", wsData is: @VantraUtils:221", found = "Stand-in 5.6.7";
    const std::string program = (CaseFolder() / "My Browser" / "fire.exe").string();
    SetEnvironmentVariableW(L"FIRE", (CaseFolder() / "My Browser").c_str());
    // clang-format off
    const struct { std::string hive, subkey, value, wanted; Lines log; } steps[] = {
        {"HKCU\\", "\\Fire" + command, "sz:" + program, " ", {noUser, noMachine, open + key + "\\" + command + no}},
        {"HKLM\\", "", "sz:Fire", " ", {noUser, open + key + "\\Fire" + command + no}},
        {"HKLM\\", "\\Fire" + command, "sz:" + program, found, {noUser}},
        {"HKLM\\", "\\Fire" + command, "sz:\"\"" + program + "\"", found, {noUser}},
        {"HKLM\\", "\\Fire" + command, "sz:\"" + program + "\" -new", " ", {noUser}},
        {"HKLM\\", "\\Fire" + command, "expand:\"%FIRE%\\fire.exe\"", found, {noUser}},
        {"HKCU\\", "", "sz:Gone", " ", {open + key + "\\Gone" + command + no}},
        {"HKLM\\", "", "sz:Other", " ", {open + key + "\\Gone" + command + no}},
        {"HKCU\\", "", "sz:Fire", found, {}}};
    // clang-format on
    for (const auto& step : steps) {
      SetValue(step.hive + key + step.subkey, "", step.value);
      EXPECT_TRUE(Has(BlockOf(ut, "SystemInfo"), "DefaultBrowser=" + step.wanted)) << step.value;
      EXPECT_EQ(NewLog("DEBUG Failt to "), step.log) << step.value;
    }
  });
}

BOOL WINAPI TellTooLong(const void* resource, const wchar_t* name, void** value, UINT* length) {
  const BOOL isThere = VerQueryValueW(resource, name, value, length);
  return *length |= 1 << 30, isThere;
}
FARPROC WINAPI FindFunction(HMODULE module, const char* name) {
  return std::string_view(name) == "VerQueryValueW"
             ? reinterpret_cast<FARPROC>(reinterpret_cast<void*>(TellTooLong))
             : GetProcAddress(module, name);
}

// Resources may lie about their lengths. A host without a version resource has no name; the library and the
// agent still have theirs. The agent may be updated while a host runs.
TEST_F(HostTest, VersionResources) {
  const HANDLE update = BeginUpdateResourceW((CaseFolder() / "host.exe").c_str(), TRUE);
  ASSERT_TRUE(EndUpdateResourceW(update, FALSE));
  RunHost([](Library& ut) {
    ut.Replace("GetProcAddress", &FindFunction);
    EXPECT_EQ(BlockOf(ut, "ExecutableInfo"), (Lines{"ExecutableBuild=NOVALUE", "ExecutableLanguage=NOVALUE",
                                                    "ExecutableName=NOVALUE", "ExecutableVersion=NOVALUE"}));
    EXPECT_EQ(BlockOf(ut, "UsageVersionInfo"), (Lines{"Sendrix2.exe=5.6.7", "Vantra.dll=1.0.0"}));
    // The next version is a file of the same size.
    std::string agent = ReadFile(CaseFolder() / "Sendrix2.exe");
    agent.at(agent.find(std::string_view("5\0.\0006\0.\0007", 9)) + 8) = '8';
    WriteFile(CaseFolder() / "Sendrix2.exe", agent);
    EXPECT_EQ(BlockOf(ut, "UsageVersionInfo"), (Lines{"Sendrix2.exe=5.6.8", "Vantra.dll=1.0.0"}));
  });
}

// Where a host's demographics are stored, and what a reset takes along.
TEST_F(HostTest, PlacesOfDemographics) {
  RemoveKey(kUsage);
  RunHost([](Library& ut) {
    const std::string split = std::string(127, 'x') + "\xC3\xA9", tooLong(300, 'k');
    EXPECT_EQ(ut.SetDemographic("a\\b", nullptr) + ut.SetDemographic("Split", split.c_str()) +
                  ut.SetNonDefaultDemographic(nullptr, "Age", "4") +
                  ut.SetNonDefaultDemographic("", "Role", "") +
                  ut.SetNonDefaultDemographic("Mine", "Age", "5\xE2\x82\xAC") +
                  ut.SetNonDefaultDemographic("Outer\\Inner", "Age", "6") +
                  ut.SetNonDefaultDemographic("Gone\\Demographic", "Age", "7") + ut.OptInSet("Gone", -1) +
                  ut.OptInSet("Gone", -1),
              0);
    // The registry takes no key of that length.
    EXPECT_EQ(ut.SetNonDefaultDemographic(tooLong.c_str(), "Age", "7"), 1);
  });
  Surroundings seen = ValuesBelow(kUsage);
  EXPECT_EQ(seen.erase("Gone\\Date"), 1u);
  EXPECT_EQ(seen, (Surroundings{{"Demographic\\Age", "sz:4"},
                                {"Demographic\\Role", "sz:NOVALUE"},
                                {"Demographic\\Split", "sz:" + std::string(127, 'x') + "\xEF\xBF\xBD"},
                                {"Demographic\\a\\b", "sz:NOVALUE"},
                                {"Mine\\Demographic\\Age", "sz:5\xE2\x82\xAC"},
                                {"Outer\\Inner\\Demographic\\Age", "sz:6"}}));
}

}  // namespace
}  // namespace vantra::test
