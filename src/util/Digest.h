// The salted digest that stands in documents instead of a host's text.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <limits>
#include <string>
#include <string_view>

#include "util/BlockText.h"
#include "util/GlobalItems.h"
#include "util/TextBuffer.h"

namespace vantra::util {

// MD5 of a text followed by a salt, as 32 lower-case hexadecimal digits. Keeps the provider open between
// calls, and remembers the last text: hosts often log about one document many times in a row. Not
// thread-safe.
class SaltedDigest : public OneOf<SaltedDigest> {
 public:
  // The salt must not be empty: anyone could recompute a digest without one.
  explicit SaltedDigest(std::string_view salt) : salt_(salt) {}
  ~SaltedDigest() override;

  // Empty when the platform cannot compute a digest. The view is valid until the next call.
  [[nodiscard]] BlockText Of(std::string_view bytes) {
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
  TextBuffer salted_;        // the remembered text and the salt
  size_t known_ = kNothing;  // size of the remembered text
  char text_[2 * kMd5Bytes];
};

}  // namespace vantra::util
