#include "reader/Summary.h"

#include <optional>

#include "reader/Files.h"

namespace vantra::reader {
namespace {

class Summing {
 public:
  Summing(DocumentReader& reader, const Complaint& complain, const TakeRecord& take)
      : reader_(reader), complain_(complain), take_(take) {}

  void Add(const Document& document) {
    const std::string path = document.Path();
    if (!file_.Open(document.folder, document.file)) return complain_(path, file_.Error());
    reader_.Open(file_);
    ++summary_.files;
    const Facts facts = FactsIn(reader_.Beginning());
    summary_.facts.Complete(facts);
    if (facts.origin == Origin::Session) {
      AddOwn(document);
      isOpen_ = isOpen_ || (document.name.ending == Ending::Tmp && IsBeingWritten(path));
    } else {
      AddOther(facts);
    }
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
    Read([this](const Record& record) { Count(record); });
  }

  template <class Use>
  void Read(const Use& use) {
    for (Piece piece; (piece = reader_.Next()) != Piece::Done;) {
      if (piece == Piece::Record) use(reader_.Current());
      if (piece == Piece::Malformed) ++summary_.malformed;
    }
  }

  void Count(const Record& record) {
    if (take_) take_(record, summary_.facts);
    ++summary_.records;
    if (record.kind == Kind::Event) ++summary_.events;
    if (record.kind == Kind::End) hasEnd_ = true;
    isSplit_ = record.kind == Kind::Split;
    if (record.time.empty()) return;
    summary_.end = record.time;
    if (summary_.start.empty())
      summary_.start = record.kind == Kind::Resume ? record.resume.startTime : record.time;
  }

  // The start of a crash document is the time of the crash; it serves only if no other document has a start.
  void AddOther(const Facts& facts) {
    summary_.facts.origin = facts.origin;
    isCrashed_ = isCrashed_ || facts.origin == Origin::Crash;
    Read([](const Record&) {});
  }

  DocumentReader& reader_;
  const Complaint& complain_;
  const TakeRecord& take_;
  FileSource file_;
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

Summary Summarize(const Session& session, DocumentReader& reader, const Complaint& complain,
                  const TakeRecord& take) {
  Summing summing(reader, complain, take);
  for (const Document& document : session.documents) {
    if (!document.isCopy) summing.Add(document);
  }
  return summing.Result();
}

}  // namespace vantra::reader
