// The salted digest that makes host texts anonymous.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "util/GlobalItems.h"

namespace vantra::util {

// MD5 of bytes and salt as 32 lower-case hexadecimal characters. Keeps the provider open between calls and
// remembers the last text, since hosts log about one document many times in a row. Not thread-safe.
class SaltedDigest : public GlobalItem {
 public:
  SaltedDigest() = default;
  ~SaltedDigest() override;

  // Empty when the platform cannot make one, and when the salt is empty: a digest that anyone could
  // recompute would be no anonymity. The view is good until the next call.
  [[nodiscard]] std::string_view Of(std::string_view bytes, std::string_view salt);

 private:
  [[nodiscard]] bool Compute(std::string_view bytes, std::string_view salt);

  static constexpr size_t kMd5Bytes = 16;

  uintptr_t provider_ = 0;
  bool known_ = false;
  std::string bytes_;
  std::string salt_;
  char text_[2 * kMd5Bytes];
};

}  // namespace vantra::util
