#include "util/Text.h"

#include <climits>

#include "util/Windows.h"

namespace vantra::util {

std::string ToUtf8(const std::wstring& text) {
  const int size = WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, nullptr, 0, nullptr, nullptr);
  if (size <= 1) return {};
  std::string narrow(static_cast<size_t>(size), '\0');
  if (WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, narrow.data(), size, nullptr, nullptr) == 0)
    return {};
  narrow.pop_back();
  return narrow;
}

std::wstring FromUtf8(std::string_view text) {
  if (text.empty() || text.size() > INT_MAX) return {};
  const int length = static_cast<int>(text.size());
  const int size = MultiByteToWideChar(CP_UTF8, 0, text.data(), length, nullptr, 0);
  if (size == 0) return {};
  std::wstring wide(static_cast<size_t>(size), L'\0');
  if (MultiByteToWideChar(CP_UTF8, 0, text.data(), length, wide.data(), size) == 0) return {};
  return wide;
}

}  // namespace vantra::util
