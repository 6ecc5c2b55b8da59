// Reports a change of a product's opt-in in a small document of its own, the opt-in rate file.
#pragma once

#include <string>
#include <string_view>

namespace vantra::api {

// Compares the consent state with the one last stored for the product. If they differ, stores the new one and
// writes the opt-in rate file. True when a change was stored, even if the file could not be written.
[[nodiscard]] bool SyncProductOptIn(std::string_view family, std::string_view name, std::string_view version,
                                    const std::wstring& logsFolder);

}  // namespace vantra::api
