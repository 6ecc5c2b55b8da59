// Other readers of XML at the same work: a document in, a row of JSON a record out.
#pragma once

#include <span>
#include <string>
#include <string_view>

struct Peer {
  std::string_view name;
  // Appends the document's rows. Throws when the document cannot be parsed.
  void (*toRows)(const std::string& document, std::string& rows);
  // The parsing alone.
  void (*parse)(const std::string& document);
};

[[nodiscard]] std::span<const Peer> Peers();
