#include "settings/OptInPolicy.h"

#include "settings/RegistryKey.h"

namespace vantra::settings {

std::string_view ReleaseStateWord(uint32_t state) noexcept {
  constexpr std::string_view kWords[] = {"PreRelease", "Trial", "Serialized", "SharedComponent"};
  return state < std::size(kWords) ? kWords[state] : "NOVALUE";
}

bool OptInPolicy::IsAllowedByGroupPolicy() {
  RegistryKey key = RegistryKey::LocalMachine();
  if (!key.Open(L"SOFTWARE\\Policies\\Tolvex\\ORPIX", KEY_READ)) return true;
  return key.Query(L"enabled") != L"0";
}

bool OptInPolicy::IsDeliveryAllowed(std::string_view usageKey) {
  optIn_ = GetOptIn(usageKey_);
  return IsConsentGiven() && (usageKey == usageKey_ || GetOptIn(usageKey) != kOptedOut);
}

const std::string& OptInPolicy::FetchUserIdentifier() {
  if (userIdentifier_.empty()) userIdentifier_ = EnsureUserIdentifier();
  return userIdentifier_;
}

}  // namespace vantra::settings
