// Everything that is stored about this user on this machine: lists, exports and erases it. Windows only.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vantra::inspect {

// A folder or registry key, with everything below it.
struct Place {
  std::string path;    // a key begins with HKEY_CURRENT_USER
  std::string folder;  // in an export, the folder of its content; for a key, the file of that name
  bool isKey;
};

struct StoredItem {
  enum class Kind : uint8_t { File, Value, EmptyKey };
  Kind kind;
  size_t place;
  std::string path;   // relative to the place, of the file or of the value's key; empty for the place itself
  std::string name;   // of a Value; empty for a key's default one
  std::string type;   // of a Value: REG_SZ and so on
  std::string data;   // of a Value: text, a decimal number, or hexadecimal digits
  uint64_t size = 0;  // of a File, in bytes
  std::string written;  // of a File, like 2011-03-04T05:06:07Z
};

// All possible places, whether or not they exist.
[[nodiscard]] std::vector<Place> ListPlaces();

// What is stored there now. Links to folders are not followed.
[[nodiscard]] std::vector<StoredItem> ListStored(const std::vector<Place>& places);

struct Failure {
  std::string path;
  std::string reason;
};

// Deletes the places with everything in them. Links are deleted, their targets are not. Continues after
// failures, and returns all of them.
[[nodiscard]] std::vector<Failure> Erase(const std::vector<Place>& places);

// Copies all items into the folder, which is created: documents as decoded text, registry values as lines of
// JSON. The folder must be new or empty, and in none of the places; otherwise throws std::runtime_error.
// Returns the items that could not be copied.
[[nodiscard]] std::vector<Failure> Export(const std::vector<Place>& places,
                                          const std::vector<StoredItem>& items, const std::string& folder);

[[nodiscard]] std::string JsonOf(const StoredItem& item, const Place& place);

}  // namespace vantra::inspect
