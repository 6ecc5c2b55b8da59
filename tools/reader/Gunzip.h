// Unpacks gzip piece by piece, in constant memory.
#pragma once

#include <memory>

#include "reader/Source.h"

namespace vantra::reader {

// Whether a file with this beginning is packed. Two bytes are enough.
[[nodiscard]] constexpr bool BeginsPacked(std::string_view beginning) noexcept {
  return beginning.starts_with("\x1f\x8b");
}

// Reads one or more gzip members in a row.
class Gunzip final : public Source {
 public:
  // beginning is what has been read from the source already. The source must outlive this object.
  Gunzip(Source& packed, std::string_view beginning);
  ~Gunzip() override;

  [[nodiscard]] size_t Read(char* to, size_t size) override;
  [[nodiscard]] std::string_view Error() const noexcept override { return error_; }

 private:
  struct State;
  [[nodiscard]] bool Refill();

  Source& packed_;
  std::unique_ptr<State> state_;
  std::string_view error_;
};

}  // namespace vantra::reader
