// Reading, storing and recording the user's consent.
#pragma once

#include <cstdint>

#include "session/UsageSession.h"

namespace vantra::api {

// Reads the opt-in of a usage key; for the declared key it also updates the process's consent state. False
// only when the key is refused; value is then unchanged.
[[nodiscard]] bool OptInGet(const char* usageKey, int32_t& value);

// Stores the opt-in of a usage key, and the date of its first choice. False when the value or the key is
// refused, checked in this order, or when the registry refuses.
[[nodiscard]] bool OptInSet(const char* usageKey, int32_t value);

// Reads the opt-in again and writes the "OptInInfo" group that ends every document of a closed session.
void RecordOptInInfo(session::UsageSession& session);

}  // namespace vantra::api
