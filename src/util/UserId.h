// Creates identifiers of users and sessions.
#pragma once

#include <string>

namespace vantra::util {

// A new GUID as 36 lower-case characters without braces; empty on failure.
[[nodiscard]] std::string NewUserId();

}  // namespace vantra::util
