#include "api/Validation.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

#include "util/Ascii.h"
#include "util/Blocks.h"

namespace vantra::api {
namespace {

constexpr std::string_view kPrefix = "SK_";

constexpr std::array<bool, 256> kIdentifierBytes = []() {
  std::array<bool, 256> allowed{};
  for (size_t i = 0; i < allowed.size(); ++i) {
    const char c = static_cast<char>(i);
    allowed[i] = util::IsAsciiLetter(c) || util::IsAsciiDigit(c) || c == '_';
  }
  return allowed;
}();

constexpr bool IsIdentifierByte(char c) noexcept { return kIdentifierBytes[static_cast<unsigned char>(c)]; }

// Whether these bytes of an identifier may stay as they are: letters, digits and underscores.
bool IsIdentifierBlock(__m128i block, size_t size) noexcept {
  const auto isWithin = [](__m128i bytes, char first, char count) {
    const __m128i offset = _mm_sub_epi8(bytes, _mm_set1_epi8(first));
    return _mm_cmpeq_epi8(_mm_min_epu8(offset, _mm_set1_epi8(static_cast<char>(count - 1))), offset);
  };
  const __m128i isLetter = isWithin(_mm_or_si128(block, _mm_set1_epi8('a' - 'A')), 'a', 26);
  const __m128i isDigit = isWithin(block, '0', 10);
  const __m128i isUnderscore = _mm_cmpeq_epi8(block, _mm_set1_epi8('_'));
  const unsigned allowed = util::Bits(_mm_or_si128(isLetter, _mm_or_si128(isDigit, isUnderscore)));
  return (~allowed & util::TextBits(size)) == 0;
}

bool IsIdentifierText(const char* text, size_t size) noexcept {
  for (size_t done = 0; done < size; done += util::kBlock) {
    if (!IsIdentifierBlock(util::LoadBlock(text + done, size - done), size - done)) return false;
  }
  return true;
}

}  // namespace

// Most texts are short and right: one block tells.
inline bool CheckedText::AcceptShort(const char* text, const TextCheck& check) noexcept {
  if (text == nullptr || check.isBackslashRefused || !util::IsBlockReadable(text)) return false;
  const __m128i block = util::LoadWholeBlock(text);
  const unsigned ends = util::Bits(_mm_cmpeq_epi8(block, _mm_setzero_si128()));
  if (ends == 0 || (ends & 1) != 0) return false;
  const auto size = static_cast<size_t>(std::countr_zero(ends));
  if (check.rule != TextRule::kLimit && (check.rule != TextRule::kIdentifier || !util::IsAsciiLetter(*text) ||
                                         !IsIdentifierBlock(block, size))) {
    return false;
  }
  value_ = {text, size};
  return true;
}

inline void CheckedText::ApplyLimit(const char* text, size_t limit) noexcept {
  const size_t length = util::BoundedLength(text, limit + 1);
  value_ = {text, std::min(length, limit)};
  if (length > limit) code_ = TextCode::kCut;
}

inline void CheckedText::ApplyIdentifier(const char* text, size_t limit) noexcept {
  const std::string_view prefix = util::IsAsciiLetter(*text) ? std::string_view() : kPrefix;
  size_t length = util::BoundedLength(text, limit + 1);
  if (prefix.empty() && length <= limit && IsIdentifierText(text, length)) {
    value_ = {text, length};
    return;
  }
  if (prefix.size() + length > limit) code_ = TextCode::kCut;
  length = std::min(length, limit - prefix.size());
  prefix.copy(repaired_, prefix.size());
  std::transform(text, text + length, repaired_ + prefix.size(),
                 [](char c) { return IsIdentifierByte(c) ? c : '_'; });
  value_ = {repaired_, prefix.size() + length};
}

inline void CheckedText::ApplyName(const char* text, size_t limit) noexcept {
  const size_t length = util::BoundedLength(text, limit + 1);
  if (length > limit) code_ = TextCode::kCut;
  const size_t kept = std::min(length, limit);
  std::transform(text, text + kept, repaired_,
                 [](char c) { return IsIdentifierByte(c) || c == ' ' ? c : '_'; });
  value_ = {repaired_, kept};
}

CheckedText::CheckedText(const char* text, const TextCheck& check) noexcept {
  if (!AcceptShort(text, check)) Apply(text, check);
}

void CheckedText::Apply(const char* text, const TextCheck& check) noexcept {
  if (text == nullptr) {
    value_ = check.isNullAllowed ? kNoValue : kNullText;
    code_ = check.isNullAllowed ? TextCode::kAccepted : TextCode::kNullRefused;
  } else if (*text == '\0') {
    value_ = check.isEmptyAllowed ? kNoValue : kEmptyText;
    code_ = check.isEmptyAllowed ? TextCode::kAccepted : TextCode::kEmptyRefused;
  } else if (check.isBackslashRefused && std::strchr(text, '\\') != nullptr) {
    value_ = text;
    code_ = TextCode::kBackslashRefused;
  } else {
    switch (check.rule) {
      case TextRule::kNone:
        value_ = text;
        break;
      case TextRule::kLimit:
        ApplyLimit(text, check.limit);
        break;
      case TextRule::kIdentifier:
        ApplyIdentifier(text, check.limit);
        break;
      case TextRule::kName:
        ApplyName(text, check.limit);
        break;
    }
  }
}

}  // namespace vantra::api
