// Scans of bytes in blocks of sixteen. All the library's vector code is here, each scan with a plain twin.
//
// Texts are short and stand between system calls, where every branch is cold: a load and a mask are faster
// than a loop over bytes. A block may reach beyond its text, but only within a page that holds a byte of it.
#pragma once

#include <emmintrin.h>

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

#include "util/Ascii.h"

namespace vantra::util {

using Block = __m128i;
constexpr size_t kBlock = 16;

// Hides the pointer's origin; otherwise GCC warns about reading 16 bytes of a smaller object.
[[nodiscard]] inline const char* HideOrigin(const char* text) noexcept {
  asm("" : "+r"(text));
  return text;
}

// Reads sixteen bytes, some perhaps beyond the object; the address sanitizer would report those.
[[nodiscard, gnu::no_sanitize_address]] inline Block LoadHidden(const char* text) noexcept {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
}

// The same for a pointer of any origin. The caller makes sure that sixteen bytes are readable.
[[nodiscard]] inline Block LoadWholeBlock(const char* text) noexcept { return LoadHidden(HideOrigin(text)); }

// Whether sixteen bytes can be read from here, given that the first one can.
[[nodiscard]] inline bool IsBlockReadable(const char* text) noexcept {
  constexpr uintptr_t kPage = 4096;
  return reinterpret_cast<uintptr_t>(text) % kPage <= kPage - kBlock;
}

[[nodiscard, gnu::cold, gnu::noinline]] inline Block LoadEndOfPage(const char* text, size_t size) noexcept {
  alignas(kBlock) char copy[kBlock];
  std::memcpy(copy, text, size);
  return _mm_load_si128(reinterpret_cast<const __m128i*>(copy));
}

// The first block of a text whose size is not zero. If the text is shorter, the bytes after it are arbitrary.
[[nodiscard]] inline Block LoadBlock(const char* text, size_t size) noexcept {
  return size >= kBlock || IsBlockReadable(text) ? LoadWholeBlock(text) : LoadEndOfPage(text, size);
}

inline void StoreBlock(char* to, Block block) noexcept {
  _mm_storeu_si128(reinterpret_cast<__m128i*>(to), block);
}

// Classes of bytes. Has tests one byte; its vector twin Mark sets all bits of each byte that belongs to the
// class and clears the others.

template <char kByte>
struct Byte {
  [[nodiscard]] static constexpr bool Has(char c) noexcept { return c == kByte; }
  [[nodiscard]] static Block Mark(Block block) noexcept {
    return _mm_cmpeq_epi8(block, _mm_set1_epi8(kByte));
  }
};
using Nul = Byte<'\0'>;

// Two bytes that differ in a single bit.
template <char kOne, char kOther>
struct BytePair {
  static_assert(std::has_single_bit(static_cast<unsigned char>(kOne ^ kOther)));
  [[nodiscard]] static constexpr bool Has(char c) noexcept { return c == kOne || c == kOther; }
  [[nodiscard]] static Block Mark(Block block) noexcept {
    return Byte<kOne & kOther>::Mark(_mm_andnot_si128(_mm_set1_epi8(kOne ^ kOther), block));
  }
};

template <char kFirst, char kLast>
struct ByteRange {
  [[nodiscard]] static constexpr bool Has(char c) noexcept { return c >= kFirst && c <= kLast; }
  [[nodiscard]] static Block Mark(Block block) noexcept {
    const Block offset = _mm_sub_epi8(block, _mm_set1_epi8(kFirst));
    return _mm_cmpeq_epi8(_mm_min_epu8(offset, _mm_set1_epi8(kLast - kFirst)), offset);
  }
};

struct AsciiLetter {
  [[nodiscard]] static constexpr bool Has(char c) noexcept { return IsAsciiLetter(c); }
  [[nodiscard]] static Block Mark(Block block) noexcept {
    return ByteRange<'a', 'z'>::Mark(_mm_or_si128(block, _mm_set1_epi8('a' - 'A')));
  }
};

// Control characters below the space, and bytes of 128 and above.
struct ControlOrNotAscii {
  [[nodiscard]] static constexpr bool Has(char c) noexcept { return static_cast<signed char>(c) < ' '; }
  [[nodiscard]] static Block Mark(Block block) noexcept { return _mm_cmplt_epi8(block, _mm_set1_epi8(' ')); }
};

template <class First, class... Others>
struct AnyOf {
  [[nodiscard]] static constexpr bool Has(char c) noexcept {
    return First::Has(c) || (Others::Has(c) || ...);
  }
  [[nodiscard]] static Block Mark(Block block) noexcept {
    Block marks = First::Mark(block);
    ((marks = _mm_or_si128(marks, Others::Mark(block))), ...);
    return marks;
  }
};

constexpr unsigned kAllBits = (1U << kBlock) - 1;

// Marks each byte that equals the wanted one under its mask.
[[nodiscard]] inline Block MarkUnderMask(Block block, Block mask, Block wanted) noexcept {
  return _mm_cmpeq_epi8(_mm_and_si128(block, mask), wanted);
}

// The marks that are not among the others.
[[nodiscard]] inline Block Without(Block marks, Block others) noexcept {
  return _mm_andnot_si128(others, marks);
}

// One bit for each byte of a mark.
[[nodiscard]] inline unsigned Bits(Block mark) noexcept {
  return static_cast<unsigned>(_mm_movemask_epi8(mark));
}

// One bit for each byte of the block that belongs to the class.
template <class Class>
[[nodiscard]] unsigned Find(Block block) noexcept {
  return Bits(Class::Mark(block));
}

// One bit for each position where both blocks are equal.
[[nodiscard]] inline unsigned FindSame(Block a, Block b) noexcept { return Bits(_mm_cmpeq_epi8(a, b)); }

// One bit for each byte of LoadBlock's result that belongs to the text.
[[nodiscard]] inline unsigned TextBits(size_t size) noexcept {
  return size >= kBlock ? kAllBits : (1U << size) - 1;
}

// The index of the first byte that belongs to the class, at most limit. Bytes after the first match, and from
// limit on, need not be readable; with a limit of zero nothing is read.
template <class Class>
[[nodiscard, gnu::no_sanitize_address]] size_t FindFirst(const char* text, size_t limit) noexcept {
  if (limit == 0) return 0;
  // Aligned blocks never cross a page.
  const size_t before = reinterpret_cast<uintptr_t>(text) % kBlock;
  const auto* block = reinterpret_cast<const __m128i*>(text - before);
  unsigned found = Find<Class>(_mm_load_si128(block)) >> before;
  size_t place = 0;
  for (size_t next = kBlock - before; found == 0; next += kBlock) {
    place = next;
    if (place >= limit) return limit;
    found = Find<Class>(_mm_load_si128(++block));
  }
  return std::min(limit, place + static_cast<size_t>(std::countr_zero(found)));
}

// The length of a text up to its first NUL, at most limit.
[[nodiscard]] inline size_t BoundedLength(const char* text, size_t limit) noexcept {
  return FindFirst<Nul>(text, limit);
}

template <class Class>
[[nodiscard]] bool HasOnly(std::string_view text) noexcept {
  for (; !text.empty(); text.remove_prefix(std::min(kBlock, text.size()))) {
    if ((~Find<Class>(LoadBlock(text.data(), text.size())) & TextBits(text.size())) != 0) return false;
  }
  return true;
}

[[nodiscard]] inline bool SameBytes(const char* a, const char* b, size_t size) noexcept {
  for (size_t done = 0; done < size; done += kBlock) {
    const unsigned same = FindSame(LoadBlock(a + done, size - done), LoadBlock(b + done, size - done));
    if ((~same & TextBits(size - done)) != 0) return false;
  }
  return true;
}

// Rotates the characters '!' to '~' by half their number, which is its own inverse. Other bytes stay.
constexpr char kFirstRotated = '!';
constexpr char kRotatedCount = '~' - '!' + 1;
constexpr char kHalfRotated = kRotatedCount / 2;

[[nodiscard]] constexpr char Rotated(char c) noexcept {
  const auto offset = static_cast<unsigned char>(c - kFirstRotated);
  if (offset >= kRotatedCount) return c;
  return static_cast<char>(offset < kHalfRotated ? c + kHalfRotated : c - kHalfRotated);
}

[[nodiscard]] inline Block Rotated(Block block) noexcept {
  // Adding one makes the signed comparison fail for every byte outside the range: those up to the space are
  // too small, and those from 0x7f on become negative or zero.
  const Block shifted = _mm_add_epi8(block, _mm_set1_epi8(1));
  const auto isFrom = [shifted](char first) { return _mm_cmpgt_epi8(shifted, _mm_set1_epi8(first)); };
  // All characters move up by half; those of the upper half also down by the whole count.
  const Block up = _mm_and_si128(isFrom(kFirstRotated), _mm_set1_epi8(kHalfRotated));
  const Block down = _mm_and_si128(isFrom(kFirstRotated + kHalfRotated), _mm_set1_epi8(kRotatedCount));
  return _mm_add_epi8(block, _mm_sub_epi8(up, down));
}

// Rotates every byte. Returns whether any was NUL.
inline bool Rotate(std::span<char> text) noexcept {
  if (text.size() < kBlock) {
    const bool hasNul = std::ranges::any_of(text, Nul::Has);
    for (char& c : text) c = Rotated(c);
    return hasNul;
  }
  // The last block may overlap the one before it, so it is loaded first.
  char* const lastBlock = text.data() + text.size() - kBlock;
  const Block last = LoadWholeBlock(lastBlock);
  Block least = last;
  for (char* at = text.data(); at < lastBlock; at += kBlock) {
    const Block block = LoadWholeBlock(at);
    least = _mm_min_epu8(least, block);
    StoreBlock(at, Rotated(block));
  }
  StoreBlock(lastBlock, Rotated(last));
  return Find<Nul>(least) != 0;
}

[[nodiscard]] constexpr char HexDigit(unsigned nibble) noexcept {
  return static_cast<char>(nibble < 10 ? '0' + nibble : 'a' + nibble - 10);
}

// Writes sixteen bytes as lower-case hexadecimal digits.
inline void WriteHex(const uint8_t (&bytes)[kBlock], char (&to)[2 * kBlock]) noexcept {
  const Block lowNibble = _mm_set1_epi8(15);
  const auto hexDigits = [](Block nibbles) {
    const Block isLetter = _mm_cmpgt_epi8(nibbles, _mm_set1_epi8(9));
    const Block first = _mm_and_si128(isLetter, _mm_set1_epi8('a' - '9' - 1));
    return _mm_add_epi8(_mm_add_epi8(_mm_set1_epi8('0'), first), nibbles);
  };
  const Block block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
  const Block high = _mm_and_si128(_mm_srli_epi16(block, 4), lowNibble);
  const Block low = _mm_and_si128(block, lowNibble);
  StoreBlock(to, hexDigits(_mm_unpacklo_epi8(high, low)));
  StoreBlock(to + kBlock, hexDigits(_mm_unpackhi_epi8(high, low)));
}

}  // namespace vantra::util
