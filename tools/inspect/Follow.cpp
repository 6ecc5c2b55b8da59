// show --follow: a session while it is written.
//
// A document is read anew at each look, and what was shown before is left out by its number. So it does not
// matter when a document is split or renamed. The handle of the one that is written is kept, which keeps
// nobody from moving or deleting it: the agent may take it as soon as it has its end.
#include <chrono>
#include <optional>
#include <set>
#include <stdexcept>
#include <thread>

#include "Show.h"
#include "reader/Files.h"

namespace vantra::inspect {
namespace {

using reader::Document;
using reader::Piece;
using reader::Session;

constexpr std::chrono::milliseconds kPause{100};
// So many looks at which nobody wrote, or nothing was there, tell that the session is over.
constexpr int kMostQuietLooks = 10;

void Ignore(std::string_view, std::string_view) {}

class Following {
 public:
  Following(const ShowOptions& options, Output& output) : printer_(options, output) {}

  // Shows what is new. False when the session is over.
  bool Look(const Session& session) {
    // The document that was read last may have got its end and gone.
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
  // Whether more may come, as far as this machine can tell.
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
  // The document that is read: its handle stays, for it may be moved or deleted between two looks.
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

// The session that started last and may be going on.
std::string FindOpen(const reader::Sessions& sessions) {
  reader::DocumentReader reader;
  std::string lastStart;
  std::string open;
  for (size_t i = 0; i < sessions.Count(); ++i) {
    const reader::Summary summary = Summarize(sessions[i], reader, Ignore);
    const bool isOpen = summary.state == reader::State::Open ||
#ifndef _WIN32
                        summary.state == reader::State::Abandoned ||
#endif
                        summary.state == reader::State::Incomplete;
    if (!isOpen || summary.facts.origin == reader::Origin::OptIn || summary.start < lastStart) continue;
    lastStart = summary.start;
    open = sessions[i].id;
  }
  return open;
}

// Waits for a session that was not there at first.
std::string WaitForNew(const Inputs& inputs, const reader::Sessions& atFirst) {
  std::set<std::string, std::less<>> known;
  for (size_t i = 0; i < atFirst.Count(); ++i) known.emplace(atFirst[i].id);
  Say("waiting for a session");
  for (;;) {
    std::this_thread::sleep_for(kPause);
    const reader::Sessions sessions = inputs.Find(Ignore);
    for (size_t i = 0; i < sessions.Count(); ++i) {
      const Session session = sessions[i];
      const bool isOfSession = !session.documents.front().name.session.empty() &&
                               session.documents.front().name.session != reader::kNilGuid;
      if (isOfSession && !known.contains(session.id)) return std::string(session.id);
    }
  }
}

Session FindSession(const reader::Sessions& sessions, std::string_view id) {
  for (size_t i = 0; i < sessions.Count(); ++i) {
    Session session = sessions[i];
    if (session.id == id) return session;
  }
  return {id, {}};
}

}  // namespace

int Follow(ShowOptions& options, const std::vector<std::string>& names, Output& output) {
  if (names.size() > 1) throw std::runtime_error("one session can be followed at a time");
  std::string id;
  {
    const reader::Sessions sessions = options.inputs.Find(Ignore);
    const bool isFile = options.inputs.UseFolders() && sessions.Count() != 0;
    id = !names.empty() || isFile ? std::string(sessions[Select(sessions, names, false).front()].id)
                                  : FindOpen(sessions);
    if (id.empty()) id = WaitForNew(options.inputs, sessions);
  }
  for (Following following(options, output);;) {
    const reader::Sessions sessions = options.inputs.Find(Ignore);
    if (!following.Look(FindSession(sessions, id))) return kDone;
    std::this_thread::sleep_for(kPause);
  }
}

}  // namespace vantra::inspect
