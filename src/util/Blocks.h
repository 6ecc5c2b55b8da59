// Short texts in blocks of sixteen bytes. A host's text is a handful of bytes between two system calls, where
// every branch is a cold one: one load and one mask beat any loop over bytes, and the C runtime's calls.
//
// Blocks may reach beyond the text, but only where a byte of the text shares their page, so that nothing is
// touched that is not as readable as the text itself.
#pragma once

#include <emmintrin.h>

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace vantra::util {

constexpr size_t kBlock = 16;

// Whether the block at that place may be loaded whole, however short the text there is.
[[nodiscard]] inline bool IsBlockReadable(const char* text) noexcept {
  constexpr uintptr_t kPage = 4096;
  return reinterpret_cast<uintptr_t>(text) % kPage <= kPage - kBlock;
}

// A block that is readable, or whole within its text. The address sanitizer knows no pages.
[[nodiscard, gnu::no_sanitize_address]] inline __m128i LoadWholeBlock(const char* text) noexcept {
  asm("" : "+r"(text));  // or the compiler holds the read against the size of an object that it knows
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
}

[[nodiscard, gnu::cold, gnu::noinline]] inline __m128i LoadEndOfPage(const char* text, size_t size) noexcept {
  alignas(kBlock) char copy[kBlock];
  std::memcpy(copy, text, size);
  return _mm_load_si128(reinterpret_cast<const __m128i*>(copy));
}

// The first bytes of a text of the given size, which is not zero; what follows them in the block is
// unspecified.
[[nodiscard]] inline __m128i LoadBlock(const char* text, size_t size) noexcept {
  return size >= kBlock || IsBlockReadable(text) ? LoadWholeBlock(text) : LoadEndOfPage(text, size);
}

inline void StoreBlock(char* to, __m128i block) noexcept {
  _mm_storeu_si128(reinterpret_cast<__m128i*>(to), block);
}

// One bit for each byte of the text, for a mask that was made of LoadBlock's result.
[[nodiscard]] inline unsigned TextBits(size_t size) noexcept {
  return size >= kBlock ? 0xFFFFu : (1u << size) - 1;
}

// A byte mask as one bit a byte.
[[nodiscard]] inline unsigned Bits(__m128i mask) noexcept {
  return static_cast<unsigned>(_mm_movemask_epi8(mask));
}

// One bit for each byte of the block that is NUL.
[[nodiscard]] inline unsigned FindNul(__m128i block) noexcept {
  return Bits(_mm_cmpeq_epi8(block, _mm_setzero_si128()));
}

// Copies the text; up to a block more is written behind it.
inline char* CopyBlocks(char* to, const char* text, size_t size) noexcept {
  for (size_t done = 0; done < size; done += kBlock)
    StoreBlock(to + done, LoadBlock(text + done, size - done));
  return to + size;
}

// Copies a text of a block or more, or one whose block is readable; up to a block more is written behind it.
inline char* CopyWhole(char* to, const char* text, size_t size) noexcept {
  StoreBlock(to, LoadWholeBlock(text));
  if (size > kBlock) {
    const size_t last = size - kBlock;
    for (size_t done = kBlock; done < last; done += kBlock)
      StoreBlock(to + done, LoadWholeBlock(text + done));
    StoreBlock(to + last, LoadWholeBlock(text + last));
  }
  return to + size;
}

[[nodiscard]] inline bool SameBytes(const char* a, const char* b, size_t size) noexcept {
  for (size_t done = 0; done < size; done += kBlock) {
    const __m128i equal = _mm_cmpeq_epi8(LoadBlock(a + done, size - done), LoadBlock(b + done, size - done));
    if ((~Bits(equal) & TextBits(size - done)) != 0) return false;
  }
  return true;
}

// The length of a text up to its first NUL, or limit when that comes first. Reads nothing at a limit of zero.
[[nodiscard, gnu::no_sanitize_address]] inline size_t BoundedLength(const char* text, size_t limit) noexcept {
  if (limit == 0) return 0;
  // Aligned blocks never cross a page.
  const size_t before = reinterpret_cast<uintptr_t>(text) % kBlock;
  const auto* block = reinterpret_cast<const __m128i*>(text - before);
  unsigned found = FindNul(_mm_load_si128(block)) >> before;
  size_t length = 0;
  for (size_t next = kBlock - before; found == 0; next += kBlock) {
    length = next;
    if (length >= limit) return limit;
    found = FindNul(_mm_load_si128(++block));
  }
  return std::min(limit, length + static_cast<size_t>(std::countr_zero(found)));
}

}  // namespace vantra::util
