// Probes of machine and host. Each returns UTF-8 text, empty when it fails.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vantra::session {

// "major.minor.build SP major.minor PT type".
[[nodiscard]] std::string OsVersion();
[[nodiscard]] std::string OsType();
// Language and country, such as en-US.
[[nodiscard]] std::string OsLanguage();
[[nodiscard]] std::string UserLanguage();

[[nodiscard]] std::string ProcessorType();
[[nodiscard]] std::string ProcessorName();
[[nodiscard]] std::string ProcessorModel();
[[nodiscard]] std::string ProcessorCount();
// In MHz, with the unit.
[[nodiscard]] std::string ProcessorSpeed();
// Physical memory in whole mebibytes.
[[nodiscard]] std::string Memory();

[[nodiscard]] std::string MonitorCount();
struct MonitorSize {
  uint32_t width;
  uint32_t height;
};
// In the system's order; a monitor that cannot be asked is left out.
[[nodiscard]] std::vector<MonitorSize> MonitorSizes();

// Product name, a space and product version of the user's browser; a lone space when nothing can be read.
[[nodiscard]] std::string DefaultBrowser();

// From the version resource of the host's executable.
[[nodiscard]] std::string ExecutableName();
[[nodiscard]] std::string ExecutableVersion();
[[nodiscard]] std::string ExecutableBuild();
[[nodiscard]] std::string ExecutableLanguage();

[[nodiscard]] std::string AgentVersion();
[[nodiscard]] std::string LibraryVersion();

}  // namespace vantra::session
