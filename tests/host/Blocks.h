// Random settings that the header blocks tell of, and the blocks by what these, the platform and the
// resources of programs say.
#pragma once

#include "Recorder.h"

namespace vantra::test {

inline const std::string kProcessor = "HKLM\\hardware\\description\\system\\centralprocessor\\0";
inline const std::string kBrowsers = "Software\\Clients\\StartMenuInternet";

inline int WINAPI TellLanguage(LCID id, LCTYPE type, char* to, int) {
  const std::string whose = id == LOCALE_USER_DEFAULT ? "user" : "system";
  return std::strcpy(to, (type == LOCALE_SISO3166CTRYNAME ? "country of " + whose : whose).c_str()), 1;
}

class Blocks : public Recorder {
 public:
  explicit Blocks(Library& library) : Recorder(library) { ut.Replace("GetLocaleInfoA", &TellLanguage); }

  // What a process asks once, and a browser with a resource.
  static void Prepare() {
    SetValue(kProcessor, "ProcessorNameString", "sz:Test <CPU>  ");
    SetValue(kProcessor, "Identifier", "sz:Family 6");
    SetValue(kProcessor, "~MHz", "dword:2400");
    std::filesystem::create_directory(CaseFolder() / "My Browser");
    std::filesystem::copy_file(CaseFolder() / "Sendrix2.exe", CaseFolder() / "My Browser" / "fire.exe");
    SetEnvironmentVariableW(L"FIRE", (CaseFolder() / "My Browser").c_str());
  }

 protected:
  static void Put(const std::string& key, const char* name, const std::string& value) {
    if (!value.empty()) SetValue(key, name, value);
  }
  void MakeBlocks() {
    const std::string program = (CaseFolder() / "My Browser" / "fire.exe").string(), longest(511, 'x');
    const auto some = [&] {
      return chance.One<std::string>({"", "sz:", "sz:R&D \xE2\x82\xAC", "dword:4000000000", "expand:%x%",
                                      "sz:" + longest, "sz:x" + longest});
    };
    Put(std::string(kUsage), "UserType", some());
    for (const std::string key : {"", "Key\\", "Other\\"})
      for (const char* name : {"mine", "age"}) Put(kKeys + key + "Demographic", name, some());
    for (const std::string hive : {"HKCU\\", "HKLM\\"}) {
      RemoveKey(hive + kBrowsers);
      Put(hive + kBrowsers, "", chance.One({"", "sz:", "sz:Fire", "sz:Fire", "sz:Gone"}));
    }
    const std::pair<std::string, bool> command =
        chance.One<std::pair<std::string, bool>>({{"", false},
                                                  {"sz:", false},
                                                  {"sz:\"" + program + "\" -new", false},
                                                  {"sz:" + program, true},
                                                  {"sz:\"\"" + program + "\"", true},
                                                  {"expand:\"%FIRE%\\fire.exe\"", true}});
    Put("HKCU\\" + kBrowsers + "\\Fire\\shell\\open\\command", "", "sz:" + program);
    Put("HKLM\\" + kBrowsers + "\\Fire\\shell\\open\\command", "", command.first);
    isProgram = command.second;
  }

  // Name and version of the default browser, and the lines on the way to it.
  std::string Browser() {
    std::string client = TextOf(wanted["HKCU\\" + Lower(kBrowsers) + "\\"]);
    if (client.empty()) {
      log.Debug("Failt to read: HKEY_CURRENT_USER\\" + kBrowsers + ", wsData is:", 214, "VantraUtils");
      client = TextOf(wanted["HKLM\\" + Lower(kBrowsers) + "\\"]);
      if (client.empty())
        log.Debug("Failt to read: HKEY_LOCAL_MACHINE\\" + kBrowsers + ", wsData is:", 221, "VantraUtils");
    }
    const std::string command = kBrowsers + "\\" + client + "\\shell\\open\\command";
    if (!wanted["HKLM\\" + Lower(command) + "\\"].empty()) return isProgram ? "Stand-in 5.6.7" : " ";
    return log.Debug("Failt to open: HKEY_LOCAL_MACHINE\\" + command, 236, "VantraUtils"), " ";
  }

  void Block(const std::string& name, Named entries) {
    const int group = session->Group("Skylamp", "", name, "0");
    for (const auto& [entry, value] : entries) session->Data(group, entry, value);
  }
  void WriteBlocks(const Text* product, const std::string& browser, const std::string& agent) {
    Block("Session", {});
    for (const std::string entry : {"Family", "Name", "Version", "Build", "Language"}) {
      session->Data(1, "Product" + entry, **product);
      session->product += " Product" + entry + "=\"" + **product++ + "\"";
    }
    session->Data(1, "User", kUser);
    const auto listed = [](const std::string& setting) { return TextOf(setting).size() < 512; };
    const std::string user = wanted[kKeys + "usertype"], key = kKeys + Lower(declared) + "\\demographic\\";
    if (listed(user) && !TextOf(user).empty()) session->Data(1, "UserType", TextOf(user));

    OSVERSIONINFOEXW os{.dwOSVersionInfoSize = sizeof os};
    GetVersionExW(reinterpret_cast<OSVERSIONINFOW*>(&os));
    SYSTEM_INFO system;
    GetSystemInfo(&system);
    MEMORYSTATUSEX memory{.dwLength = sizeof memory};
    GlobalMemoryStatusEx(&memory);
    const std::string version = to_string(os.dwMajorVersion) + "." + to_string(os.dwMinorVersion) + "." +
                                to_string(os.dwBuildNumber) + " SP " + to_string(os.wServicePackMajor) + "." +
                                to_string(os.wServicePackMinor) + " PT " + to_string(os.wProductType);
    Block("SystemInfo", {{"OS", version},
                         {"OSType", "64bit"},
                         {"OSLanguage", "system-country of system"},
                         {"UserLanguage", "user-country of user"},
                         {"Processor", to_string(system.dwProcessorType)},
                         {"ProcessorName", "Test <CPU>  "},
                         {"ProcessorModel", "Family 6"},
                         {"NumProcessors", to_string(system.dwNumberOfProcessors)},
                         {"Speed", "2400 MHz"},
                         {"Memory", to_string(memory.ullTotalPhys >> 20)},
                         {"MonitorCount", "1"},
                         {"DefaultBrowser", browser}});
    Block("SkylampScreenResolution", {{"width", to_string(GetSystemMetrics(SM_CXSCREEN))},
                                      {"height", to_string(GetSystemMetrics(SM_CYSCREEN))}});
    Block("Demographics", {});
    for (const auto& [path, setting] : wanted.values)
      if (path.starts_with(key) && path != key && listed(setting))
        session->Data(session->groups, path.substr(key.size()), TextOf(setting));
    Block("ExecutableInfo", {{"ExecutableName", "Host of tests"},
                             {"ExecutableVersion", "12.34"},
                             {"ExecutableBuild", "Night & Day 7"},
                             {"ExecutableLanguage", "German"}});
    Block("UsageVersionInfo", {{"Sendrix2.exe", agent}, {"Vantra.dll", "1.0.0"}});
  }

  bool isProgram = false;  // whether the browser's command names one
};

}  // namespace vantra::test
