// Decides which document is sent next, and which are deleted when there are too many. Pure.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace vantra::agent {

struct Document {
  std::string name;  // UTF-8
  // UTC, in 100-nanosecond ticks.
  uint64_t written;
  uint64_t size;

  bool operator==(const Document&) const = default;
};

// Sorts by age, oldest first, with each session's documents in the order of their index. Those named in last
// come after all others, in the order of that list.
void Order(std::vector<Document>& documents, std::span<const std::string> last);

// How many of the documents, sorted oldest first, must be deleted from the front so that the rest take up at
// most this many bytes.
[[nodiscard]] size_t CountSurplus(std::span<const Document> oldestFirst, uint64_t bytes);

}  // namespace vantra::agent
