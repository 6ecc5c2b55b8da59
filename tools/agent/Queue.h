// What to send next: the order of the documents that wait, and which go when there are too many.
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

// Oldest first, the documents of one session in the order of their index. Those that are named as last follow
// all others, in the order of their naming.
void Order(std::vector<Document>& documents, std::span<const std::string> last);

// How many of the documents, which are sorted oldest first, must go so that the rest fit into the bytes.
[[nodiscard]] size_t CountSurplus(std::span<const Document> oldestFirst, uint64_t bytes);

}  // namespace vantra::agent
