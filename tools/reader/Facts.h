// What a session or a document is about, from its first records.
#pragma once

#include <string>
#include <string_view>

#include "reader/DocumentReader.h"
#include "reader/Record.h"

namespace vantra::reader {

enum class Origin : uint8_t { Session, Crash, OptIn };
[[nodiscard]] std::string_view NameOf(Origin origin) noexcept;

// Texts of the host, unescaped and valid UTF-8; empty where a document does not tell.
struct Facts {
  Origin origin = Origin::Session;
  // The product concerned: of a crash document the one that crashed, of an opt-in document the one that the
  // user chose for.
  std::string family, product, version, build, language;
  std::string user;
  std::string session;  // empty for a document that belongs to none
  std::string start;    // time of the session's start

  // Takes what is missing here from another document of the same session.
  void Complete(const Facts& other);
};

// From the beginning of a document's decoded text, as DocumentReader gives it.
[[nodiscard]] Facts FactsIn(std::string_view beginning);

}  // namespace vantra::reader
