// Append-only text that is built piece by piece and reused without allocating.
#pragma once

#include <charconv>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

#include "util/Blocks.h"

namespace vantra::util {

// Starts in storage of the caller's, when given some, and moves to the heap only when the text outgrows it.
// Growing throws std::bad_alloc; nothing else here throws.
class TextBuffer {
 public:
  TextBuffer() noexcept = default;
  explicit TextBuffer(std::span<char> storage) noexcept : data_(storage.data()), capacity_(storage.size()) {}
  TextBuffer(const TextBuffer&) = delete;
  TextBuffer& operator=(const TextBuffer&) = delete;
  ~TextBuffer() { delete[] owned_; }

  [[nodiscard]] std::string_view Text() const noexcept { return {data_, size_}; }
  [[nodiscard]] std::span<char> Bytes() noexcept { return {data_, size_}; }
  void Clear() noexcept { size_ = 0; }

  // Gives the memory back when the last text was far larger than usual.
  void ShrinkBeyond(size_t limit) noexcept {
    if (capacity_ > limit) Release();
  }

  // The write position, with room for extra bytes after it. Commit tells how far they were used.
  [[nodiscard]] char* Reserve(size_t extra) {
    if (capacity_ - size_ < extra) Grow(extra);
    return data_ + size_;
  }
  void Commit(const char* end) noexcept { size_ = static_cast<size_t>(end - data_); }

 private:
  void Grow(size_t extra);
  void Release() noexcept;

  char* data_ = nullptr;
  size_t size_ = 0;
  size_t capacity_ = 0;
  char* owned_ = nullptr;
};

// A piece knows the most room it can take, which may be more than it fills, and writes itself, returning the
// position behind it.

// A text that is known when the code is compiled.
template <size_t N>
struct Literal {
  const char (&text)[N];

  [[nodiscard]] static constexpr size_t MaxSize() noexcept { return N - 1; }
  [[nodiscard]] char* Write(char* at) const noexcept {
    std::memcpy(at, text, N - 1);
    return at + N - 1;
  }
};
template <size_t N>
Literal(const char (&)[N]) -> Literal<N>;

// Any other text, as it is.
struct Raw {
  std::string_view text;

  [[nodiscard]] constexpr size_t MaxSize() const noexcept { return text.size() + kBlock; }
  [[nodiscard, gnu::always_inline]] char* Write(char* at) const noexcept {
    return CopyBlocks(at, text.data(), text.size());
  }
};

// A text of a block or more, or one whose block is readable: copied without looking where it ends.
struct Whole {
  std::string_view text;

  [[nodiscard]] constexpr size_t MaxSize() const noexcept { return text.size() + kBlock; }
  [[nodiscard, gnu::always_inline]] char* Write(char* at) const noexcept {
    return CopyWhole(at, text.data(), text.size());
  }
};

struct Decimal {
  int64_t value;

  [[nodiscard]] static constexpr size_t MaxSize() noexcept { return 20; }
  [[nodiscard]] char* Write(char* at) const noexcept {
    if (value < 0 || value > 9) return Print(at, value);
    *at = static_cast<char>('0' + value);
    return at + 1;
  }

 private:
  [[nodiscard, gnu::noinline]] static char* Print(char* at, int64_t value) noexcept {
    return std::to_chars(at, at + MaxSize(), value).ptr;
  }
};

// Appends the pieces with one check of the room.
template <class... Piece>
void Append(TextBuffer& out, const Piece&... pieces) {
  char* at = out.Reserve((pieces.MaxSize() + ...));
  ((at = pieces.Write(at)), ...);
  out.Commit(at);
}

}  // namespace vantra::util
