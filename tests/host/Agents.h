// Agents in random places, of random versions: which of them is found, and what is started of it.
#pragma once

#include "Blocks.h"

namespace vantra::test {

inline const std::string kAgent = "/Sendrix2.exe";
inline constexpr const char* kPlaces[] = {".", "\xC3\x84", "B"};  // below the host's folder

// Commands by which agents were to be started.
inline Lines starts;
inline BOOL WINAPI NoteStart(const wchar_t*, wchar_t* command, SECURITY_ATTRIBUTES*, SECURITY_ATTRIBUTES*,
                             BOOL inherits, DWORD, void*, const wchar_t*, STARTUPINFOW*,
                             PROCESS_INFORMATION*) {
  return starts.push_back((inherits ? "with what the host holds: " : "") + Utf8(command)), FALSE;
}

// The path of a host that lies too deep is cut, here to one beside an agent.
inline bool isDeep = false;
inline DWORD WINAPI TellName(HMODULE module, wchar_t* name, DWORD size) {
  if (!isDeep || module != nullptr) return GetModuleFileNameW(module, name, size);
  return name[(CaseFolder() / "host").wstring().copy(name, size)] = L'\0', size;
}

class Agents : public Blocks {
 public:
  explicit Agents(Library& library) : Blocks(library) {
    ut.Replace("CreateProcessW", &NoteStart), ut.Replace("GetModuleFileNameW", &TellName);
    for (const char* folder : {"\xC3\x84", "B", "C\\Sendrix2.exe"})
      std::filesystem::create_directories(CaseFolder() / Wide(folder));
  }

 protected:
  void MakeAgents() {
    isDeep = session && chance.Below(4) == 0;
    Put(kKeys + "Agent", "Date", chance.One({"", "sz:"}));  // a usage key, and no trace of an agent
    Put(std::string(kUsage), "Agent", chance.Below(2) == 0 ? "" : "sz:" + (CaseFolder() / "B").string());
    for (const std::string folder : kPlaces) {
      EXPECT_TRUE(Remove(PathIn(folder)));
      versions_[folder] = chance.One({"NOVALUE", "5.6.7", "5.6.8"});
      if (chance.Below(3) != 0) WriteFile(PathIn(folder), Program(versions_[folder]));
    }
  }
  void RemoveAgent() {
    const std::string folder = kPlaces[chance.Below(std::size(kPlaces))];
    std::filesystem::remove(PathIn(folder));
    wanted.values.erase(folder + kAgent);
  }
  // Its folder; none when there is no agent, and then a trace that has nothing in it is removed.
  std::string Agent() {
    const std::string stored = wanted[kKeys + "agent"].empty() ? "" : "B";
    for (const std::string& folder : {chosen, std::string(isDeep ? "" : "."), stored})
      if (wanted.values.contains(folder + kAgent)) return folder;
    return wanted.values.erase(kKeys + "agent\\"), "";
  }
  std::string VersionOfAgent() { return versions_[Agent()]; }
  void StartAgent() {
    wantedStarts.push_back("\"" + Utf8(PathIn(Agent()).wstring()) + "\"");
    log.Info("Sendrix2 Path: " + wantedStarts.back(), 182, "SendrixUtilsWin");
  }

  Lines wantedStarts;

 private:
  static Path PathIn(const std::string& folder) {
    return (CaseFolder() / Wide(folder + kAgent)).lexically_normal();
  }
  // The stand-in, the next one of the same size, or something that is none.
  [[nodiscard]] std::string Program(const std::string& version) const {
    if (version == "NOVALUE") return "no program";
    std::string program = standIn_;
    program.at(program.find(std::string_view("5\0.\0006\0.\0007", 9)) + 8) = version.back();
    return program;
  }

  const std::string standIn_ = ReadFile(CaseFolder() / "Sendrix2.exe");
  std::map<std::string, std::string> versions_;  // by folder
};

}  // namespace vantra::test
