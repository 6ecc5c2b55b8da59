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
  const __m128i offset = _mm_sub_epi8(block, _mm_set1_epi8(kFirst));
  const auto isBelow = [offset](char count) {
    return _mm_cmpeq_epi8(_mm_min_epu8(offset, _mm_set1_epi8(static_cast<char>(count - 1))), offset);
  };
  // Up by half, but down by half in the upper half, which is up by half less the whole count.
  const __m128i up = _mm_and_si128(isBelow(kCount), _mm_set1_epi8(kHalf));
  const __m128i down =
      _mm_andnot_si128(isBelow(kHalf), _mm_and_si128(isBelow(kCount), _mm_set1_epi8(kCount)));
  return _mm_add_epi8(block, _mm_sub_epi8(up, down));
}

}  // namespace

void Obfuscate(std::span<char> text) noexcept {
  char* at = text.data();
  char* const end = at + text.size();
  for (; end - at >= static_cast<ptrdiff_t>(util::kBlock); at += util::kBlock) {
    const __m128i block = util::LoadBlock(at, util::kBlock);
    if (util::Bits(_mm_cmpeq_epi8(block, _mm_setzero_si128())) != 0) break;
    util::StoreBlock(at, Rotated(block));
  }
  for (; at != end && *at != '\0'; ++at) *at = Rotated(*at);
}

}  // namespace vantra::session
