#include "util/HostProcess.h"

#include "util/Paths.h"
#include "util/Windows.h"

namespace vantra::util {

std::wstring HostExecutablePath() {
  wchar_t path[MAX_PATH];
  const DWORD length = GetModuleFileNameW(nullptr, path, MAX_PATH);
  // A full buffer holds a cut path, which names another file.
  if (length >= MAX_PATH) return {};
  return std::wstring(path, length);
}

std::wstring HostFolder() { return ParentFolder(HostExecutablePath()); }

}  // namespace vantra::util
