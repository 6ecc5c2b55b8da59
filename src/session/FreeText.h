// Text for an attribute of a document, escaped where necessary.
#pragma once

#include <concepts>
#include <optional>
#include <string_view>

#include "util/BlockText.h"

namespace vantra::session {

// The bytes that must be escaped, and any others at which a scan must stop.
template <class... Others>
using MarkupOr = util::AnyOf<Others..., util::Byte<'"'>, util::BytePair<'&', '\''>, util::BytePair<'<', '>'>,
                             util::Byte<'\\'>>;
using Markup = MarkupOr<>;
// Free text ends at its first NUL.
using MarkupOrNul = MarkupOr<util::Nul>;

// A view of a caller's text. It may be marked as plain: known to need no escaping.
class FreeText {
 public:
  constexpr FreeText() noexcept = default;
  // NOLINTBEGIN(google-explicit-constructor): a record is given any text.
  template <std::convertible_to<std::string_view> Any>
  constexpr FreeText(const Any& any) noexcept : text_(std::string_view(any)) {}
  // NOLINTEND(google-explicit-constructor)

  // A text known to hold no byte of MarkupOrNul, so that it is copied unescaped. An empty one counts as
  // absent.
  [[nodiscard]] static constexpr FreeText Plain(const util::BlockText& text) noexcept {
    FreeText plain;
    if (!text.View().empty()) plain.text_ = util::MaybeBlockText(text);
    return plain;
  }
  // The same; scanned for markup once more if its first block cannot be loaded whole.
  [[nodiscard]] static FreeText Plain(std::string_view text) noexcept {
    const auto plain = util::BlockText::Of(text);
    return plain ? Plain(*plain) : FreeText(text);
  }

  [[nodiscard]] constexpr std::string_view Text() const noexcept { return text_.View(); }
  // Empty when the text must be scanned for markup.
  [[nodiscard]] constexpr std::optional<util::BlockText> AsPlain() const noexcept {
    return text_.AsBlockText();
  }

 private:
  util::MaybeBlockText text_;
};

}  // namespace vantra::session
