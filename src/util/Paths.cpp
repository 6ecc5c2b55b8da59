#include "util/Paths.h"

namespace vantra::util {

std::wstring WithTrailingBackslash(std::wstring_view path) {
  std::wstring result(path);
  if (!result.ends_with(L'\\')) result += L'\\';
  return result;
}

std::wstring ParentFolder(std::wstring_view path) {
  const size_t last = path.rfind(L'\\');
  return std::wstring(last == std::wstring_view::npos ? path : path.substr(0, last));
}

std::wstring JoinPath(std::wstring_view folder, std::wstring_view name) {
  if (folder.empty()) return {};
  return WithTrailingBackslash(folder).append(name);
}

}  // namespace vantra::util
