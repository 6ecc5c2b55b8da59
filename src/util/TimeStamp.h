// The time stamp of records, log lines and stored dates: UTC, whole seconds, 2011-03-04T05:06:07Z.
#pragma once

#include <cstdint>
#include <limits>
#include <string_view>

#include "util/BlockText.h"

namespace vantra::util {

// A time and its text, which is formatted only when the second changes.
class TimeStamp {
 public:
  TimeStamp() noexcept = default;
  explicit TimeStamp(int64_t seconds) noexcept { Format(seconds); }

  // Sets the time, in seconds since 1970-01-01 UTC.
  void Set(int64_t seconds) noexcept {
    if (seconds != seconds_) Format(seconds);
  }

  // Valid until the next Set. Empty before the first, and outside the years 0 to 9999.
  [[nodiscard]] BlockText Text() const noexcept { return {text_, length_}; }

 private:
  void Format(int64_t seconds) noexcept;

  static constexpr size_t kLength = 20;

  int64_t seconds_ = std::numeric_limits<int64_t>::min();
  size_t length_ = 0;
  char text_[kLength] = {};
};

}  // namespace vantra::util
