// Operations on the text of paths. None queries the file system.
#pragma once

#include <string>
#include <string_view>

namespace vantra::util {

// An empty path becomes a lone backslash.
[[nodiscard]] std::wstring WithTrailingBackslash(std::wstring_view path);

// The text before the last backslash; the whole path when there is none.
[[nodiscard]] std::wstring ParentFolder(std::wstring_view path);

// Folder and name, with a backslash between them if the folder does not end in one. An empty folder gives an
// empty path, never a bare name.
[[nodiscard]] std::wstring JoinPath(std::wstring_view folder, std::wstring_view name);

}  // namespace vantra::util
