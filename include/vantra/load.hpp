/**
 * Loads Vantra at run time, so that a host also starts where it is missing. Includes windows.h; needs no
 * import library.
 *
 *     const vantra::Library library = vantra::Load();  // then as with a linked one
 */
#ifndef VANTRA_LOAD_HPP
#define VANTRA_LOAD_HPP

#include <windows.h>

#include <vantra/vantra.hpp>

namespace vantra {

/**
 * Loads the library, which then stays loaded until the process ends. Any thread may call this.
 *
 * @param path  A file name, which is looked for only beside the host's executable and in the system folder;
 *              or a full path, for example for a plug-in.
 * @return The library. It is not present if the file is missing, cannot be loaded or lacks a function that
 *         vantra::Library needs.
 */
[[nodiscard]] inline Library Load(const wchar_t* path = L"Vantra.dll") noexcept {
  const HMODULE module =
      LoadLibraryExW(path, nullptr, LOAD_LIBRARY_SEARCH_APPLICATION_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32);
  return Library([module](const char* name) { return module ? GetProcAddress(module, name) : nullptr; });
}

}  // namespace vantra

#endif
