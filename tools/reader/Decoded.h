// A document's file as its text: unpacked, and rotated back. Where all bytes are wanted, and no records.
#pragma once

#include <optional>

#include "reader/Gunzip.h"
#include "reader/Source.h"

namespace vantra::reader {

class DecodedSource final : public Source {
 public:
  // The file's source must stay as long as this.
  explicit DecodedSource(Source& file);

  [[nodiscard]] size_t Read(char* to, size_t size) override;
  [[nodiscard]] std::string_view Error() const noexcept override { return source_->Error(); }

 private:
  // Reads enough for telling what is there.
  void Begin();

  Source* source_;
  std::optional<Gunzip> gunzip_;
  std::string beginning_;  // what has been read and not been given
  bool isObfuscated_ = false;
};

}  // namespace vantra::reader
