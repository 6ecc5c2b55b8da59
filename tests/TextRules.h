// The rules of texts, told once more and plainly: what is refused, cut, repaired and escaped. Knows nothing
// of the library.
#pragma once

#include <algorithm>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace vantra::test {

using Text = std::optional<std::string>;  // none for NULL

struct Rule {
  size_t limit;
  bool isIdentifier = false, mayBeMissing = false, mayHoldBackslash = true, isName = false;
};
inline constexpr Rule kIdentifier{128, true}, kUsageKey{64, false, false, false}, kDemographicKey{64};
inline constexpr Rule kOptional128{128, false, true}, kOptional512{512, false, true}, kNeeded512{512};

inline bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

struct Checked {
  std::string value;
  bool isRefused = false, isCut = false;
};

inline Checked Check(const Text& text, const Rule& rule) {
  if (!text || text->empty()) {
    if (rule.mayBeMissing) return {"NOVALUE"};
    return {text ? "SK_STR_EMPTY" : "SK_STR_NULL", true};
  }
  if (!rule.mayHoldBackslash && text->find('\\') != text->npos) return {*text, true};
  const std::string whole = (rule.isIdentifier && !IsLetter(text->front()) ? "SK_" : "") + *text;
  std::string value = whole.substr(0, rule.limit);
  const auto isBad = [&](char c) {
    return !IsLetter(c) && !(c >= '0' && c <= '9') && (rule.isIdentifier || (rule.isName && c != ' '));
  };
  std::ranges::replace_if(value, isBad, '_');
  return {value, false, value.size() < whole.size()};
}

inline std::string Escaped(std::string_view text) {
  static const std::map<char, std::string> kReferences = {{'&', "&#38;"}, {'<', "&#60;"},  {'>', "&#62;"},
                                                          {'"', "&#34;"}, {'\'', "&#39;"}, {'\\', "&#92;"}};
  std::string escaped;
  for (const char c : text) escaped += kReferences.contains(c) ? kReferences.at(c) : std::string(1, c);
  return escaped.empty() ? "NOVALUE" : escaped;
}

}  // namespace vantra::test
