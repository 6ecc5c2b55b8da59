// Conversion between the UTF-8 of hosts and documents and the UTF-16 of the platform.
#pragma once

#include <string>
#include <string_view>

namespace vantra::util {

// The text up to its first NUL; empty on failure.
[[nodiscard]] std::string ToUtf8(const std::wstring& text);

// The whole text, embedded NULs included. Invalid bytes become U+FFFD. Empty on failure.
[[nodiscard]] std::wstring FromUtf8(std::string_view text);

}  // namespace vantra::util
