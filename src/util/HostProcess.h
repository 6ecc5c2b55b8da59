// The process that loaded the library.
#pragma once

#include <string>

namespace vantra::util {

// Full path of the host's executable; empty on failure, and when it has 260 characters or more.
[[nodiscard]] std::wstring HostExecutablePath();

// Folder of the host's executable, without a trailing backslash; empty when the path is.
[[nodiscard]] std::wstring HostFolder();

}  // namespace vantra::util
