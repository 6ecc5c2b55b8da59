// The rules by which every text of a host is checked and, where possible, repaired. Pure.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "util/Blocks.h"

namespace vantra::api {

constexpr std::string_view kNullText = "SK_STR_NULL";
constexpr std::string_view kEmptyText = "SK_STR_EMPTY";
constexpr std::string_view kInvalidText = "SK_INVALID_STRING";
constexpr std::string_view kInvalidGroupId = "SK_INVALID_GROUPID";
constexpr std::string_view kNoValue = "NOVALUE";
constexpr std::string_view kNoDocument = "0";

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

// A host's text after its check: the text itself, a repaired copy, or a sentinel. Never allocates. The value
// refers to the host's text or to this object.
class CheckedText {
 public:
  CheckedText(const char* text, const TextCheck& check) noexcept;
  CheckedText(const CheckedText&) = delete;
  CheckedText& operator=(const CheckedText&) = delete;

  [[nodiscard]] std::string_view Value() const noexcept { return value_; }
  [[nodiscard]] TextCode Code() const noexcept { return code_; }
  [[nodiscard]] bool IsAccepted() const noexcept {
    return code_ == TextCode::kAccepted || code_ == TextCode::kCut;
  }

 private:
  static constexpr size_t kLongestRepaired = 128;

  [[nodiscard]] bool AcceptShort(const char* text, const TextCheck& check) noexcept;
  [[gnu::noinline]] void Apply(const char* text, const TextCheck& check) noexcept;
  void ApplyLimit(const char* text, size_t limit) noexcept;
  void ApplyIdentifier(const char* text, size_t limit) noexcept;
  void ApplyName(const char* text, size_t limit) noexcept;

  std::string_view value_;
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
