#include "session/Obfuscation.h"

#include "util/Blocks.h"

namespace vantra::session {
namespace {

constexpr char kFirst = '!';
constexpr char kCount = '~' - '!' + 1;
constexpr char kHalf = kCount / 2;

char Rotated(char c) noexcept {
  const auto offset = static_cast<unsigned char>(c - kFirst);
  if (offset >= kCount) return c;
  return static_cast<char>(offset < kHalf ? c + kHalf : c - kHalf);
}

__m128i Rotated(__m128i block) noexcept {
  // One up, so that all that is not printable compares as too small, 0x7f and what follows it as negative.
  const __m128i shifted = _mm_add_epi8(block, _mm_set1_epi8(1));
  const auto isFrom = [shifted](char first) { return _mm_cmpgt_epi8(shifted, _mm_set1_epi8(first)); };
  // Up by half, but down by half in the upper half, which is up by half less the whole count.
  const __m128i up = _mm_and_si128(isFrom(kFirst), _mm_set1_epi8(kHalf));
  const __m128i down = _mm_and_si128(isFrom(kFirst + kHalf), _mm_set1_epi8(kCount));
  return _mm_add_epi8(block, _mm_sub_epi8(up, down));
}

void RotateEach(std::span<char> text) noexcept {
  for (char& c : text) c = Rotated(c);
}

// Of a block or more, whose last block overlaps the one before it. Gives what is NUL where a NUL was.
__m128i RotateBlocks(std::span<char> text) noexcept {
  char* const lastBlock = text.data() + text.size() - util::kBlock;
  const __m128i last = util::LoadWholeBlock(lastBlock);
  __m128i least = last;
  for (char* at = text.data(); at < lastBlock; at += util::kBlock) {
    const __m128i block = util::LoadWholeBlock(at);
    least = _mm_min_epu8(least, block);
    util::StoreBlock(at, Rotated(block));
  }
  util::StoreBlock(lastBlock, Rotated(last));
  return least;
}

}  // namespace

void Obfuscate(std::span<char> text) noexcept {
  if (text.size() < util::kBlock) {
    RotateEach(text.first(util::BoundedLength(text.data(), text.size())));
  } else if (util::FindNul(RotateBlocks(text)) != 0) {
    // Rotated twice is not rotated.
    RotateEach(text.subspan(util::BoundedLength(text.data(), text.size())));
  }
}

void Rotate(std::span<char> text) noexcept {
  if (text.size() < util::kBlock) {
    RotateEach(text);
  } else {
    RotateBlocks(text);
  }
}

}  // namespace vantra::session
