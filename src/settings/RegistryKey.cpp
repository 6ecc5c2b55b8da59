#include "settings/RegistryKey.h"

#include <cstring>

namespace vantra::settings {
namespace {

constexpr size_t kLongestText = 512;
constexpr size_t kLongestName = 16'384;  // the platform's own limit, with the terminator

// Room for a value and one more zero, which ends a text that was stored without a terminator.
struct ValueBuffer {
  DWORD type = REG_NONE;
  DWORD size = kLongestText * sizeof(wchar_t);
  wchar_t text[kLongestText + 1] = {};

  [[nodiscard]] BYTE* Bytes() noexcept { return reinterpret_cast<BYTE*>(text); }
  [[nodiscard]] std::wstring AsText() const {
    if (type != REG_DWORD) return text;
    DWORD number;
    std::memcpy(&number, text, sizeof number);
    return std::to_wstring(number);
  }
};

constinit bool isReadOnly = false;

bool IsPredefined(HKEY key) noexcept { return key == HKEY_CURRENT_USER || key == HKEY_LOCAL_MACHINE; }

}  // namespace

void RegistryKey::ForbidChanges() noexcept { isReadOnly = true; }

RegistryKey::~RegistryKey() { MoveTo(nullptr); }

void RegistryKey::MoveTo(HKEY key) noexcept {
  if (key_ != nullptr && !IsPredefined(key_)) RegCloseKey(key_);
  key_ = key;
}

bool RegistryKey::CreateOrOpen(const std::wstring& subkey) noexcept {
  if (isReadOnly) return Open(subkey, KEY_ALL_ACCESS);
  HKEY key = nullptr;
  if (subkey.empty() || RegCreateKeyExW(key_, subkey.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                                        KEY_ALL_ACCESS, nullptr, &key, nullptr) != ERROR_SUCCESS) {
    return false;
  }
  MoveTo(key);
  return true;
}

bool RegistryKey::Open(const std::wstring& subkey, REGSAM access) noexcept {
  HKEY key = nullptr;
  if (subkey.empty() || RegOpenKeyExW(key_, subkey.c_str(), 0, access, &key) != ERROR_SUCCESS) return false;
  MoveTo(key);
  return true;
}

std::optional<std::wstring> RegistryKey::Query(const std::wstring& name) const {
  ValueBuffer value;
  if (RegQueryValueExW(key_, name.c_str(), nullptr, &value.type, value.Bytes(), &value.size) !=
      ERROR_SUCCESS) {
    return {};
  }
  return value.AsText();
}

bool RegistryKey::SetText(const std::wstring& name, const std::wstring& text) const noexcept {
  const auto size = static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
  return !isReadOnly && !name.empty() &&
         RegSetValueExW(key_, name.c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()), size) ==
             ERROR_SUCCESS;
}

bool RegistryKey::SetNumber(const std::wstring& name, DWORD number) const noexcept {
  return !isReadOnly && !name.empty() &&
         RegSetValueExW(key_, name.c_str(), 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number),
                        sizeof number) == ERROR_SUCCESS;
}

bool RegistryKey::DeleteValue(const std::wstring& name) const noexcept {
  return !isReadOnly && RegDeleteValueW(key_, name.c_str()) == ERROR_SUCCESS;
}

bool RegistryKey::DeleteSubkey(const std::wstring& name) const noexcept {
  return !isReadOnly && RegDeleteTreeW(key_, name.c_str()) == ERROR_SUCCESS;
}

bool RegistryKey::DeleteEmptySubkey(const std::wstring& name) const noexcept {
  HKEY opened = nullptr;
  if (RegOpenKeyExW(key_, name.c_str(), 0, KEY_QUERY_VALUE, &opened) != ERROR_SUCCESS) return false;
  const RegistryKey subkey(opened);
  DWORD subkeys = 0;
  DWORD values = 0;
  const bool isKnown = RegQueryInfoKeyW(opened, nullptr, nullptr, nullptr, &subkeys, nullptr, nullptr,
                                        &values, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
  return !isReadOnly && isKnown && subkeys + values == 0 &&
         RegDeleteKeyW(key_, name.c_str()) == ERROR_SUCCESS;
}

std::vector<std::pair<std::wstring, std::wstring>> RegistryKey::ListValues() const {
  std::vector<std::pair<std::wstring, std::wstring>> values;
  std::wstring name(kLongestName, L'\0');
  for (DWORD index = 0;; ++index) {
    ValueBuffer value;
    auto length = static_cast<DWORD>(name.size());
    const LSTATUS status =
        RegEnumValueW(key_, index, name.data(), &length, nullptr, &value.type, value.Bytes(), &value.size);
    if (status == ERROR_MORE_DATA) continue;
    if (status != ERROR_SUCCESS) return values;
    values.emplace_back(name.substr(0, length), value.AsText());
  }
}

}  // namespace vantra::settings
