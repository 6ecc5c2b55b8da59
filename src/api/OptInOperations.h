// Reading, storing and recording the user's consent.
#pragma once

#include <cstdint>

#include "session/UsageSession.h"

namespace vantra::api {

// Read the opt-in of a usage key. A read of the stored key refreshes the process's consent state. False only
// when the key is refused; the value is then left alone.
[[nodiscard]] bool OptInGet(const char* usageKey, int32_t& value);

// Store the opt-in of a usage key, and the date of the first choice. The value is checked before the key.
[[nodiscard]] bool OptInSet(const char* usageKey, int32_t value);

// Reads the opt-in once more and writes the group that every document ends with.
void RecordOptInInfo(session::UsageSession& session);

}  // namespace vantra::api
