// The per-user settings under Software\Tolvex\CommonFiles\Usage. No operation keeps state or throws for a
// registry problem: reads fall back to their defaults, writes return false. Texts are UTF-8. Reading, too,
// creates the key that is read, unless told otherwise.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vantra::settings {

// Below the current user's root: what all of this is stored under.
constexpr wchar_t kUsageKey[] = L"Software\\Tolvex\\CommonFiles\\Usage";

constexpr int32_t kOptedIn = 1;
constexpr int32_t kOptedOut = 0;
constexpr int32_t kUndecided = -1;

// The user's GUID, created and stored when there is none; empty while there is no Usage key, which is not
// created.
[[nodiscard]] std::string GetUserIdentifier();

// Whether one is stored, and can be used.
[[nodiscard]] bool HasUserIdentifier();

// Both are on unless the stored text is exactly "0".
[[nodiscard]] bool IsObfuscationOn();
[[nodiscard]] bool IsSendOn();

// The same as IsSendOn; creates no key.
[[nodiscard]] bool IsSendAllowed();

[[nodiscard]] std::string GetUserType();

// The folder that the Agent value names; empty when there is none. Creates no key.
[[nodiscard]] std::wstring GetStoredAgentFolder();

// Deletes a subkey named Agent that is empty. One that is not is somebody's usage key.
void DeleteAgentSubkey();

// kOptedIn, kOptedOut or kUndecided; the last for any failure.
[[nodiscard]] int32_t GetOptIn(std::string_view usageKey);

// kUndecided deletes the value and the key's demographics with all their subkeys, and reports false when
// either was not there. Any other number than the three is refused.
[[nodiscard]] bool SetOptIn(std::string_view usageKey, int32_t value);

// Whether no choice is stored. False also when the registry does not let us see that.
[[nodiscard]] bool IsOptInReset(std::string_view usageKey);

// Texts stored under a usage key. Key and name must not be empty.
[[nodiscard]] std::string GetProductValue(std::string_view usageKey, std::string_view name);
[[nodiscard]] bool SetProductValue(std::string_view usageKey, std::string_view name, std::string_view value);
[[nodiscard]] bool HasProductValue(std::string_view usageKey, std::string_view name);

// Demographic values; an empty subkey is the common store.
[[nodiscard]] bool SetDemographic(std::string_view subkey, std::string_view name, std::string_view value);
[[nodiscard]] std::optional<std::string> GetDemographic(std::string_view subkey, std::string_view name);
// In the platform's order.
[[nodiscard]] std::vector<std::pair<std::string, std::string>> ListDemographics(std::string_view usageKey);

// Stores the present time as the Date under the subkey, once: a date that can be read stays.
void StampFirstUse(std::string_view subkey);

}  // namespace vantra::settings
