// Reading and storing the user's demographic values.
#pragma once

#include <cstddef>

namespace vantra::api {

// Both check their arguments and return false, with the reason logged, when one is refused or the registry
// refuses. A NULL or empty subkey stands for the common store. The arguments are those of
// UTGetNonDefaultDemographic and UTSetNonDefaultDemographic.
[[nodiscard]] bool GetDemographicHelper(const char* subkey, const char* pcKey, char* buffer, size_t* size);
[[nodiscard]] bool SetDemographicHelper(const char* subkey, const char* pcKey, const char* pcValue);

}  // namespace vantra::api
