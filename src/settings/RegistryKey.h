// The registry operations that the library needs. Failures are not logged: the result says so.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "util/Windows.h"

namespace vantra::settings {

// Owns an open key and closes it. Predefined roots are held too, but not closed.
class RegistryKey {
 public:
  [[nodiscard]] static RegistryKey CurrentUser() noexcept { return RegistryKey(HKEY_CURRENT_USER); }
  [[nodiscard]] static RegistryKey LocalMachine() noexcept { return RegistryKey(HKEY_LOCAL_MACHINE); }

  // Makes this class read-only for the rest of the process: keys are opened but not created, and changes
  // fail. For programs that only inspect.
  static void ForbidChanges() noexcept;

  RegistryKey(RegistryKey&& other) noexcept : key_(std::exchange(other.key_, nullptr)) {}
  RegistryKey& operator=(RegistryKey&& other) noexcept {
    std::swap(key_, other.key_);
    return *this;
  }
  ~RegistryKey();

  // Move to a subkey: on success this object holds the subkey, on failure it keeps the current key. An empty
  // name fails.
  [[nodiscard]] bool CreateOrOpen(const std::wstring& subkey) noexcept;
  [[nodiscard]] bool Open(const std::wstring& subkey, REGSAM access) noexcept;

  // The value as text; a REG_DWORD as an unsigned decimal. Empty when it cannot be read or has more than 511
  // characters. An empty name is the key's default value.
  [[nodiscard]] std::optional<std::wstring> Query(const std::wstring& name) const;

  // An empty name fails.
  [[nodiscard]] bool SetText(const std::wstring& name, const std::wstring& text) const noexcept;
  [[nodiscard]] bool SetNumber(const std::wstring& name, DWORD number) const noexcept;

  bool DeleteValue(const std::wstring& name) const noexcept;
  // Deletes the subkey with everything below it.
  bool DeleteSubkey(const std::wstring& name) const noexcept;
  // Deletes the subkey unless it holds a value or a subkey; then false.
  bool DeleteEmptySubkey(const std::wstring& name) const noexcept;

  // Name and text of every value that Query can read, in the platform's order.
  [[nodiscard]] std::vector<std::pair<std::wstring, std::wstring>> ListValues() const;

 private:
  explicit RegistryKey(HKEY key) noexcept : key_(key) {}
  void MoveTo(HKEY key) noexcept;

  HKEY key_;
};

}  // namespace vantra::settings
