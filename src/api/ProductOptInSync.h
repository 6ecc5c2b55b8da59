// Reports a change of a product's opt-in state in a small document of its own.
#pragma once

#include <string>
#include <string_view>

namespace vantra::api {

// Compares the consent state with what was last stored for the product, stores it, and writes the opt-in rate
// file. True when there was a change and it was stored.
[[nodiscard]] bool SyncProductOptIn(std::string_view family, std::string_view name, std::string_view version,
                                    const std::wstring& logsFolder);

}  // namespace vantra::api
