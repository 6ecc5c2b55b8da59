#include "Names.h"

#include "util/Ascii.h"

namespace vantra::catalogue {
namespace {

bool IsCapital(char c) noexcept { return c >= 'A' && c <= 'Z'; }
bool IsAlphanumeric(char c) noexcept { return util::IsAsciiLetter(c) || util::IsAsciiDigit(c); }
char Upper(char c) noexcept { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

}  // namespace

std::vector<std::string> WordsOf(std::string_view text) {
  std::vector<std::string> words;
  bool isNew = true;
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (!IsAlphanumeric(c)) {
      isNew = true;
      continue;
    }
    const char before = i == 0 ? '\0' : text[i - 1];
    const char after = i + 1 == text.size() ? '\0' : text[i + 1];
    // "blankLines", and "XMLFile" before its F.
    const bool isCapitalAfterSmall = IsCapital(c) && !IsCapital(before) && util::IsAsciiLetter(before);
    const bool isLastCapital =
        IsCapital(c) && IsCapital(before) && util::IsAsciiLetter(after) && !IsCapital(after);
    if (isNew || isCapitalAfterSmall || isLastCapital) words.emplace_back();
    words.back() += c;
    isNew = false;
  }
  for (std::string& word : words) word = util::ToLowerAscii(word);
  return words;
}

std::string JoinedWords(const std::vector<std::string_view>& texts) {
  std::string joined;
  for (const std::string_view text : texts) {
    for (const std::string& word : WordsOf(text)) joined.append(joined.empty() ? "" : " ").append(word);
  }
  return joined;
}

std::string Styled(std::string_view words, Style style) {
  std::string name;
  bool isNew = style == Style::Pascal;
  for (const char c : words) {
    if (c == ' ') {
      isNew = true;
      if (style == Style::Snake || style == Style::Upper) name += '_';
      continue;
    }
    const bool isUpper = style == Style::Upper || (isNew && style != Style::Snake);
    name += isUpper ? Upper(c) : c;
    isNew = false;
  }
  return name;
}

}  // namespace vantra::catalogue
