// A number whose text is at hand each time that it has been counted up.
#pragma once

#include <charconv>
#include <cstdint>
#include <string_view>

#include "util/TextBuffer.h"

namespace vantra::util {

// Wraps from the largest number to the smallest. Best counted some time before its text is copied: a block
// that is loaded at once waits for the digit that was stored.
class Counter {
 public:
  explicit Counter(int32_t value) noexcept : value_(value) { Print(); }

  [[nodiscard]] int32_t Value() const noexcept { return value_; }

  // In decimal digits, good until the next count.
  [[nodiscard]] Whole Text() const noexcept { return {{text_, size_}}; }

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
