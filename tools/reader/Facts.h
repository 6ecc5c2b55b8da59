// What a document says about its product, user and session, from its first records.
#pragma once

#include <string>
#include <string_view>

#include "reader/DocumentReader.h"
#include "reader/Record.h"

namespace vantra::reader {

enum class Origin : uint8_t { Session, Crash, OptIn };
[[nodiscard]] std::string_view NameOf(Origin origin) noexcept;

// Texts of the host, unescaped and valid UTF-8; empty where the document does not say.
struct Facts {
  Origin origin = Origin::Session;
  // The product concerned: in a crash document the one that crashed, in an opt-in document the one for which
  // the user chose.
  std::string family, product, version, build, language;
  std::string user;
  std::string session;  // empty for a document that belongs to none
  std::string start;    // time of the session's start

  // Fills what is missing from another document of the same session.
  void Complete(const Facts& other);
};

// Reads the facts from the beginning of a document's decoded text, as DocumentReader::Beginning returns it.
[[nodiscard]] Facts FactsIn(std::string_view beginning);

}  // namespace vantra::reader
