/**
 * Vantra loaded at run time, so that a host starts without it. Includes windows.h; needs no import library.
 *
 *     const vantra::Library library = vantra::Load();  // and on as with a linked one
 */
#ifndef VANTRA_LOAD_HPP
#define VANTRA_LOAD_HPP

#include <windows.h>

#include <vantra/vantra.hpp>

namespace vantra {

/**
 * Loads the library. It stays loaded until the process ends, so no call and no session can outlive it.
 *
 * @param path  A file name, looked for beside the host's executable and in the system's folder only, or a
 *              full path (for a plug-in, say).
 * @return The library; not present when the file is missing, cannot be loaded or lacks a function
 *         of version 1.0.0.
 */
[[nodiscard]] inline Library Load(const wchar_t* path = L"Vantra.dll") noexcept {
  const HMODULE module =
      LoadLibraryExW(path, nullptr, LOAD_LIBRARY_SEARCH_APPLICATION_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32);
  return Library([module](const char* name) { return module ? GetProcAddress(module, name) : nullptr; });
}

}  // namespace vantra

#endif
