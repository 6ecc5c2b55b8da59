// All that is stored about this user on this machine: where, what, and its removal. Windows only.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vantra::inspect {

// A folder or a registry key, with all that is below it.
struct Place {
  std::string path;    // a key begins with HKEY_CURRENT_USER
  std::string folder;  // of an export, where its content goes; a key's goes into the file of this name
  bool isKey;
};

struct StoredItem {
  enum class Kind : uint8_t { File, Value, EmptyKey };
  Kind kind;
  size_t place;
  std::string path;     // below the place, of the file or of the value's key; empty for the place itself
  std::string name;     // of a Value; empty for a key's default one
  std::string type;     // of a Value: REG_SZ and so on
  std::string data;     // of a Value: text, a decimal number, or hexadecimal digits
  uint64_t size = 0;    // of a File, in bytes
  std::string written;  // of a File, like 2011-03-04T05:06:07Z
};

// Every place there can be, whether it is there or not.
[[nodiscard]] std::vector<Place> ListPlaces();

// What lies there now. Folders behind links are not entered.
[[nodiscard]] std::vector<StoredItem> ListStored(const std::vector<Place>& places);

struct Failure {
  std::string path;
  std::string reason;
};

// Deletes the places with all that is in them, links themselves and not what is behind them. Goes on after a
// failure, and gives them all.
[[nodiscard]] std::vector<Failure> Erase(const std::vector<Place>& places);

// Copies all items below the folder, which is made: documents as their text, registry values as lines of
// JSON. The folder must be new or empty, and in none of the places.
[[nodiscard]] std::vector<Failure> Export(const std::vector<Place>& places,
                                          const std::vector<StoredItem>& items, const std::string& folder);

[[nodiscard]] std::string JsonOf(const StoredItem& item, const Place& place);

}  // namespace vantra::inspect
