// The time stamp of records, log lines and stored dates: UTC, whole seconds, 2011-03-04T05:06:07Z.
#pragma once

#include <cstdint>
#include <limits>
#include <string_view>

namespace vantra::util {

// The text of one moment, made anew only when the second changes.
class TimeStamp {
 public:
  // The text for this many seconds since 1970-01-01 UTC; empty outside the years 0 to 9999. The view is good
  // until the next call.
  [[nodiscard]] std::string_view At(int64_t seconds) noexcept {
    if (seconds != seconds_) Format(seconds);
    return {text_, length_};
  }

 private:
  void Format(int64_t seconds) noexcept;

  static constexpr size_t kLength = 20;

  int64_t seconds_ = std::numeric_limits<int64_t>::min();
  size_t length_ = 0;
  char text_[kLength];
};

}  // namespace vantra::util
