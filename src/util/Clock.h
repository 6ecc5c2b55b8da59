// The system clock.
#pragma once

#include <cstdint>
#include <string>

namespace vantra::util {

// Whole seconds since 1970-01-01 UTC.
[[nodiscard]] int64_t UtcSeconds() noexcept;

// The present moment as a time stamp.
[[nodiscard]] std::string UtcNow();

}  // namespace vantra::util
