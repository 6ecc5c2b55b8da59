#include "Escape.h"

namespace vantra::catalogue {

std::string InC(std::string_view text) {
  std::string escaped;
  char before = '\0';
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '"' || c == '\\' || (c == '?' && before == '?')) {  // no trigraphs
      escaped.append({'\\', c});
    } else if (byte < ' ' || byte > '~') {
      const auto digit = [byte](int shift) { return static_cast<char>('0' + (byte >> shift & 7)); };
      escaped.append({'\\', digit(6), digit(3), digit(0)});
    } else {
      escaped += c;
    }
    before = c;
  }
  return escaped;
}

std::string InScript(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    if (c == '"' || c == '\\') escaped += '\\';
    escaped += c;
  }
  return escaped;
}

std::string InMarkdown(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    const std::string_view special = escaped.empty() ? "\\`*_[]<|~&#>-+=" : "\\`*_[]<|~&";
    if (special.find(c) != special.npos) escaped += '\\';
    escaped += c;
  }
  return escaped;
}

std::string InComment(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    const char before = escaped.empty() ? '\0' : escaped.back();
    if ((c == '/' && before == '*') || (c == '*' && before == '/')) escaped += ' ';
    escaped += c;
  }
  if (escaped.ends_with('\\')) escaped += ' ';
  return escaped;
}

}  // namespace vantra::catalogue
