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

class Settings {
 public:
  explicit Settings(Library& library) : ut(library) {}

  Log log;

 protected:
  void Initialize(const Text& text) {
    const int result = ut.Initialize(Place(text), false, nullptr);
    log.Info("UTInitialize", 159);
    const Checked key = Check(text, kUsageKey);
    if (key.isCut) log.Debug("SK_INVALID_STRING: " + key.value, 1068);
    if (!IsRefused(key, "pcUsagekey: ", 167)) declared = key.value;
    Expect(result, key.isRefused ? 1 : 0);
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
    Expect(result, key.isRefused ? 1 : 0);
    if (IsRefused(key, "OptInSet VerifyString pcUsagekey: ", 946)) return;
    const std::string path = kKeys + Lower(key.value);
    wanted.values.erase(path + "\\optin");
    if (to >= 0) wanted.Store(path + "\\optin", "dword:" + to_string(to));
    const auto isOfUser = [&](auto& each) { return each.first.starts_with(path + "\\demographic\\"); };
    if (to < 0) std::erase_if(wanted.values, isOfUser);
    wanted.Stamp(path);
    if (key.value == declared) log.Info("OptInSet: " + declared + "value: " + to_string(to), 956);
  }
  // One of all, with texts at the ends of pages.
  void Call() {
    const Text text = chance.Below(2) == 0 ? "Mine" : chance.Some({"azAZ09_", " /%n\\a:", "aB"});
    const bool isShort = chance.Below(2) == 0;
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

  Library& ut;
  Chance chance;
  Registry wanted;
  std::string declared;  // the usage key
  int state = 2;

 private:
  void Expect(int result, int right) const { EXPECT_EQ(result, right) << "Call " << log.call; }
  static std::string PlaceOf(bool isShort) { return kKeys + (isShort ? "demographic" : "sub\\demographic"); }

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
    const auto room = chance.One<size_t>({0, 1, 5, 600});
    const bool hasBuffer = chance.Below(9) != 0;
    std::string held(600, '?'), filled = held, stored;
    char* const buffer = hasBuffer ? held.data() : nullptr;
    size_t size = room;
    const int result = isShort ? ut.GetDemographic(Place(text), buffer, &size)
                               : ut.GetNonDefaultDemographic("Sub", Place(text), buffer, &size);
    log.Info(isShort ? "UTGetDemographic" : "GetNonDefaultDemographic", isShort ? 721 : 755);
    log.Info("GetDemographicHelper", 965);
    const Checked key = Check(text, kDemographicKey);
    bool isRead = !IsRefused(key, "VerifyString pcKey: ", 974);
    if (isRead && (room != 0 || !hasBuffer)) {
      if (hasBuffer) wanted.Touch(PlaceOf(isShort));
      if (hasBuffer) stored = wanted[PlaceOf(isShort) + "\\" + Lower(key.value)];
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
    const Text value = chance.Some({"azAZ09_", " /%n\\a&<"});
    const int result = isShort ? ut.SetDemographic(Place(text), Place(value))
                               : ut.SetNonDefaultDemographic("Sub", Place(text), Place(value));
    log.Info(isShort ? "UTSetDemographic" : "SetNonDefaultDemographic", isShort ? 738 : 772);
    log.Info("SetDemographicHelper", 1010);
    const Checked key = Check(text, kDemographicKey);
    Expect(result, key.isRefused ? 1 : 0);
    if (!IsRefused(key, "VerifyString pcKey: ", 1023))
      return wanted.Store(PlaceOf(isShort) + "\\" + Lower(key.value),
                          "sz:" + Check(value, kOptional128).value);
    log.Debug(isShort ? "UTSetDemographic failed " : "SetNonDefaultDemographic failed ", isShort ? 744 : 778);
  }
};

}  // namespace vantra::test
