#include "settings/UsageSettings.h"

#include "settings/RegistryKey.h"
#include "util/Clock.h"
#include "util/Text.h"
#include "util/UserId.h"

namespace vantra::settings {
namespace {

using util::FromUtf8;
using util::ToUtf8;

constexpr wchar_t kAgent[] = L"Agent";
constexpr wchar_t kDate[] = L"Date";
constexpr wchar_t kDemographic[] = L"Demographic";
constexpr wchar_t kGuid[] = L"GUID";
constexpr wchar_t kOptIn[] = L"OptIn";

// The Usage key, or a key below it; created when missing. Empty when that fails.
std::optional<RegistryKey> MakeUsageKey() {
  RegistryKey key = RegistryKey::CurrentUser();
  if (!key.CreateOrOpen(kUsageKey)) return {};
  return key;
}

std::optional<RegistryKey> MakeUsageKey(std::string_view subkey) {
  auto key = MakeUsageKey();
  if (!key || !key->CreateOrOpen(FromUtf8(subkey))) return {};
  return key;
}

std::optional<RegistryKey> MakeDemographicKey(std::string_view subkey) {
  auto key = subkey.empty() ? MakeUsageKey() : MakeUsageKey(subkey);
  if (!key || !key->CreateOrOpen(kDemographic)) return {};
  return key;
}

std::optional<RegistryKey> OpenUsageKey(unsigned long access) {
  RegistryKey key = RegistryKey::CurrentUser();
  if (!key.Open(kUsageKey, access)) return {};
  return key;
}

std::optional<std::wstring> QueryProductValue(std::string_view usageKey, std::string_view name) {
  if (usageKey.empty() || name.empty()) return {};
  const auto key = MakeUsageKey(usageKey);
  return key ? key->Query(FromUtf8(name)) : std::nullopt;
}

}  // namespace

std::string EnsureUserIdentifier() {
  const auto key = OpenUsageKey(KEY_ALL_ACCESS);
  if (!key) return {};
  if (const auto stored = key->Query(kGuid); stored && !stored->empty()) return ToUtf8(*stored);
  std::string fresh = util::NewUserId();
  // An identifier that could not be stored still serves this process.
  static_cast<void>(key->SetText(kGuid, FromUtf8(fresh)));
  return fresh;
}

bool HasUserIdentifier() {
  const auto key = OpenUsageKey(KEY_ALL_ACCESS);
  return key && !key->Query(kGuid).value_or(L"").empty();
}

bool IsOn(const wchar_t* name) {
  const auto key = MakeUsageKey();
  return !key || key->Query(name) != L"0";
}

bool IsSendAllowed() {
  const auto key = OpenUsageKey(KEY_QUERY_VALUE);
  return !key || key->Query(L"send") != L"0";
}

std::string GetUserType() {
  const auto key = MakeUsageKey();
  return key ? ToUtf8(key->Query(L"UserType").value_or(L"")) : std::string();
}

std::wstring GetStoredAgentFolder() {
  const auto key = OpenUsageKey(KEY_QUERY_VALUE);
  return key ? key->Query(kAgent).value_or(L"") : std::wstring();
}

void DeleteAgentSubkey() {
  if (const auto key = OpenUsageKey(KEY_ALL_ACCESS)) key->DeleteEmptySubkey(kAgent);
}

int32_t GetOptIn(std::string_view usageKey) {
  const auto key = MakeUsageKey(usageKey);
  if (!key) return kUndecided;
  const auto stored = key->Query(kOptIn);
  if (stored == L"1") return kOptedIn;
  if (stored == L"0") return kOptedOut;
  return kUndecided;
}

bool SetOptIn(std::string_view usageKey, int32_t value) {
  if (value != kOptedIn && value != kOptedOut && value != kUndecided) return false;
  const auto key = MakeUsageKey(usageKey);
  if (!key) return false;
  if (value != kUndecided) return key->SetNumber(kOptIn, static_cast<unsigned long>(value));
  const bool valueGone = key->DeleteValue(kOptIn);
  const bool demographicsGone = key->DeleteSubkey(kDemographic);
  return valueGone && demographicsGone;
}

bool IsOptInReset(std::string_view usageKey) {
  const auto key = MakeUsageKey(usageKey);
  return key && !key->Query(kOptIn);
}

std::string GetProductValue(std::string_view usageKey, std::string_view name) {
  return ToUtf8(QueryProductValue(usageKey, name).value_or(L""));
}

bool SetProductValue(std::string_view usageKey, std::string_view name, std::string_view value) {
  if (usageKey.empty() || name.empty()) return false;
  const auto key = MakeUsageKey(usageKey);
  return key && key->SetText(FromUtf8(name), FromUtf8(value));
}

bool HasProductValue(std::string_view usageKey, std::string_view name) {
  return QueryProductValue(usageKey, name).has_value();
}

bool SetDemographic(std::string_view subkey, std::string_view name, std::string_view value) {
  const auto key = MakeDemographicKey(subkey);
  return key && key->SetText(FromUtf8(name), FromUtf8(value));
}

std::optional<std::string> GetDemographic(std::string_view subkey, std::string_view name) {
  const auto key = MakeDemographicKey(subkey);
  if (!key) return {};
  const auto stored = key->Query(FromUtf8(name));
  if (!stored) return {};
  return ToUtf8(*stored);
}

std::vector<std::pair<std::string, std::string>> ListDemographics(std::string_view usageKey) {
  std::vector<std::pair<std::string, std::string>> demographics;
  if (usageKey.empty()) return demographics;
  const auto key = MakeDemographicKey(usageKey);
  if (!key) return demographics;
  for (const auto& [name, text] : key->ListValues()) demographics.emplace_back(ToUtf8(name), ToUtf8(text));
  return demographics;
}

void StampFirstUse(std::string_view subkey) {
  const auto key = MakeUsageKey(subkey);
  if (key && !key->Query(kDate)) static_cast<void>(key->SetText(kDate, FromUtf8(util::UtcNow())));
}

}  // namespace vantra::settings
