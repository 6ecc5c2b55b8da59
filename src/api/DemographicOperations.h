// Reading and storing the user's demographic values.
#pragma once

#include <cstddef>

namespace vantra::api {

// For both, a NULL or empty subkey is the common store.
[[nodiscard]] bool GetDemographicHelper(const char* subkey, const char* pcKey, char* buffer, size_t* size);
[[nodiscard]] bool SetDemographicHelper(const char* subkey, const char* pcKey, const char* pcValue);

}  // namespace vantra::api
