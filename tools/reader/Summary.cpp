#include "reader/Summary.h"

#include <optional>

#include "reader/Files.h"

namespace vantra::reader {
namespace {

class Summing {
 public:
  Summing(DocumentReader& reader, const Complaint& complain) : reader_(reader), complain_(complain) {}

  void Add(const Document& document) {
    FileSource file;
    const std::string path = document.Path();
    if (!file.Open(document.folder, document.file)) return complain_(path, file.Error());
    reader_.Open(file);
    ++summary_.files;
    const Facts facts = FactsIn(reader_.Beginning());
    if (facts.origin == Origin::Session) {
      AddOwn(document);
      isOpen_ = document.name.ending == Ending::Tmp && IsBeingWritten(path);
    } else {
      AddOther(facts);
    }
    summary_.facts.Complete(facts);
    if (!reader_.Error().empty()) complain_(path, reader_.Error());
  }

  [[nodiscard]] Summary Result() {
    summary_.state = isCrashed_               ? State::Crashed
                     : isOpen_                ? State::Open
                     : !hasEnd_ && !isSplit_  ? State::Abandoned
                     : isMissing_ || !hasEnd_ ? State::Incomplete
                                              : State::Complete;
    if (summary_.start.empty()) summary_.start = summary_.facts.start;
    return summary_;
  }

 private:
  void AddOwn(const Document& document) {
    const int32_t index = document.name.index.value_or(next_);
    isMissing_ = isMissing_ || index != next_;
    next_ = index + 1;
    isSplit_ = false;
    for (Piece piece; (piece = reader_.Next()) != Piece::Done;) {
      if (piece == Piece::Record) Count(reader_.Current());
    }
  }

  void Count(const Record& record) {
    ++summary_.records;
    if (record.kind == Kind::Event) ++summary_.events;
    if (record.kind == Kind::End) hasEnd_ = true;
    isSplit_ = record.kind == Kind::Split;
    if (record.time.empty()) return;
    summary_.end = record.time;
    if (summary_.start.empty())
      summary_.start = record.kind == Kind::Resume ? record.resume.startTime : record.time;
  }

  // A crash document's start is the time of the crash.
  void AddOther(const Facts& facts) {
    summary_.facts.origin = facts.origin;
    isCrashed_ = isCrashed_ || facts.origin == Origin::Crash;
    for (Piece piece; (piece = reader_.Next()) != Piece::Done;) {
    }
  }

  DocumentReader& reader_;
  const Complaint& complain_;
  Summary summary_;
  int32_t next_ = 0;
  bool isMissing_ = false;
  bool isSplit_ = false;
  bool hasEnd_ = false;
  bool isOpen_ = false;
  bool isCrashed_ = false;
};

}  // namespace

std::string_view NameOf(State state) noexcept {
  switch (state) {
    case State::Complete:
      return "complete";
    case State::Crashed:
      return "crashed";
    case State::Abandoned:
      return "abandoned";
    case State::Open:
      return "open";
    default:
      return "incomplete";
  }
}

Summary Summarize(const Session& session, DocumentReader& reader, const Complaint& complain) {
  Summing summing(reader, complain);
  for (const Document& document : session.documents) {
    if (!document.isCopy) summing.Add(document);
  }
  return summing.Result();
}

}  // namespace vantra::reader
