// Libraries of the platform that are looked up rather than imported: the loader might find an import beside
// the host, or not at all.
#pragma once

#include <iterator>
#include <string_view>

#include "util/UniqueHandle.h"

namespace vantra::util {

// A module of the system folder, loaded while this object lives. A file of the same name elsewhere is never
// loaded. The module is named by its full path, since an unpatched Windows 7 has no flag for that folder.
class SystemModule {
 public:
  explicit SystemModule(std::wstring_view name) noexcept {
    wchar_t path[2 * MAX_PATH];
    const UINT length = GetSystemDirectoryW(path, MAX_PATH);
    if (length == 0 || length + 1 + name.size() >= std::size(path)) return;
    path[length] = L'\\';
    path[length + 1 + name.copy(path + length + 1, name.size())] = L'\0';
    module_.Reset(LoadLibraryExW(path, nullptr, LOAD_WITH_ALTERED_SEARCH_PATH));
  }

  // Null when the function or the module is missing.
  template <class Function>
  [[nodiscard]] Function Find(const char* name) const noexcept {
    if (!module_) return nullptr;
    return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module_.Get(), name)));
  }

 private:
  UniqueModule module_;
};

}  // namespace vantra::util
