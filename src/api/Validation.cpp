#include "api/Validation.h"

#include <algorithm>
#include <cstring>

#include "util/Ascii.h"
#include "util/ByteScans.h"

namespace vantra::api {
namespace {

constexpr std::string_view kPrefix = "SK_";

// The length of a text up to its first NUL, at most limit, and whether no byte of it is markup.
struct Scanned {
  size_t length;
  bool isPlain;
};

Scanned Scan(const char* text, size_t limit) noexcept {
  const size_t plain = util::FindFirst<session::MarkupOrNul>(text, limit);
  if (plain == limit || text[plain] == '\0') return {plain, true};
  return {plain + util::BoundedLength(text + plain, limit - plain), false};
}

}  // namespace

void CheckedText::Take(std::string_view text, bool isPlain) noexcept {
  value_ = isPlain ? session::FreeText::Plain(text) : session::FreeText(text);
}

[[gnu::always_inline]] inline void CheckedText::ApplyLimit(const char* text, size_t limit) noexcept {
  const auto [length, isPlain] = Scan(text, limit + 1);
  Take({text, std::min(length, limit)}, isPlain);
  if (length > limit) code_ = TextCode::kCut;
}

inline void CheckedText::ApplyIdentifier(const char* text, size_t limit) noexcept {
  const std::string_view prefix = util::IsAsciiLetter(*text) ? std::string_view() : kPrefix;
  size_t length = util::BoundedLength(text, limit + 1);
  if (prefix.empty() && length <= limit && util::HasOnly<IdentifierByte>({text, length})) {
    Take({text, length}, true);
    return;
  }
  if (prefix.size() + length > limit) code_ = TextCode::kCut;
  length = std::min(length, limit - prefix.size());
  prefix.copy(repaired_, prefix.size());
  std::transform(text, text + length, repaired_ + prefix.size(),
                 [](char c) { return IdentifierByte::Has(c) ? c : '_'; });
  Take({repaired_, prefix.size() + length}, true);
}

inline void CheckedText::ApplyName(const char* text, size_t limit) noexcept {
  const size_t length = util::BoundedLength(text, limit + 1);
  if (length > limit) code_ = TextCode::kCut;
  const size_t kept = std::min(length, limit);
  std::transform(text, text + kept, repaired_,
                 [](char c) { return IdentifierByte::Has(c) || c == ' ' ? c : '_'; });
  Take({repaired_, kept}, true);
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
