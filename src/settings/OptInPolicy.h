// What the host declared and what the user chose: the process-wide consent state.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "settings/UsageSettings.h"
#include "util/GlobalItems.h"

namespace vantra::settings {

// The word under which a release state is recorded; "NOVALUE" for a number that is none.
[[nodiscard]] std::string_view ReleaseStateWord(uint32_t state) noexcept;

// Guarded by the lock of the exported functions, except that the crash filter reads it as it stands.
class OptInPolicy : public util::OneOf<OptInPolicy> {
 public:
  // False only when an administrator has set the policy value "enabled" to 0. Read afresh each time.
  [[nodiscard]] static bool IsAllowedByGroupPolicy();

  // Opted in, or undecided with a pre-release host.
  [[nodiscard]] bool IsConsentGiven() const noexcept {
    return optIn_ == kOptedIn || (optIn_ == kUndecided && releaseState_ == 0);
  }

  // Whether a document that was recorded under the usage key may leave, by what is stored now: another
  // process may have changed it. The declared key must consent, and the document's own must not be opted out.
  // Logs nothing.
  [[nodiscard]] bool IsDeliveryAllowed(std::string_view usageKey);

  // Numbers other than 0 to 3 are ignored.
  void SetReleaseState(int32_t state) noexcept {
    if (state >= 0 && state < 4) releaseState_ = static_cast<uint32_t>(state);
  }
  [[nodiscard]] uint32_t ReleaseState() const noexcept { return releaseState_; }

  // The last value read or set for the stored usage key.
  void SetOptIn(int32_t value) noexcept { optIn_ = value; }
  [[nodiscard]] int32_t OptIn() const noexcept { return optIn_; }

  void SetUsageKey(std::string_view key) { usageKey_ = key; }
  [[nodiscard]] const std::string& UsageKey() const noexcept { return usageKey_; }

  void SetCrashReporting(bool on) noexcept { crashReporting_ = on; }
  [[nodiscard]] bool CrashReporting() const noexcept { return crashReporting_; }

  // Reads the user's identifier, or creates it, unless it is known already.
  const std::string& FetchUserIdentifier();
  // The identifier as far as it is known: what a crash can use.
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
