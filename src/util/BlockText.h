// Texts that are copied in blocks of sixteen bytes.
#pragma once

#include <cassert>
#include <cstddef>
#include <optional>
#include <string_view>

#include "util/ByteScans.h"

namespace vantra::util {

// A text whose first block may be loaded whole, so that copying it takes no loop over bytes.
class BlockText {
 public:
  // The first bytes of storage that is at least one block long.
  template <size_t N>
  requires(N >= kBlock) constexpr BlockText(const char (&storage)[N], size_t size) noexcept
      : text_(storage, size) {
    assert(size <= N);
  }
  // A NUL-terminated constant.
  template <size_t N>
  requires(N >= kBlock) consteval explicit BlockText(const char (&constant)[N]) : text_(constant) {}

  // Empty for an empty text, and for a short one whose block may reach into an unreadable page.
  [[nodiscard]] static std::optional<BlockText> Of(std::string_view text) noexcept {
    if (text.size() < kBlock && (text.empty() || !IsBlockReadable(text.data()))) return std::nullopt;
    return BlockText(text);
  }

  [[nodiscard]] constexpr std::string_view View() const noexcept { return text_; }
  [[nodiscard]] Block First() const noexcept { return LoadWholeBlock(text_.data()); }

  // Write stores up to one block beyond the text.
  [[nodiscard]] constexpr size_t MaxSize() const noexcept { return text_.size() + kBlock; }
  [[nodiscard, gnu::always_inline]] char* Write(char* to) const noexcept {
    const char* const text = HideOrigin(text_.data());
    const size_t size = text_.size();
    StoreBlock(to, LoadHidden(text));
    if (size > kBlock) {
      const size_t last = size - kBlock;
      for (size_t done = kBlock; done < last; done += kBlock) StoreBlock(to + done, LoadHidden(text + done));
      StoreBlock(to + last, LoadHidden(text + last));
    }
    return to + size;
  }

 private:
  friend class MaybeBlockText;
  explicit constexpr BlockText(std::string_view text) noexcept : text_(text) {}

  std::string_view text_;
};

// A text that may or may not be a BlockText.
class MaybeBlockText {
 public:
  constexpr MaybeBlockText() noexcept = default;
  explicit constexpr MaybeBlockText(std::string_view text) noexcept : text_(text) {}
  explicit constexpr MaybeBlockText(const BlockText& text) noexcept
      : text_(text.View()), isBlockText_(true) {}

  [[nodiscard]] constexpr std::string_view View() const noexcept { return text_; }
  [[nodiscard]] constexpr std::optional<BlockText> AsBlockText() const noexcept {
    return isBlockText_ ? std::optional(BlockText(text_)) : std::nullopt;
  }

 private:
  std::string_view text_;
  bool isBlockText_ = false;
};

}  // namespace vantra::util
