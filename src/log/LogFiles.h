// Paths of the diagnostic log and its switch file. Nothing here creates a file or opens the log.
#pragma once

#include <string>
#include <string_view>

namespace vantra::log {

// Empty when the user's application-data folder cannot be found.
[[nodiscard]] std::wstring LogFolder();

// Path of a component's log in that folder; empty when the folder is.
[[nodiscard]] std::wstring LogPath(std::string_view component);

// Path of the file whose presence beside the host's executable switches the log on.
[[nodiscard]] std::wstring SwitchPath(const std::wstring& hostFolder);

}  // namespace vantra::log
