// Probes of the machine and the host process. Each returns UTF-8 text, empty when the probe fails.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vantra::session {

// "MAJOR.MINOR.BUILD SP MAJOR.MINOR PT PRODUCT_TYPE".
[[nodiscard]] std::string OsVersion();
[[nodiscard]] std::string OsType();
// Language and country, such as en-US.
[[nodiscard]] std::string OsLanguage();
[[nodiscard]] std::string UserLanguage();

[[nodiscard]] std::string ProcessorType();
[[nodiscard]] std::string ProcessorName();
[[nodiscard]] std::string ProcessorModel();
[[nodiscard]] std::string ProcessorCount();
// Such as "2400 MHz".
[[nodiscard]] std::string ProcessorSpeed();
// Physical memory in MiB, rounded down.
[[nodiscard]] std::string Memory();

[[nodiscard]] std::string MonitorCount();
struct MonitorSize {
  uint32_t width;
  uint32_t height;
};
// In pixels, in the system's order. A monitor that cannot be queried is left out.
[[nodiscard]] std::vector<MonitorSize> MonitorSizes();

// Product name and version of the user's default browser, separated by a space; a lone space when neither can
// be read.
[[nodiscard]] std::string DefaultBrowser();

// From the version resource of the host's executable.
[[nodiscard]] std::string ExecutableName();
[[nodiscard]] std::string ExecutableVersion();
[[nodiscard]] std::string ExecutableBuild();
[[nodiscard]] std::string ExecutableLanguage();

[[nodiscard]] std::string AgentVersion();
[[nodiscard]] std::string LibraryVersion();

}  // namespace vantra::session
