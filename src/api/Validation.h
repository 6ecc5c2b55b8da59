// The rules by which a host's texts are checked and, where possible, repaired. Pure.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "session/FreeText.h"
#include "util/Ascii.h"
#include "util/BlockText.h"

namespace vantra::api {

inline constexpr session::FreeText kNullText = "SK_STR_NULL";
inline constexpr session::FreeText kEmptyText = "SK_STR_EMPTY";
inline constexpr session::FreeText kInvalidText = "SK_INVALID_STRING";
inline constexpr session::FreeText kInvalidGroupId = "SK_INVALID_GROUPID";

// Most records carry one of these two, so each stands in a block of its own and is copied with one load.
inline constexpr char kNoValueBlock[util::kBlock] = "NOVALUE";
inline constexpr char kNoDocumentBlock[util::kBlock] = "0";
inline constexpr auto kNoValue = session::FreeText::Plain(util::BlockText(kNoValueBlock));
inline constexpr auto kNoDocument = session::FreeText::Plain(util::BlockText(kNoDocumentBlock));

// Check flags. The first rule bit set, in this order, selects the rule; the rest are modifiers.
// The bits and their meanings are fixed; those that no argument uses stay reserved.
enum TextFlag : uint32_t {
  kKey = 0x1,
  kLabel = 0x2,
  kUnusedIdentifier = 0x4,
  kValue = 0x8,
  kUsageKey = 0x10,  // also refuses a backslash anywhere
  kUnusedLimit = 0x20,
  kDemographicKey = 0x40,
  kDemographicValue = 0x80,
  kGroupName = 0x100,
  kUnusedName = 0x40000000,
  kEventName = 0x40000,
  kUnusedEventName = 0x20000,
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

// The rule and modifiers that a set of flags selects.
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
      {kKey, TextRule::kIdentifier, 128},
      {kLabel, TextRule::kLimit, 128},
      {kUnusedIdentifier, TextRule::kIdentifier, 128},
      {kValue, TextRule::kLimit, 512},
      {kUsageKey, TextRule::kLimit, 64},
      {kUnusedLimit, TextRule::kLimit, 128},
      {kDemographicKey, TextRule::kLimit, 64},
      {kDemographicValue, TextRule::kLimit, 128},
      {kGroupName, TextRule::kIdentifier, 128},
      {kUnusedName, TextRule::kName, 64},
      {kEventName | kUnusedEventName, TextRule::kLimit, 128},
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

using IdentifierByte = util::AnyOf<util::AsciiLetter, util::ByteRange<'0', '9'>, util::Byte<'_'>>;

// A host's text after its check: the text itself, a repaired copy, or a sentinel. The value refers to the
// host's text, to this object or to a constant. Never allocates.
class CheckedText {
 public:
  [[gnu::always_inline]] CheckedText(const char* text, const TextCheck& check) noexcept
      : value_(ShortText(text, check)) {
    if (!value_.AsPlain()) Apply(text, check);
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

  // The common case, decided inline: a text shorter than a block that needs neither repair nor escaping.
  // Empty for any other text, which Apply then checks.
  [[nodiscard, gnu::always_inline]] static session::FreeText ShortText(const char* text,
                                                                       const TextCheck& check) noexcept {
    const bool isIdentifier = check.rule == TextRule::kIdentifier;
    if (!isIdentifier && check.rule != TextRule::kLimit) return {};
    // One byte, the NUL if no other, is always readable.
    const auto start = text == nullptr ? std::nullopt : util::BlockText::Of({text, 1});
    if (!start) return {};
    const unsigned stops = isIdentifier ? util::Find<IdentifierByte>(start->First()) ^ util::kAllBits
                                        : util::Find<session::MarkupOrNul>(start->First());
    const auto size = static_cast<size_t>(std::countr_zero(stops | 1u << util::kBlock));
    if (size == 0 || size == util::kBlock || text[size] != '\0') return {};
    if (isIdentifier && !util::IsAsciiLetter(*text)) return {};
    return session::FreeText::Plain(std::string_view(text, size));
  }
  [[gnu::noinline]] void Apply(const char* text, const TextCheck& check) noexcept;
  // Makes the text, which is not empty, the value. A plain one holds neither markup nor NUL.
  void Take(std::string_view text, bool isPlain) noexcept;
  void ApplyLimit(const char* text, size_t limit) noexcept;
  void ApplyIdentifier(const char* text, size_t limit) noexcept;
  void ApplyName(const char* text, size_t limit) noexcept;

  session::FreeText value_;
  TextCode code_ = TextCode::kAccepted;
  char repaired_[kLongestRepaired];
};

// A document id as the host passes it. NULL is accepted, and gives a text without data. Otherwise a length
// above 0x7fffffff is refused, and the text ends at its length or at its first NUL.
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

// Whether id is 0 or the number of a group opened so far; lastGroup is the last of them.
[[nodiscard]] constexpr bool IsGroupId(int32_t id, int32_t lastGroup) noexcept {
  return id >= 0 && id <= lastGroup;
}

[[nodiscard]] constexpr bool IsOptInValue(int32_t value) noexcept { return value >= -1 && value <= 1; }

}  // namespace vantra::api
