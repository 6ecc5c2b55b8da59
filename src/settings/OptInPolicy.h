// The process-wide consent state: what the host declared and what the user chose.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "settings/UsageSettings.h"
#include "util/GlobalItems.h"

namespace vantra::settings {

// The word that documents record for a release state; "NOVALUE" for a number that is not one.
[[nodiscard]] std::string_view ReleaseStateWord(uint32_t state) noexcept;

// Guarded by the lock of the exported functions, except that the crash filter may read it without.
class OptInPolicy : public util::OneOf<OptInPolicy> {
 public:
  // False only when an administrator has set the policy value "enabled" to 0. Read from the registry on each
  // call.
  [[nodiscard]] static bool IsAllowedByGroupPolicy();

  // True when opted in, or when undecided and the host is a pre-release.
  [[nodiscard]] bool IsConsentGiven() const noexcept {
    return optIn_ == kOptedIn || (optIn_ == kUndecided && releaseState_ == 0);
  }

  // Whether a document recorded under the usage key may be delivered. Reads the stored choices, since another
  // process may have changed them: the declared key must consent, and usageKey must not be opted out. Logs
  // nothing.
  [[nodiscard]] bool IsDeliveryAllowed(std::string_view usageKey);

  // Numbers other than 0 to 3 are ignored.
  void SetReleaseState(int32_t state) noexcept {
    if (state >= 0 && state < 4) releaseState_ = static_cast<uint32_t>(state);
  }
  [[nodiscard]] uint32_t ReleaseState() const noexcept { return releaseState_; }

  // The value last read or set for the declared usage key.
  void SetOptIn(int32_t value) noexcept { optIn_ = value; }
  [[nodiscard]] int32_t OptIn() const noexcept { return optIn_; }

  void SetUsageKey(std::string_view key) { usageKey_ = key; }
  [[nodiscard]] const std::string& UsageKey() const noexcept { return usageKey_; }

  void SetCrashReporting(bool on) noexcept { crashReporting_ = on; }
  [[nodiscard]] bool CrashReporting() const noexcept { return crashReporting_; }

  // Reads or creates the user's identifier unless it is known already; empty when neither is possible.
  const std::string& FetchUserIdentifier();
  // The identifier, if FetchUserIdentifier has found it; else empty. Safe during a crash.
  [[nodiscard]] const std::string& KnownUserIdentifier() const noexcept { return userIdentifier_; }

 private:
  friend util::OneOf<OptInPolicy>;
  OptInPolicy() = default;

  uint32_t releaseState_ = 2;
  int32_t optIn_ = kUndecided;
  std::string usageKey_;
  bool crashReporting_ = false;
  std::string userIdentifier_;
};

}  // namespace vantra::settings
