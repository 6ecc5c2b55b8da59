// Text that goes into an attribute of a document and is escaped where it has to be.
#pragma once

#include <emmintrin.h>

#include <concepts>
#include <cstddef>
#include <string_view>

#include "util/Blocks.h"
#include "util/TextBuffer.h"

namespace vantra::session {

// Any text of a caller, to which it refers; or one that has been looked at before and is plain: not empty,
// nothing in it special, and copied as it is.
struct FreeText {
  constexpr FreeText() noexcept = default;
  // NOLINTBEGIN(google-explicit-constructor): a record is given any text.
  template <std::convertible_to<std::string_view> Text>
  constexpr FreeText(const Text& any) noexcept : text(any) {}
  constexpr FreeText(const util::Whole& plain) noexcept : text(plain.text), isPlain(true) {}
  // NOLINTEND(google-explicit-constructor)

  std::string_view text;
  bool isPlain = false;
};

// Marks each byte of the block that is one of & < > " ' \ .
[[nodiscard]] inline __m128i MarkMarkup(__m128i block) noexcept {
  const auto isOneOf = [block](char c, char ignoredBit) {
    const __m128i compared = ignoredBit == 0 ? block : _mm_andnot_si128(_mm_set1_epi8(ignoredBit), block);
    return _mm_cmpeq_epi8(compared, _mm_set1_epi8(c));
  };
  static_assert(('&' | 1) == '\'' && ('<' | 2) == '>');
  const __m128i quotes = _mm_or_si128(isOneOf('"', 0), isOneOf('\\', 0));
  return _mm_or_si128(quotes, _mm_or_si128(isOneOf('&', 1), isOneOf('<', 2)));
}

// One bit for each byte of the block that is not written as it is: NUL, which ends a text, and markup.
[[nodiscard]] inline unsigned FindSpecial(__m128i block) noexcept {
  return util::Bits(_mm_or_si128(MarkMarkup(block), _mm_cmpeq_epi8(block, _mm_setzero_si128())));
}

// One bit for each byte of the block that a reader has to look at: markup, control characters, and what is
// not ASCII.
[[nodiscard]] inline unsigned FindUnordinary(__m128i block) noexcept {
  return util::Bits(_mm_or_si128(MarkMarkup(block), _mm_cmplt_epi8(block, _mm_set1_epi8(' '))));
}

}  // namespace vantra::session
