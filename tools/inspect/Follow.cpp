// show --follow: shows a session while it is being written.
//
// Each look reads the document again from its beginning and skips the records shown before, by their numbers,
// so splits and renames do not matter. The handle of the document being written stays open, which keeps
// nobody from moving or deleting it: the agent may take the document as soon as it is finished.
#include <chrono>
#include <optional>
#include <stdexcept>
#include <thread>
#include <unordered_set>

#include "Show.h"
#include "reader/Files.h"

namespace vantra::inspect {
namespace {

using reader::Document;
using reader::Piece;
using reader::Session;

constexpr std::chrono::milliseconds kPause{100};
// After this many looks in a row without a writer or a document, the session is over.
constexpr int kMostQuietLooks = 10;

class Following {
 public:
  Following(const ShowOptions& options, Output& output) : printer_(options, output) {}

  // Shows new records. False when the session is over.
  bool Look(const Session& session) {
    // The document read last may have been finished and taken away.
    Read();
    bool isWritten = false;
    for (const Document& document : session.documents) {
      if (document.isCopy || document.name.index.value_or(next_) < next_) continue;
      if (document.name.stem != stem_) {
        file_.Open(document.Path());
        stem_ = document.name.stem;
        index_ = document.name.index;
        isAnnounced_ = false;
        Read();
      }
      isWritten = isWritten || IsGoingOn(document);
    }
    printer_.Flush();
    quietLooks_ = isWritten ? 0 : quietLooks_ + 1;
    if (hasEnded_) return false;
    if (quietLooks_ < kMostQuietLooks) return true;
    Say(session.documents.empty() ? "the session's documents have gone"
                                  : "nobody writes the session any more, and it has no end");
    return false;
  }

 private:
  // Whether more records may follow, as far as this machine can know.
  static bool IsGoingOn([[maybe_unused]] const Document& document) {
#ifdef _WIN32
    return document.name.ending == reader::Ending::Tmp && reader::IsBeingWritten(document.Path());
#else
    return true;
#endif
  }

  void Read() {
    file_.Rewind();
    reader_.Open(file_);
    const reader::Facts facts = reader::FactsIn(reader_.Beginning());
    if (!isAnnounced_ && facts.origin != reader::Origin::Session) last_ = -1;
    if (!hasBegun_ && !facts.session.empty()) {
      printer_.Begin(facts, facts.start, {});
      hasBegun_ = true;
    }
    for (Piece piece; (piece = reader_.Next()) != Piece::Done;) {
      if (piece == Piece::Record && reader_.Current().seq > last_) Show(reader_.Current(), facts.origin);
    }
    hasEnded_ = hasEnded_ || facts.origin == reader::Origin::Crash;
  }

  void Show(const reader::Record& record, reader::Origin origin) {
    if (!isAnnounced_) printer_.BeginDocument(stem_, origin);
    isAnnounced_ = true;
    if (last_ >= 0 && record.seq > last_ + 1) {
      printer_.Flush();
      Say("records " + std::to_string(last_ + 1) + " to " + std::to_string(record.seq - 1) +
          " had gone before they could be seen");
    }
    last_ = record.seq;
    hasEnded_ = hasEnded_ || record.kind == reader::Kind::End;
    if (record.kind == reader::Kind::Split) next_ = index_.value_or(next_) + 1;
    printer_.Add(record);
  }

  SessionPrinter printer_;
  reader::DocumentReader reader_;
  // The current document; stays open, since it may be moved or deleted between two looks.
  reader::FileSource file_;
  std::string stem_;
  std::optional<int32_t> index_;
  bool isAnnounced_ = false;
  int32_t last_ = -1;
  int32_t next_ = 0;
  int quietLooks_ = 0;
  bool hasBegun_ = false;
  bool hasEnded_ = false;
};

bool MayGoOn(const reader::Summary& summary) {
  return summary.state == reader::State::Open ||
#ifndef _WIN32
         summary.state == reader::State::Abandoned ||
#endif
         summary.state == reader::State::Incomplete;
}

// Whether the documents belong to a session, not to a changed opt-in.
bool IsOfSession(const Session& session) {
  const std::string_view id = session.documents.front().name.session;
  return !id.empty() && id != reader::kNilGuid;
}

// The identifiers of the sessions present, as hashes.
using Known = std::unordered_set<size_t>;

// Adds the sessions present now; returns the first that was not there before.
std::string Learn(Inputs& inputs, Known& known) {
  std::string found;
  for (reader::Sessions sessions = inputs.Find(); sessions.Next();) {
    for (size_t i = 0; i < sessions.Count(); ++i) {
      const Session session = sessions[i];
      const bool isNew = known.insert(std::hash<std::string_view>()(session.id)).second;
      if (isNew && found.empty() && IsOfSession(session)) found = session.id;
    }
  }
  return found;
}

std::string WaitForNew(Inputs& inputs, Known& known) {
  Say("waiting for a session");
  for (;;) {
    std::this_thread::sleep_for(kPause);
    if (std::string id = Learn(inputs, known); !id.empty()) return id;
  }
}

}  // namespace

int Follow(ShowOptions& options, const std::vector<std::string>& names, Output& output) {
  if (names.size() > 1) throw std::runtime_error("one session can be followed at a time");
  Inputs& inputs = options.inputs;
  std::string id = names.empty() ? std::string() : FindNamed(inputs, names.front());
  if (id.empty()) {
    reader::Sessions sessions = inputs.Find();
    const bool isThere = sessions.Next();
    if (inputs.UseFolders() && isThere) id = sessions[0].id;
  }
  inputs.UseFolders();
  if (id.empty()) {
    Known known;
    static_cast<void>(Learn(inputs, known));
    id = FindLast(inputs, MayGoOn);
    if (id.empty()) id = WaitForNew(inputs, known);
  }
  for (Following following(options, output);;) {
    reader::Sessions sessions = inputs.Find(id);
    const bool isThere = sessions.Next();
    if (!following.Look(isThere && sessions[0].id == id ? sessions[0] : Session{id, {}})) return kDone;
    std::this_thread::sleep_for(kPause);
  }
}

}  // namespace vantra::inspect
