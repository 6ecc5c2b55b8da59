// Compresses documents for sending.
#pragma once

#include <string>
#include <string_view>

namespace vantra::agent {

// The text as one gzip member, without a file name or time, so the same text gives the same bytes. Empty on
// failure.
[[nodiscard]] std::string Gzip(std::string_view text);

}  // namespace vantra::agent
