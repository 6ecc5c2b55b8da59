#include "api/Validation.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

#include "util/Ascii.h"
#include "util/Blocks.h"

namespace vantra::api {
namespace {

constexpr std::string_view kPrefix = "SK_";

constexpr std::array<bool, 256> kIdentifierBytes = []() {
  std::array<bool, 256> allowed{};
  for (size_t i = 0; i < allowed.size(); ++i) {
    const char c = static_cast<char>(i);
    allowed[i] = util::IsAsciiLetter(c) || util::IsAsciiDigit(c) || c == '_';
  }
  return allowed;
}();

constexpr bool IsIdentifierByte(char c) noexcept { return kIdentifierBytes[static_cast<unsigned char>(c)]; }

bool IsIdentifierText(const char* text, size_t size) noexcept {
  for (size_t done = 0; done < size; done += util::kBlock) {
    const unsigned other = FindNonIdentifier(util::LoadBlock(text + done, size - done));
    if ((other & util::TextBits(size - done)) != 0) return false;
  }
  return true;
}

// The length of a text up to its first NUL, or limit when that comes first, and whether nothing before is
// special.
struct Scanned {
  size_t length;
  bool isPlain;
};

[[gnu::no_sanitize_address]] Scanned Scan(const char* text, size_t limit) noexcept {
  // Aligned blocks never cross a page.
  const size_t before = reinterpret_cast<uintptr_t>(text) % util::kBlock;
  const auto* block = reinterpret_cast<const __m128i*>(text - before);
  unsigned special = session::FindSpecial(_mm_load_si128(block)) >> before;
  size_t length = 0;
  for (size_t next = util::kBlock - before; special == 0; next += util::kBlock) {
    length = next;
    if (length >= limit) return {limit, true};
    special = session::FindSpecial(_mm_load_si128(++block));
  }
  length += static_cast<size_t>(std::countr_zero(special));
  if (length >= limit) return {limit, true};
  if (text[length] == '\0') return {length, true};
  return {length + util::BoundedLength(text + length, limit - length), false};
}

}  // namespace

void CheckedText::Take(const char* text, size_t size, bool isPlain) noexcept {
  value_.text = {text, size};
  value_.isPlain = isPlain && (size >= util::kBlock || util::IsBlockReadable(text));
}

inline void CheckedText::ApplyLimit(const char* text, size_t limit) noexcept {
  const auto [length, isPlain] = Scan(text, limit + 1);
  Take(text, std::min(length, limit), isPlain);
  if (length > limit) code_ = TextCode::kCut;
}

inline void CheckedText::ApplyIdentifier(const char* text, size_t limit) noexcept {
  const std::string_view prefix = util::IsAsciiLetter(*text) ? std::string_view() : kPrefix;
  size_t length = util::BoundedLength(text, limit + 1);
  if (prefix.empty() && length <= limit && IsIdentifierText(text, length)) {
    Take(text, length, true);
    return;
  }
  if (prefix.size() + length > limit) code_ = TextCode::kCut;
  length = std::min(length, limit - prefix.size());
  prefix.copy(repaired_, prefix.size());
  std::transform(text, text + length, repaired_ + prefix.size(),
                 [](char c) { return IsIdentifierByte(c) ? c : '_'; });
  Take(repaired_, prefix.size() + length, true);
}

inline void CheckedText::ApplyName(const char* text, size_t limit) noexcept {
  const size_t length = util::BoundedLength(text, limit + 1);
  if (length > limit) code_ = TextCode::kCut;
  const size_t kept = std::min(length, limit);
  std::transform(text, text + kept, repaired_,
                 [](char c) { return IsIdentifierByte(c) || c == ' ' ? c : '_'; });
  Take(repaired_, kept, true);
}

void CheckedText::Apply(const char* text, const TextCheck& check) noexcept {
  if (text == nullptr) {
    value_ = check.isNullAllowed ? kNoValue : kNullText;
    code_ = check.isNullAllowed ? TextCode::kAccepted : TextCode::kNullRefused;
  } else if (*text == '\0') {
    value_ = check.isEmptyAllowed ? kNoValue : kEmptyText;
    code_ = check.isEmptyAllowed ? TextCode::kAccepted : TextCode::kEmptyRefused;
  } else if (check.isBackslashRefused && std::strchr(text, '\\') != nullptr) {
    value_ = session::FreeText(text);
    code_ = TextCode::kBackslashRefused;
  } else {
    switch (check.rule) {
      case TextRule::kNone:
        value_ = session::FreeText(text);
        break;
      case TextRule::kLimit:
        ApplyLimit(text, check.limit);
        break;
      case TextRule::kIdentifier:
        ApplyIdentifier(text, check.limit);
        break;
      case TextRule::kName:
        ApplyName(text, check.limit);
        break;
    }
  }
}

}  // namespace vantra::api
