#include "api/OptInOperations.h"

#include <string>

#include "api/Frame.h"
#include "api/SessionOperations.h"
#include "api/Validation.h"
#include "settings/OptInPolicy.h"
#include "settings/UsageSettings.h"

namespace vantra::api {
namespace {

constexpr std::string_view kDateName = "Date";

// Updates the consent state with a value that was read or stored, if the key is the declared one.
void Refresh(const Message& message, std::string_view key, int32_t value) {
  settings::OptInPolicy& policy = settings::OptInPolicy::Instance();
  if (key != policy.UsageKey()) return;
  policy.SetOptIn(value);
  log::Info(message, key, "value: ", value);
}

// A reset succeeds when no choice is left, even if there was none to delete.
bool Store(std::string_view key, int32_t value) {
  if (settings::SetOptIn(key, value)) return true;
  return value == settings::kUndecided && settings::IsOptInReset(key);
}

std::string_view OptInWord(int32_t value) noexcept {
  switch (value) {
    case settings::kOptedIn:
      return "TRUE";
    case settings::kOptedOut:
      return "FALSE";
    case settings::kUndecided:
      return "UNKNOWN";
    default:
      return "";
  }
}

}  // namespace

bool OptInGet(const char* usageKey, int32_t& value) {
  const CheckedText key(usageKey, CheckFor(kUsageKey));
  if (!key.IsAccepted()) {
    log::Debug(refusal::kOptInGetKey, key.Value().Text());
    return false;
  }
  value = settings::GetOptIn(key.Value().Text());
  Refresh(values::kOptInGet, key.Value().Text(), value);
  return true;
}

bool OptInSet(const char* usageKey, int32_t value) {
  if (!IsOptInValue(value)) {
    log::Debug(refusal::kOptInValue, value);
    return false;
  }
  const CheckedText key(usageKey, CheckFor(kUsageKey));
  if (!key.IsAccepted()) {
    log::Debug(refusal::kOptInSetKey, key.Value().Text());
    return false;
  }
  if (!Store(key.Value().Text(), value)) {
    log::Debug(refusal::kOptInNotStored, key.Value().Text());
    return false;
  }
  settings::StampFirstUse(key.Value().Text());
  Refresh(values::kOptInSet, key.Value().Text(), value);
  return true;
}

void RecordOptInInfo(session::UsageSession& session) {
  settings::OptInPolicy& policy = settings::OptInPolicy::Instance();
  const std::string& key = policy.UsageKey();
  const int32_t optIn = settings::GetOptIn(key);
  policy.SetOptIn(optIn);
  const auto group = static_cast<uint32_t>(
      session.NewGroup({.category = "Skylamp", .subcategory = {}, .name = "OptInInfo", .doc = kNoDocument}));
  AddToGroup(&session, group, "Key", key);
  AddToGroup(&session, group, "OptedIn", OptInWord(optIn));
  const std::string date = settings::GetProductValue(key, kDateName);
  if (!date.empty()) AddToGroup(&session, group, "Date", date);
}

}  // namespace vantra::api
