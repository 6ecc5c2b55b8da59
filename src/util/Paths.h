// Path texts. Nothing here asks the file system.
#pragma once

#include <string>
#include <string_view>

namespace vantra::util {

// An empty path becomes a lone backslash.
[[nodiscard]] std::wstring WithTrailingBackslash(std::wstring_view path);

// The text before the last backslash; a path without one is kept whole.
[[nodiscard]] std::wstring ParentFolder(std::wstring_view path);

// Folder and name with exactly one backslash added where the folder ends in none; an empty folder gives an
// empty path, never a bare name.
[[nodiscard]] std::wstring JoinPath(std::wstring_view folder, std::wstring_view name);

}  // namespace vantra::util
