// Summarizes a session: what it was, how it ended, how much it recorded.
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
  Crashed,     // there is a crash document; takes precedence over the others
  Abandoned,   // no end, and nobody writes it; also any .tmp where IsBeingWritten cannot know
  Open,        // a host has it open
  Incomplete,  // a document is missing
};
[[nodiscard]] std::string_view NameOf(State state) noexcept;

struct Summary {
  Facts facts;
  std::string start;  // empty when no document says
  std::string end;    // time of the last record
  uint64_t files = 0;
  uint64_t records = 0;  // without crash documents, and so for events
  uint64_t events = 0;
  uint64_t malformed = 0;  // pieces of all its documents that are no records
  State state = State::Complete;
};

// Receives each record of the session's own documents, with what is known of the session before its document.
using TakeRecord = std::function<void(const Record& record, const Facts& facts)>;

// Reads all documents of the session but copies. What cannot be read is reported and left out.
[[nodiscard]] Summary Summarize(const Session& session, DocumentReader& reader, const Complaint& complain,
                                const TakeRecord& take = {});

}  // namespace vantra::reader
