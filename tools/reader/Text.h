// Free text as it stands in documents: where it ends, what it means, and what is wrong with it.
#pragma once

#include <emmintrin.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "util/Blocks.h"

namespace vantra::reader {

// So many bytes behind a text must be readable, and NUL, for the functions here that take no end: they look
// at whole blocks, and a NUL stops them.
constexpr size_t kPadding = 64;

// One bit for each byte of the block that is a digit, or a hexadecimal one in lower case.
[[nodiscard]] inline unsigned FindHexadecimal(__m128i block) noexcept {
  const auto isFromTo = [block](char first, char last) {
    return _mm_and_si128(_mm_cmpgt_epi8(block, _mm_set1_epi8(static_cast<char>(first - 1))),
                         _mm_cmplt_epi8(block, _mm_set1_epi8(static_cast<char>(last + 1))));
  };
  return util::Bits(_mm_or_si128(isFromTo('0', '9'), isFromTo('a', 'f')));
}

struct FreeScan {
  // The quote that ends the text, or the first byte that can be in none: one of < > ' \ NUL, or a & that
  // begins no reference.
  const char* end;
  uint8_t flaws;  // bits of Flaw
  bool isPlain;   // see Text
};
[[nodiscard]] FreeScan ScanFree(const char* at) noexcept;

// The size of the valid UTF-8 character at that place; zero when there is none, and then invalid is how many
// bytes U+FFFD stands for.
struct Character {
  uint8_t size;
  uint8_t invalid;
  bool isNoCharacter;  // U+FFFE or U+FFFF
};
[[nodiscard]] Character ReadCharacter(const char* at, const char* end) noexcept;

// The character that the reference at that place stands for, or NUL when there is no such reference. Looks at
// five bytes.
constexpr size_t kReferenceSize = 5;
[[nodiscard]] char ReadReference(const char* at) noexcept;

// Appends the host's text: references resolved, and U+FFFD in place of bytes that are no UTF-8.
void Unescape(std::string_view raw, std::string& out);

// Appends a text as it is but for bytes that are no UTF-8, which become U+FFFD.
void AppendUtf8(std::string_view text, std::string& out);

}  // namespace vantra::reader
