#include "agent/Schedule.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <utility>

#include "util/Ascii.h"

namespace vantra::agent {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

// The longest that a run waits because a server asks it to; for a longer wait it ends, and a later run tries
// again.
constexpr seconds kLongestInRun = std::chrono::minutes(1);

// Removes a number of at most this many digits from the front of the text; -1 when there is none.
int TakeNumber(std::string_view& text, size_t digits) {
  int number = -1;
  const char* const end =
      std::from_chars(text.data(), text.data() + std::min(digits, text.size()), number).ptr;
  text.remove_prefix(static_cast<size_t>(end - text.data()));
  return number;
}

int TakeMonth(std::string_view& text) {
  constexpr std::string_view kMonths = "JanFebMarAprMayJunJulAugSepOctNovDec";
  const size_t at = text.size() < 3 ? kMonths.npos : kMonths.find(text.substr(0, 3));
  if (at == kMonths.npos || at % 3 != 0) return -1;
  text.remove_prefix(3);
  return static_cast<int>(at / 3) + 1;
}

// The three forms of HTTP dates: "Sun, 06 Nov 1994 08:49:37 GMT", "Sunday, 06-Nov-94 08:49:37 GMT" and "Sun
// Nov  6 08:49:37 1994". Letters stand for: w day of the week, d day, m month, Y year, y two-digit year, H
// hour, N minute, S second. '_' stands for one or two spaces, and anything else for itself.
constexpr std::string_view kForms[] = {"w, d m Y H:N:S GMT", "w, d-m-y H:N:S GMT", "w m_d H:N:S Y"};

std::optional<int64_t> ParseDate(std::string_view text, std::string_view form, int thisYear) {
  int day = 0, month = 0, year = 0, shortYear = -1, hour = 0, minute = 0, second = 0;
  const std::pair<char, int*> numbers[] = {{'d', &day},  {'Y', &year},   {'y', &shortYear},
                                           {'H', &hour}, {'N', &minute}, {'S', &second}};
  for (const char c : form) {
    const auto* const number = std::ranges::find(numbers, c, &std::pair<char, int*>::first);
    if (number != std::end(numbers)) {
      *number->second = TakeNumber(text, c == 'Y' ? 4 : 2);
    } else if (c == 'm') {
      month = TakeMonth(text);
    } else if (c == 'w') {
      text.remove_prefix(std::min(text.find_first_of(", "), text.size()));
    } else {
      if (!text.starts_with(c == '_' ? ' ' : c)) return {};
      text.remove_prefix(1);
      if (c == '_' && text.starts_with(' ')) text.remove_prefix(1);
    }
  }
  if (shortYear >= 0) year = thisYear / 100 * 100 + shortYear;
  if (year > thisYear + 50 && shortYear >= 0) year -= 100;
  const std::chrono::year_month_day date{std::chrono::year(year),
                                         std::chrono::month(static_cast<unsigned>(month)),
                                         std::chrono::day(static_cast<unsigned>(day))};
  const bool isTime = hour >= 0 && hour < 24 && minute >= 0 && minute < 60 && second >= 0 && second <= 60;
  if (!text.empty() || month < 1 || day < 1 || year < 0 || !date.ok() || !isTime) return {};
  const auto time = std::chrono::hours(hour) + std::chrono::minutes(minute) + seconds(second);
  return (std::chrono::sys_days(date) + time).time_since_epoch().count();
}

}  // namespace

std::optional<seconds> ParseRetryAfter(std::string_view text, int64_t now) {
  text = util::Trim(text);
  if (text.empty()) return {};
  if (std::ranges::all_of(text, util::IsAsciiDigit)) {
    int64_t wait = 0;
    const auto [last, error] = std::from_chars(text.data(), text.data() + text.size(), wait);
    return error == std::errc() ? std::min(seconds(wait), kLongestRetryAfter) : kLongestRetryAfter;
  }
  const std::chrono::year_month_day today{
      std::chrono::floor<std::chrono::days>(std::chrono::sys_seconds(seconds(now)))};
  for (const std::string_view form : kForms) {
    if (const auto date = ParseDate(text, form, static_cast<int>(today.year())))
      return std::clamp(seconds(*date - now), seconds(0), kLongestRetryAfter);
  }
  return {};
}

std::optional<milliseconds> PauseAfter(unsigned failures, const Settings& settings,
                                       std::optional<seconds> retryAfter, double random, seconds leftOfRun) {
  if (failures > settings.maxRetries) return {};
  // Varied by up to a quarter, so that the users of an office do not all come back at once.
  const auto interval = static_cast<double>(milliseconds(settings.retryInterval).count());
  milliseconds pause(static_cast<int64_t>(interval * (0.75 + random / 2)));
  if (retryAfter) {
    if (*retryAfter > std::max(kLongestInRun, settings.retryInterval)) return {};
    pause = std::max<milliseconds>(pause, *retryAfter);
  }
  if (pause >= leftOfRun) return {};
  return pause;
}

}  // namespace vantra::agent
