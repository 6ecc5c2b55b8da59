// Character classes and case of ASCII, independent of the host's locale.
#pragma once

#include <string>
#include <string_view>

namespace vantra::util {

[[nodiscard]] constexpr bool IsAsciiLetter(char c) noexcept {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

[[nodiscard]] constexpr bool IsAsciiDigit(char c) noexcept { return c >= '0' && c <= '9'; }

// Removes space, tab, carriage return and line feed at both ends.
[[nodiscard]] constexpr std::string_view Trim(std::string_view text) noexcept {
  constexpr std::string_view kBlank = " \t\r\n";
  const size_t first = text.find_first_not_of(kBlank);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlank) - first + 1);
}

[[nodiscard]] inline std::string ToLowerAscii(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return lower;
}

}  // namespace vantra::util
