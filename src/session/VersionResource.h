// Version resources of executables.
#pragma once

#include <string>

namespace vantra::session {

// Texts of the resource's first translation, and that translation's language by name; each empty when it
// cannot be read.
struct VersionTexts {
  std::string productName;
  std::string productVersion;
  std::string privateBuild;
  std::string language;
};

// Reads the resource each time.
[[nodiscard]] VersionTexts ReadVersionTexts(const std::wstring& path);

// Reads the resource again only when the file's size or time has changed. Not thread-safe.
[[nodiscard]] VersionTexts KnownVersionTexts(const std::wstring& path);

}  // namespace vantra::session
