// A source of bytes for readers.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace vantra::reader {

class Source {
 public:
  Source() = default;
  Source(const Source&) = delete;
  Source& operator=(const Source&) = delete;
  virtual ~Source() = default;

  // Reads up to size bytes and returns how many were read. Zero means the end or a failure: see Error. Fewer
  // than size are mostly the last ones.
  [[nodiscard]] virtual size_t Read(char* to, size_t size) = 0;

  // Why the rest cannot be read, in a few words; empty if nothing has failed.
  [[nodiscard]] virtual std::string_view Error() const noexcept { return {}; }
};

// A text in memory, which must outlive this object.
class TextSource final : public Source {
 public:
  explicit TextSource(std::string_view text) noexcept : text_(text) {}
  [[nodiscard]] size_t Read(char* to, size_t size) override {
    const size_t taken = text_.copy(to, size);
    text_.remove_prefix(taken);
    return taken;
  }

 private:
  std::string_view text_;
};

}  // namespace vantra::reader
