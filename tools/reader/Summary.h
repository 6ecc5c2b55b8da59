// A session in one line: what it was, how it ended, how much it recorded.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "reader/DocumentReader.h"
#include "reader/Facts.h"
#include "reader/Sessions.h"

namespace vantra::reader {

enum class State : uint8_t {
  Complete,
  Crashed,     // a crash document tells so; goes before the others
  Abandoned,   // no end, and nobody writes it; where that cannot be told, a .tmp counts as abandoned
  Open,        // a host holds it
  Incomplete,  // a document of it is missing
};
[[nodiscard]] std::string_view NameOf(State state) noexcept;

struct Summary {
  Facts facts;
  std::string start;  // empty when neither a record nor the crash document tells
  std::string end;    // time of the last record
  uint64_t files = 0;
  uint64_t records = 0;  // of the session's own documents, as events are
  uint64_t events = 0;
  State state = State::Complete;
};

// Reads all documents of the session but copies. What cannot be read is told, and left out.
[[nodiscard]] Summary Summarize(const Session& session, DocumentReader& reader, const Complaint& complain);

}  // namespace vantra::reader
