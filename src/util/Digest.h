// The salted digest that makes host texts anonymous.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <limits>
#include <string>
#include <string_view>

#include "util/Blocks.h"
#include "util/GlobalItems.h"
#include "util/TextBuffer.h"

namespace vantra::util {

// MD5 of bytes and a salt as 32 lower-case hexadecimal characters. Keeps the provider open between calls and
// remembers the last text, since hosts log about one document many times in a row. Not thread-safe.
class SaltedDigest : public OneOf<SaltedDigest> {
 public:
  // The salt is not empty: a digest that anyone could recompute would be no anonymity.
  explicit SaltedDigest(std::string_view salt) : salt_(salt) {}
  ~SaltedDigest() override;

  // Empty when the platform cannot make one. The view is good until the next call.
  [[nodiscard]] std::string_view Of(std::string_view bytes) {
    const bool isKnown = bytes.size() == known_ && SameBytes(bytes.data(), salted_.Text().data(), known_);
    return {text_, isKnown || Make(bytes) ? sizeof text_ : 0};
  }

 private:
  [[nodiscard]] bool Make(std::string_view bytes);
  [[nodiscard]] bool Compute(std::initializer_list<std::string_view> pieces);

  static constexpr size_t kMd5Bytes = 16;
  static constexpr size_t kNothing = std::numeric_limits<size_t>::max();

  const std::string salt_;
  uintptr_t provider_ = 0;
  TextBuffer salted_;        // the last bytes and the salt
  size_t known_ = kNothing;  // size of those bytes
  char text_[2 * kMd5Bytes];
};

}  // namespace vantra::util
