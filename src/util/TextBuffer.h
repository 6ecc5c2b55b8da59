// A text that is built by appending pieces, in memory that is reused.
#pragma once

#include <charconv>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

namespace vantra::util {

// Uses the caller's storage, if given, and moves to the heap only when the text outgrows it. Growing may
// throw std::bad_alloc; nothing else throws. Not thread-safe.
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

  // Frees the memory, and the text with it, if more than limit bytes are allocated.
  void ShrinkBeyond(size_t limit) noexcept {
    if (capacity_ > limit) Release();
  }

  // Returns the write position, with room for extra bytes after it. Commit then sets the end of what was
  // written.
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

// A piece has MaxSize, the most bytes that Write may touch, which may be more than the piece's length, and
// Write, which writes the piece and returns the position after it. BlockText is a piece too.

// A string literal, whose size is known at compile time.
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

// Any other text.
struct Raw {
  std::string_view text;

  [[nodiscard]] constexpr size_t MaxSize() const noexcept { return text.size(); }
  [[nodiscard]] char* Write(char* at) const noexcept { return at + text.copy(at, text.size()); }
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

// Appends the pieces after a single check of the capacity.
template <class... Piece>
void Append(TextBuffer& out, const Piece&... pieces) {
  char* at = out.Reserve((pieces.MaxSize() + ...));
  ((at = pieces.Write(at)), ...);
  out.Commit(at);
}

}  // namespace vantra::util
