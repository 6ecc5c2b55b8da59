// The form in which documents travel.
#pragma once

#include <string>
#include <string_view>

namespace vantra::agent {

// The same bytes for the same text, without a name or a time in them. Empty when there is no memory for it.
[[nodiscard]] std::string Gzip(std::string_view text);

}  // namespace vantra::agent
