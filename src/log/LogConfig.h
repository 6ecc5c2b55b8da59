// The text of the log's switch file.
#pragma once

#include <string>
#include <string_view>

namespace vantra::log {

// The value of the last line that sets the key; empty when none does. A line's first two tokens, separated by
// any run of space, '=', ';' and ',', are key and value. Reading stops at the first line of more than 511
// characters.
[[nodiscard]] std::string FindLogConfigValue(std::string_view fileText, std::string_view key);

}  // namespace vantra::log
