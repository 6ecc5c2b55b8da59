// Text out of gzip, as it is asked for: memory does not depend on what is packed.
#pragma once

#include <memory>

#include "reader/Source.h"

namespace vantra::reader {

// Whether a file that begins so is packed. Two bytes are enough.
[[nodiscard]] constexpr bool BeginsPacked(std::string_view beginning) noexcept {
  return beginning.starts_with("\x1f\x8b");
}

// One or more gzip members, one behind the other.
class Gunzip final : public Source {
 public:
  // What was read from the source already comes first. The source must outlive this.
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
