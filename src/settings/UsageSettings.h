// The per-user settings under Software\Tolvex\CommonFiles\Usage. Texts are UTF-8. No state is kept, and
// registry failures do not throw: reads return their defaults, writes return false. Reads, too, create the
// key they read, unless noted otherwise.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vantra::settings {

// The key that holds all settings, below HKEY_CURRENT_USER.
constexpr wchar_t kUsageKey[] = L"Software\\Tolvex\\CommonFiles\\Usage";

constexpr int32_t kOptedIn = 1;
constexpr int32_t kOptedOut = 0;
constexpr int32_t kUndecided = -1;

// The user's GUID, created and stored if there is none. Empty when the Usage key does not exist; the key is
// not created. A GUID that cannot be stored is returned all the same.
[[nodiscard]] std::string EnsureUserIdentifier();

// Whether a GUID is stored and the Usage key can be written. Creates no key.
[[nodiscard]] bool HasUserIdentifier();

// Whether the setting of this name is on, as it is unless its stored value is exactly "0".
[[nodiscard]] bool IsOn(const wchar_t* name);
[[nodiscard]] inline bool IsObfuscationOn() { return IsOn(L"obfuscate"); }
[[nodiscard]] inline bool IsSendOn() { return IsOn(L"send"); }

// Like IsSendOn, but creates no key.
[[nodiscard]] bool IsSendAllowed();

[[nodiscard]] std::string GetUserType();

// The folder stored in the value Agent; empty when there is none. Creates no key.
[[nodiscard]] std::wstring GetStoredAgentFolder();

// Deletes the subkey named Agent if it is empty. Otherwise it is the settings key of a product with that
// usage key.
void DeleteAgentSubkey();

// kOptedIn, kOptedOut or kUndecided; kUndecided on any failure.
[[nodiscard]] int32_t GetOptIn(std::string_view usageKey);

// Stores the choice. kUndecided deletes it and the key's demographics with all their subkeys; false when
// either was not there. Any number but these three is refused.
[[nodiscard]] bool SetOptIn(std::string_view usageKey, int32_t value);

// Whether no choice is stored. False also when the registry cannot be read.
[[nodiscard]] bool IsOptInReset(std::string_view usageKey);

// Texts stored under a usage key. Key and name must not be empty. The library itself only reads them; the
// other two complete the interface.
[[nodiscard]] std::string GetProductValue(std::string_view usageKey, std::string_view name);
[[nodiscard]] bool SetProductValue(std::string_view usageKey, std::string_view name, std::string_view value);
[[nodiscard]] bool HasProductValue(std::string_view usageKey, std::string_view name);

// Demographic values. An empty subkey stands for the common store.
[[nodiscard]] bool SetDemographic(std::string_view subkey, std::string_view name, std::string_view value);
[[nodiscard]] std::optional<std::string> GetDemographic(std::string_view subkey, std::string_view name);
// Names and texts, in the platform's order; empty for an empty usage key.
[[nodiscard]] std::vector<std::pair<std::string, std::string>> ListDemographics(std::string_view usageKey);

// Stores the current time as the value Date under the subkey, unless a date is stored already.
void StampFirstUse(std::string_view subkey);

}  // namespace vantra::settings
