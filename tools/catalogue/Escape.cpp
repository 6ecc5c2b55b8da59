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
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    const std::string_view before = text.substr(0, i);
    const bool isWordEnd = i + 1 == text.size() || text[i + 1] == ' ';
    const bool isSpecial = std::string_view("\\`*_[]<|~&").find(c) != std::string_view::npos;
    // The beginning of a quotation, a list or an underline; the marks around a heading; "1. ".
    const bool isFirst = before.empty() && std::string_view(">-+=").find(c) != std::string_view::npos;
    const bool isMark = c == '#' && (before.empty() || before.back() == ' ');
    const bool isItem = (c == '.' || c == ')') && isWordEnd && !before.empty() &&
                        before.find_first_not_of("0123456789") == before.npos;
    if (isSpecial || isFirst || isMark || isItem) escaped += '\\';
    escaped += c;
  }
  return escaped;
}

std::string InComment(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    const char before = escaped.empty() ? '\0' : escaped.back();
    if ((c == '/' && before == '*') || (c == '*' && before == '/')) escaped += ' ';
    if (c == '@' && (before == '\0' || before == ' ')) escaped += '\\';  // no tag of TypeScript and others
    escaped += c;
  }
  if (escaped.ends_with('\\')) escaped += ' ';
  return escaped;
}

}  // namespace vantra::catalogue
