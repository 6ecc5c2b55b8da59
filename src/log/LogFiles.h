// Where the diagnostic log and its switch lie. Nothing is made, and no log is opened.
#pragma once

#include <string>
#include <string_view>

namespace vantra::log {

// Empty when the user's application-data folder cannot be found.
[[nodiscard]] std::wstring LogFolder();

// The log of a component in that folder.
[[nodiscard]] std::wstring LogPath(std::string_view component);

// The file whose presence beside the host's executable switches the log on.
[[nodiscard]] std::wstring SwitchPath(const std::wstring& hostFolder);

}  // namespace vantra::log
