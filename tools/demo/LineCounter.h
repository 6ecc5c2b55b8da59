// Counts the lines of the files below a folder.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>

#include "events.hpp"

struct Counts {
  uint64_t files = 0;
  uint64_t lines = 0;
  uint64_t blankLines = 0;
  uint64_t bytes = 0;

  Counts& operator+=(const Counts& other);
};

struct CountedFile {
  std::string path;  // from the folder on, in UTF-8
  events::Language language;
  bool isReadable;  // a folder that cannot be listed is reported as a file that cannot be read
  Counts counts;
};

// Calls visit for each file below the folder, in the order of the names. Skips folders of version control and
// of builds, and links to folders. False when the folder itself cannot be listed.
bool CountFiles(const std::filesystem::path& folder, const std::function<void(const CountedFile&)>& visit);

// Converts a path to UTF-8; what cannot be converted becomes U+FFFD.
std::string ToUtf8(const std::filesystem::path& path);
