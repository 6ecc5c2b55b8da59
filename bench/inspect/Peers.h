// Other readers of XML at the same work: from a document to a row of JSON for each record.
#pragma once

#include <span>
#include <string>
#include <string_view>

struct Peer {
  std::string_view name;
  // Appends the document's rows. Throws when the document cannot be parsed.
  void (*toRows)(const std::string& document, std::string& rows);
  // Only parses.
  void (*parse)(const std::string& document);
};

[[nodiscard]] std::span<const Peer> Peers();
