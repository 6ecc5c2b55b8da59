// Version resources of executables.
#pragma once

#include <string>

namespace vantra::session {

// Texts of the resource's first translation, and the name of its language. Each is empty when it cannot be
// read.
struct VersionTexts {
  std::string productName;
  std::string productVersion;
  std::string privateBuild;
  std::string language;
};

// Reads the resource on every call. The path may be a bare name, for which the platform searches.
[[nodiscard]] VersionTexts ReadVersionTexts(const std::wstring& path);

// The same, cached: reads the resource again only when the file's size or time has changed. Not thread-safe.
[[nodiscard]] VersionTexts KnownVersionTexts(const std::wstring& path);

}  // namespace vantra::session
