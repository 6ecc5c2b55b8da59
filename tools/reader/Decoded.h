// The decoded text of a document's file, unpacked and rotated back, for use without records.
#pragma once

#include <optional>

#include "reader/Gunzip.h"
#include "reader/Source.h"

namespace vantra::reader {

class DecodedSource final : public Source {
 public:
  // The source must outlive this object.
  explicit DecodedSource(Source& file);

  [[nodiscard]] size_t Read(char* to, size_t size) override;
  [[nodiscard]] std::string_view Error() const noexcept override { return source_->Error(); }

 private:
  // Reads enough to recognise gzip and the obfuscation marker.
  void Begin();

  Source* source_;
  std::optional<Gunzip> gunzip_;
  std::string beginning_;  // read but not yet returned
  bool isObfuscated_ = false;
};

}  // namespace vantra::reader
