// Libraries of the platform that are not imported: the loader might find an import beside the host, or not at
// all.
#pragma once

#include "util/UniqueHandle.h"

namespace vantra::util {

// Loaded from the system folder alone, as long as this lives: a file of that name anywhere else is nobody's
// business.
class SystemModule {
 public:
  explicit SystemModule(const wchar_t* name) noexcept
      : module_(LoadLibraryExW(name, nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32)) {}

  // Null when the function or the whole module is not there.
  template <class Function>
  [[nodiscard]] Function Find(const char* name) const noexcept {
    if (!module_) return nullptr;
    return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module_.Get(), name)));
  }

 private:
  UniqueModule module_;
};

}  // namespace vantra::util
