// Decides when to try again. Times are in seconds since 1970-01-01 UTC. Pure.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string_view>

#include "agent/Settings.h"

namespace vantra::agent {

// The longest wait that a server may ask for.
constexpr std::chrono::seconds kLongestRetryAfter = std::chrono::hours(24);

// The wait from now that a Retry-After header asks for, in seconds or as a date in any of HTTP's three forms;
// at most kLongestRetryAfter. Empty when the text is neither.
[[nodiscard]] std::optional<std::chrono::seconds> ParseRetryAfter(std::string_view text, int64_t now);

// The pause before the last upload is repeated, after this many failures in a row; empty when the run must
// end. random lies between 0 and 1.
[[nodiscard]] std::optional<std::chrono::milliseconds> PauseAfter(
    unsigned failures, const Settings& settings, std::optional<std::chrono::seconds> retryAfter,
    double random, std::chrono::seconds leftOfRun);

}  // namespace vantra::agent
