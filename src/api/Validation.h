// The rules by which every text of a host is checked and, where possible, repaired. Pure.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "session/FreeText.h"
#include "util/Ascii.h"
#include "util/Blocks.h"

namespace vantra::api {

inline constexpr session::FreeText kNullText = "SK_STR_NULL";
inline constexpr session::FreeText kEmptyText = "SK_STR_EMPTY";
inline constexpr session::FreeText kInvalidText = "SK_INVALID_STRING";
inline constexpr session::FreeText kInvalidGroupId = "SK_INVALID_GROUPID";

// Most records carry one of these: each has a block of its own.
inline constexpr char kNoValueBlock[util::kBlock] = "NOVALUE";
inline constexpr char kNoDocumentBlock[util::kBlock] = "0";
inline constexpr session::FreeText kNoValue = util::Whole{kNoValueBlock};
inline constexpr session::FreeText kNoDocument = util::Whole{kNoDocumentBlock};

// What to ask of a text: the first of the rule bits in the order of this list, and any of the others.
enum TextFlag : uint32_t {
  kIdentifier = 0x1,
  kLimit128 = 0x2,
  kIdentifierToo = 0x4,
  kLimit512 = 0x8,
  kUsageKey = 0x10,  // also refuses a backslash anywhere
  kLimit128Too = 0x20,
  kLimit64 = 0x40,
  kLimit128Also = 0x80,
  kGroupName = 0x100,
  kName = 0x40000000,
  kLimit128Event = 0x40000,
  kLimit128Other = 0x20000,
  kNullAllowed = 0x2000000,
  kEmptyAllowed = 0x4000000,
};

enum class TextCode : int32_t {
  kAccepted = 0,
  kCut = 1,
  kNullRefused = 3,
  kEmptyRefused = 5,
  kBackslashRefused = 6,
};

enum class TextRule : uint8_t { kNone, kLimit, kIdentifier, kName };

// What a set of flags comes to.
struct TextCheck {
  TextRule rule = TextRule::kNone;
  uint16_t limit = 0;
  bool isBackslashRefused = false;
  bool isNullAllowed = false;
  bool isEmptyAllowed = false;
};

[[nodiscard]] constexpr TextCheck CheckFor(uint32_t flags) noexcept {
  struct Row {
    uint32_t flags;
    TextRule rule;
    uint16_t limit;
  };
  constexpr Row kRows[] = {
      {kIdentifier, TextRule::kIdentifier, 128},
      {kLimit128, TextRule::kLimit, 128},
      {kIdentifierToo, TextRule::kIdentifier, 128},
      {kLimit512, TextRule::kLimit, 512},
      {kUsageKey, TextRule::kLimit, 64},
      {kLimit128Too, TextRule::kLimit, 128},
      {kLimit64, TextRule::kLimit, 64},
      {kLimit128Also, TextRule::kLimit, 128},
      {kGroupName, TextRule::kIdentifier, 128},
      {kName, TextRule::kName, 64},
      {kLimit128Event | kLimit128Other, TextRule::kLimit, 128},
  };
  TextCheck check;
  for (const Row& row : kRows) {
    if ((flags & row.flags) != 0) {
      check.rule = row.rule;
      check.limit = row.limit;
      break;
    }
  }
  check.isBackslashRefused = (flags & kUsageKey) != 0;
  check.isNullAllowed = (flags & kNullAllowed) != 0;
  check.isEmptyAllowed = (flags & kEmptyAllowed) != 0;
  return check;
}

// One bit for each byte of the block that is no ASCII letter, digit or underscore.
[[nodiscard]] inline unsigned FindNonIdentifier(__m128i block) noexcept {
  const auto isWithin = [](__m128i bytes, char first, char count) {
    const __m128i offset = _mm_sub_epi8(bytes, _mm_set1_epi8(first));
    return _mm_cmpeq_epi8(_mm_min_epu8(offset, _mm_set1_epi8(static_cast<char>(count - 1))), offset);
  };
  const __m128i isLetter = isWithin(_mm_or_si128(block, _mm_set1_epi8('a' - 'A')), 'a', 26);
  const __m128i isDigit = isWithin(block, '0', 10);
  const __m128i isUnderscore = _mm_cmpeq_epi8(block, _mm_set1_epi8('_'));
  return util::Bits(_mm_or_si128(isLetter, _mm_or_si128(isDigit, isUnderscore))) ^ 0xFFFFu;
}

// A host's text after its check: the text itself, a repaired copy, or a sentinel. Never allocates. The value
// refers to the host's text or to this object.
class CheckedText {
 public:
  [[gnu::always_inline]] CheckedText(const char* text, const TextCheck& check) noexcept
      : value_(ShortText(text, check)) {
    if (!value_.isPlain) Apply(text, check);
  }
  CheckedText(const CheckedText&) = delete;
  CheckedText& operator=(const CheckedText&) = delete;

  [[nodiscard]] const session::FreeText& Value() const noexcept { return value_; }
  [[nodiscard]] TextCode Code() const noexcept { return code_; }
  [[nodiscard]] bool IsAccepted() const noexcept {
    return code_ == TextCode::kAccepted || code_ == TextCode::kCut;
  }

 private:
  static constexpr size_t kLongestRepaired = 128;

  // Most texts are short, right and plain: one block tells, in place. Anything else comes back empty.
  [[nodiscard, gnu::always_inline]] static session::FreeText ShortText(const char* text,
                                                                       const TextCheck& check) noexcept {
    const bool isIdentifier = check.rule == TextRule::kIdentifier;
    if (!isIdentifier && check.rule != TextRule::kLimit) return {};
    if (text == nullptr || !util::IsBlockReadable(text)) return {};
    const __m128i block = util::LoadWholeBlock(text);
    const unsigned others = isIdentifier ? FindNonIdentifier(block) : session::FindSpecial(block);
    const auto size = static_cast<size_t>(std::countr_zero(others | 1u << util::kBlock));
    if (size == 0 || size == util::kBlock || text[size] != '\0') return {};
    if (isIdentifier && !util::IsAsciiLetter(*text)) return {};
    return util::Whole{{text, size}};
  }
  [[gnu::noinline]] void Apply(const char* text, const TextCheck& check) noexcept;
  // A text that is not empty, and whether nothing in it is special.
  void Take(const char* text, size_t size, bool isPlain) noexcept;
  void ApplyLimit(const char* text, size_t limit) noexcept;
  void ApplyIdentifier(const char* text, size_t limit) noexcept;
  void ApplyName(const char* text, size_t limit) noexcept;

  session::FreeText value_;
  TextCode code_ = TextCode::kAccepted;
  char repaired_[kLongestRepaired];
};

// A document id as a host passes it: refused when its length is above 0x7fffffff; absent when the text is;
// else the bytes before its length and its first NUL.
struct CheckedDocumentId {
  bool isAccepted;
  std::string_view text;
};
[[nodiscard]] inline CheckedDocumentId CheckDocumentId(const char* text, uint32_t length) noexcept {
  constexpr uint32_t kLongest = 0x7fffffff;
  if (text == nullptr) return {true, {}};
  if (length > kLongest) return {false, {}};
  return {true, {text, util::BoundedLength(text, length)}};
}

// Whether a session whose last group is given has issued the id.
[[nodiscard]] constexpr bool IsGroupId(int32_t id, int32_t lastGroup) noexcept {
  return id >= 0 && id <= lastGroup;
}

[[nodiscard]] constexpr bool IsOptInValue(int32_t value) noexcept { return value >= -1 && value <= 1; }

}  // namespace vantra::api
