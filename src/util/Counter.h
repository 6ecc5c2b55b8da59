// A counter that keeps its decimal text up to date.
#pragma once

#include <charconv>
#include <cstdint>
#include <string_view>

#include "util/BlockText.h"

namespace vantra::util {

// Wraps from the largest number to the smallest. Increment well before copying Text(): a 16-byte load right
// after the one-byte store stalls.
class Counter {
 public:
  explicit Counter(int32_t value) noexcept : value_(value) { Print(); }

  [[nodiscard]] int32_t Value() const noexcept { return value_; }

  // The number in decimal digits; valid until the next Increment.
  [[nodiscard]] BlockText Text() const noexcept { return {text_, size_}; }

  void Increment() noexcept {
    value_ = static_cast<int32_t>(static_cast<uint32_t>(value_) + 1);
    char& last = text_[size_ - 1];
    if (value_ <= 0 || last == '9') {
      Print();
    } else {
      ++last;
    }
  }

 private:
  [[gnu::noinline]] void Print() noexcept {
    size_ = static_cast<size_t>(std::to_chars(text_, text_ + kBlock, value_).ptr - text_);
  }

  int32_t value_;
  size_t size_ = 0;
  char text_[kBlock] = {};
};

}  // namespace vantra::util
