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

// Ones in the last bytes of the block, so many of them, zeros before.
__m128i LastBytes(size_t count) noexcept {
  const __m128i place = _mm_set_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
  return _mm_cmplt_epi8(place, _mm_set1_epi8(static_cast<char>(count)));
}

}  // namespace

void Obfuscate(std::span<char> text) noexcept {
  char* at = text.data();
  char* const end = at + text.size();
  const __m128i last =
      text.size() < util::kBlock ? _mm_setzero_si128() : util::LoadWholeBlock(end - util::kBlock);
  for (; end - at >= static_cast<ptrdiff_t>(util::kBlock); at += util::kBlock) {
    const __m128i block = util::LoadWholeBlock(at);
    if (util::FindNul(block) != 0) break;
    util::StoreBlock(at, Rotated(block));
  }
  const auto left = static_cast<size_t>(end - at);
  if (left < util::kBlock && util::FindNul(last) == 0) {
    // The bytes before those that are left are rotated already.
    const __m128i mask = LastBytes(left);
    const __m128i done = util::LoadWholeBlock(end - util::kBlock);
    util::StoreBlock(end - util::kBlock,
                     _mm_or_si128(_mm_and_si128(mask, Rotated(last)), _mm_andnot_si128(mask, done)));
    return;
  }
  for (; at != end && *at != '\0'; ++at) *at = Rotated(*at);
}

}  // namespace vantra::session
