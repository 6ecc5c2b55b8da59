// Parses the log's switch file, SKLog.config.
#pragma once

#include <string>
#include <string_view>

namespace vantra::log {

// The value of the last line that sets the key; empty when none does. A line's first two tokens are key and
// value; any run of space, '=', ';' and ',' separates tokens. Reading stops at a line of more than 511
// characters and at a Ctrl-Z (0x1A).
[[nodiscard]] std::string FindLogConfigValue(std::string_view fileText, std::string_view key);

}  // namespace vantra::log
