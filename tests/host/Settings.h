// Random calls of the exports that need no session, and what they make of the registry and the log.
#pragma once

#include <climits>

#include "Chance.h"
#include "HostTest.h"

namespace vantra::test {

// Names of the registry are the same in letters of both cases.
inline std::string Lower(std::string_view text) {
  std::string name(text);
  for (char& c : name) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
  return name;
}

inline const std::string kKeys = "HKCU" + Lower(kUsage.substr(4)) + "\\";

// What a setting, if there is one, says as text, as a switch, and as a choice.
inline std::string TextOf(const std::string& setting) { return setting.substr(setting.find(':') + 1); }
inline bool IsOn(const std::string& setting) { return setting.empty() || TextOf(setting) != "0"; }
inline int ChoiceOf(const std::string& setting) {
  return setting.empty() ? -1 : TextOf(setting) == "1" ? 1 : TextOf(setting) == "0" ? 0 : -1;
}

// As the registry holds it: what is no text becomes U+FFFD.
inline std::string Stored(const std::string& text) {
  std::wstring wide(text.size(), L'\0');
  const int size = static_cast<int>(text.size());
  wide.resize(static_cast<size_t>(MultiByteToWideChar(CP_UTF8, 0, text.data(), size, wide.data(), size)));
  return Utf8(wide);
}

// A registry that takes no values at times.
inline bool isRefusing = false;
inline LSTATUS WINAPI SetUnlessRefusing(HKEY key, const wchar_t* name, DWORD reserved, DWORD type,
                                        const BYTE* bytes, DWORD size) {
  return isRefusing ? ERROR_ACCESS_DENIED : RegSetValueExW(key, name, reserved, type, bytes, size);
}

class Settings {
 public:
  explicit Settings(Library& library) : ut(library) { ut.Replace("RegSetValueExW", &SetUnlessRefusing); }

  Log log;

 protected:
  void Initialize(const Text& text) {
    const bool mayWatch = chance.Below(2) == 0;
    const auto* const folder = chance.One<const char*>({nullptr, nullptr, "", "\xC3\x84", "\xC3\x84\\", "C"});
    std::filesystem::current_path(CaseFolder());
    const int result = ut.Initialize(Place(text), mayWatch, folder);
    std::filesystem::current_path(AppData());
    log.Info("UTInitialize", 159);
    const Checked key = Check(text, kUsageKey);
    if (key.isCut) log.Debug("SK_INVALID_STRING: " + key.value, 1068);
    Expect(result, key.isRefused ? 1 : 0);
    if (IsRefused(key, "pcUsagekey: ", 167)) return;
    declared = key.value, isWatched = mayWatch;
    if (folder != nullptr) chosen = std::string(folder).substr(0, 2);
  }
  void SetState(int to) {
    Expect(ut.SetSerializationState(to), 0);
    log.Info("UTSetSerializationState", 789);
    log.Info("SetSerializationState: " + to_string(to), 798);
    if (to >= 0 && to < 4) state = to;
  }
  [[nodiscard]] bool IsRefused(const Checked& checked, const std::string& message, int line) {
    if (checked.isRefused) log.Debug(message + checked.value, line);
    return checked.isRefused;
  }
  // The choice that is stored for a key, which is made if there is none.
  int Choice(const std::string& key) {
    wanted.Touch(kKeys + Lower(key));
    return ChoiceOf(wanted[kKeys + Lower(key) + "\\optin"]);
  }
  void SetOptIn(const Text& text, int to) {
    const int result = text ? ut.OptInSet(Place(text), to) : ut.SetOptIn(to);
    log.Info(text ? "UTOptInSet" : "UTSetOptIn", text ? 709 : 682);
    if (to < -1 || to > 1)
      return Expect(result, log.Debug("OptInSet VerifyOptinValue: " + to_string(to), 934));
    const Checked key = Check(text ? text : declared, kUsageKey);
    if (IsRefused(key, "OptInSet VerifyString pcUsagekey: ", 946)) return Expect(result, 1);
    const std::string path = kKeys + Lower(key.value);
    wanted.Touch(path);
    if (to >= 0 && isRefusing) return Expect(result, log.Debug("OptInSet failed " + key.value, 951));
    wanted.values.erase(path + "\\optin");
    if (to >= 0) wanted.Store(path + "\\optin", "dword:" + to_string(to));
    const auto isOfUser = [&](auto& each) { return each.first.starts_with(path + "\\demographic\\"); };
    if (to < 0) std::erase_if(wanted.values, isOfUser);
    wanted.Touch(path);
    if (!isRefusing) wanted.Stamp(path);
    if (key.value == declared) log.Info("OptInSet: " + declared + "value: " + to_string(to), 956);
    Expect(result, 0);
  }
  // One of all, with texts at the ends of pages.
  void Call() {
    const Text text = chance.Below(2) == 0 ? chance.One<Text>({"Mine", "Mine", "Agent"})
                                           : chance.Some({"azAZ09_", " /%n\\a:", "aB"});
    const bool isShort = chance.Below(2) == 0;
    isRefusing = chance.Below(4) == 0;
    Make(text, isShort);
    isRefusing = false;
  }

  Library& ut;
  Chance chance;
  Registry wanted;
  std::string declared, chosen;  // the usage key, the agent's folder
  bool isWatched = false;
  int state = 2;

