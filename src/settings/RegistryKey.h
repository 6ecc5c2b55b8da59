// The few registry operations that the library uses. No failure is reported: the result tells.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "util/Windows.h"

namespace vantra::settings {

// Holds one key and closes it; predefined roots are held alike and left open.
class RegistryKey {
 public:
  [[nodiscard]] static RegistryKey CurrentUser() noexcept { return RegistryKey(HKEY_CURRENT_USER); }
  [[nodiscard]] static RegistryKey LocalMachine() noexcept { return RegistryKey(HKEY_LOCAL_MACHINE); }

  // From then on this process makes, sets and deletes nothing through this class: a subkey that is missing
  // cannot be opened, and a change fails. For programs that only look.
  static void ForbidChanges() noexcept;

  RegistryKey(RegistryKey&& other) noexcept : key_(std::exchange(other.key_, nullptr)) {}
  RegistryKey& operator=(RegistryKey&& other) noexcept {
    std::swap(key_, other.key_);
    return *this;
  }
  ~RegistryKey();

  // Walk down to a subkey: on success the holder changes to it, on failure it stays where it is. An empty
  // name fails.
  [[nodiscard]] bool CreateOrOpen(const std::wstring& subkey) noexcept;
  [[nodiscard]] bool Open(const std::wstring& subkey, REGSAM access) noexcept;

  // The value as text, a REG_DWORD as unsigned decimal. A text of more than 511 characters cannot be read. An
  // empty name is the key's default value.
  [[nodiscard]] std::optional<std::wstring> Query(const std::wstring& name) const;

  // An empty name fails.
  [[nodiscard]] bool SetText(const std::wstring& name, const std::wstring& text) const noexcept;
  [[nodiscard]] bool SetNumber(const std::wstring& name, DWORD number) const noexcept;

  bool DeleteValue(const std::wstring& name) const noexcept;
  // With all that is below it.
  bool DeleteSubkey(const std::wstring& name) const noexcept;
  // False also when the subkey holds a value or a subkey; it stays then.
  bool DeleteEmptySubkey(const std::wstring& name) const noexcept;

  // Name and text of every value that Query can read, in the platform's order.
  [[nodiscard]] std::vector<std::pair<std::wstring, std::wstring>> ListValues() const;

 private:
  explicit RegistryKey(HKEY key) noexcept : key_(key) {}
  void MoveTo(HKEY key) noexcept;

  HKEY key_;
};

}  // namespace vantra::settings
