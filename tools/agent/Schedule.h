// When to try again. Times are seconds since 1970-01-01 UTC.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string_view>

#include "agent/Settings.h"

namespace vantra::agent {

// What a server may ask for at most.
constexpr std::chrono::seconds kLongestRetryAfter = std::chrono::hours(24);

// How long a Retry-After, in seconds or as a date in any of the three forms of HTTP, asks to wait from now.
// At most kLongestRetryAfter; nothing for what is neither.
[[nodiscard]] std::optional<std::chrono::seconds> ParseRetryAfter(std::string_view text, int64_t now);

// How long a run waits after its failures in a row before it repeats the last upload; nothing when it ends.
// The random number is from 0 to 1.
[[nodiscard]] std::optional<std::chrono::milliseconds> PauseAfter(
    unsigned failures, const Settings& settings, std::optional<std::chrono::seconds> retryAfter,
    double random, std::chrono::seconds leftOfRun);

}  // namespace vantra::agent
