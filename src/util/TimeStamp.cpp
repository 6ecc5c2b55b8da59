#include "util/TimeStamp.h"

#include <chrono>

namespace vantra::util {
namespace {

// Writes two digits and a separator; returns the position after them.
char* PutPair(char* at, unsigned value, char separator) noexcept {
  at[0] = static_cast<char>('0' + value / 10);
  at[1] = static_cast<char>('0' + value % 10);
  at[2] = separator;
  return at + 3;
}

}  // namespace

void TimeStamp::Format(int64_t seconds) noexcept {
  constexpr int64_t kFirst = -62'167'219'200;  // 0000-01-01
  constexpr int64_t kLast = 253'402'300'799;   // 9999-12-31
  constexpr int64_t kDay = 86'400;

  seconds_ = seconds;
  length_ = 0;
  if (seconds < kFirst || seconds > kLast) return;

  const int64_t days = (seconds - kFirst) / kDay + kFirst / kDay;
  const auto secondOfDay = static_cast<unsigned>(seconds - days * kDay);
  const std::chrono::year_month_day date{std::chrono::sys_days{std::chrono::days{days}}};
  const auto year = static_cast<unsigned>(static_cast<int>(date.year()));

  text_[0] = static_cast<char>('0' + year / 1000);
  text_[1] = static_cast<char>('0' + year / 100 % 10);
  char* at = PutPair(text_ + 2, year % 100, '-');
  at = PutPair(at, static_cast<unsigned>(date.month()), '-');
  at = PutPair(at, static_cast<unsigned>(date.day()), 'T');
  at = PutPair(at, secondOfDay / 3600, ':');
  at = PutPair(at, secondOfDay / 60 % 60, ':');
  PutPair(at, secondOfDay % 60, 'Z');
  length_ = kLength;
}

}  // namespace vantra::util