 private:
  void Make(const Text& text, bool isShort) {
    switch (chance.Below(6)) {
      case 0:
        return Initialize(text);
      case 1:
        return SetState(chance.One({-2, -1, 0, 1, 2, 3, 4, INT_MIN, INT_MAX}));
      case 2:
        return SetOptIn(isShort ? Text() : text, chance.One({-2, -1, 0, 1, 2, INT_MIN, INT_MAX}));
      case 3:
        return GetOptIn(isShort ? Text() : text);
      case 4:
        return GetDemographic(text, isShort);
      default:
        return SetDemographic(text, isShort);
    }
  }
  void Expect(int result, int right) const { EXPECT_EQ(result, right) << "Call " << log.call; }
  // A key for demographics, which may be too long for the registry.
  Text Subkey(bool isShort) {
    return isShort ? Text()
                   : chance.One<Text>({Text(), "", "Sub", "Mine", "Mine\\Demographic", "Outer\\Inner",
                                       std::string(300, 'k')});
  }
  static std::string PlaceOf(const Text& subkey) {
    return kKeys + (subkey.value_or("").empty() ? "" : Lower(*subkey) + "\\") + "demographic";
  }

  void GetOptIn(const Text& text) {
    const int result = text ? ut.OptInGet(Place(text)) : ut.GetOptIn();
    log.Info(text ? "UTOptInGet" : "UTGetOptIn", text ? 696 : 668);
    const Checked key = Check(text ? text : declared, kUsageKey);
    if (IsRefused(key, "OptInGet VerifyString pcUsagekey: ", 911)) return Expect(result, -1);
    const int choice = Choice(key.value);
    if (key.value == declared) log.Info("OptInGet: " + declared + "value: " + to_string(choice), 919);
    Expect(result, choice);
  }
  // A buffer gets what fits, with its end; not a byte beyond its size is written.
  void GetDemographic(const Text& text, bool isShort) {
    const Text subkey = Subkey(isShort);
    const auto room = chance.One<size_t>({0, 1, 5, 600});
    const bool hasBuffer = chance.Below(9) != 0;
    std::string held(600, '?'), filled = held, stored;
    char* const buffer = hasBuffer ? held.data() : nullptr;
    size_t size = room;
    const int result = isShort ? ut.GetDemographic(Place(text), buffer, &size)
                               : ut.GetNonDefaultDemographic(Place(subkey), Place(text), buffer, &size);
    log.Info(isShort ? "UTGetDemographic" : "GetNonDefaultDemographic", isShort ? 721 : 755);
    log.Info("GetDemographicHelper", 965);
    const Checked key = Check(text, kDemographicKey);
    bool isRead = !IsRefused(key, "VerifyString pcKey: ", 974);
    if (isRead && (room != 0 || !hasBuffer)) {
      const bool isKey = hasBuffer && subkey.value_or("").size() < 256;
      if (isKey) wanted.Touch(PlaceOf(subkey));
      if (isKey) stored = wanted[PlaceOf(subkey) + "\\" + Lower(key.value)];
      isRead = !stored.empty() && TextOf(stored).size() < 512;
      if (!isRead) log.Debug("GetDemographicHelper failed ", 999);
    }
    const std::string given = room == 0 ? "" : TextOf(stored).substr(0, room - 1);
    if (isRead)
      filled.replace(0, given.size() + 1, given + '\0');
    else
      log.Debug(isShort ? "UTGetDemographic failed " : "GetNonDefaultDemographic failed ",
                isShort ? 727 : 761);
    Expect(result, isRead ? 0 : 1);
    EXPECT_EQ(held, filled) << "Call " << log.call;
    EXPECT_EQ(size, isRead && room != 0 ? given.size() + 1 : room) << "Call " << log.call;
  }
  void SetDemographic(const Text& text, bool isShort) {
    const Text subkey = Subkey(isShort),
               value = chance.Some({"azAZ09_", " /%n\\a&<", "x\xC3\xA9\xE2\x82\xAC"});
    const int result = isShort ? ut.SetDemographic(Place(text), Place(value))
                               : ut.SetNonDefaultDemographic(Place(subkey), Place(text), Place(value));
    log.Info(isShort ? "UTSetDemographic" : "SetNonDefaultDemographic", isShort ? 738 : 772);
    log.Info("SetDemographicHelper", 1010);
    const Checked key = Check(text, kDemographicKey);
    bool isSet = !IsRefused(key, "VerifyString pcKey: ", 1023);
    if (isSet) {
      const bool isKey = subkey.value_or("").size() < 256;
      isSet = isKey && !isRefusing;
      if (isKey) wanted.Touch(PlaceOf(subkey));
      const std::string place = PlaceOf(subkey) + "\\" + Lower(key.value);
      if (isSet)
        wanted.Store(place, "sz:" + Stored(Check(value, kOptional128).value));
      else
        log.Debug("SetDemographicHelper failed ", 1045);
    }
    Expect(result, isSet ? 0 : 1);
    if (isSet) return;
    log.Debug(isShort ? "UTSetDemographic failed " : "SetNonDefaultDemographic failed ", isShort ? 744 : 778);
  }
};

}  // namespace vantra::test
