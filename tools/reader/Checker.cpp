#include "reader/Checker.h"

#include <algorithm>
#include <cstring>

#include "reader/FileName.h"
#include "util/ByteScans.h"

namespace vantra::reader {
namespace {

int32_t Next(int32_t number) noexcept { return static_cast<int32_t>(static_cast<uint32_t>(number) + 1); }

}  // namespace

void Checker::Report(Rule rule, std::string_view expected, std::string_view found) {
  (*report_)({rule, reader_->Offset(), reader_->Text(), expected, found});
}

// A document with an index continues the numbering of the one before it, if that was given. All others have a
// numbering of their own.
void Checker::Begin(const Document& document) {
  const std::optional<int32_t> index = document.isCopy ? std::nullopt : document.name.index;
  own_ = {};
  course_ = index ? &session_ : &own_;
  nameSession_ = document.name.session;
  stage_ = Stage::Nothing;
  isCut_ = false;
  const bool goesOn = index && session_.index && *index == *session_.index + 1;
  if (!goesOn) {
    course_->nextSeq.reset();
    course_->isEveryGroupKnown = false;
  }
  course_->index = index;
}

void Checker::Check(const Document& document, DocumentReader& reader, const OnFinding& report) {
  reader_ = &reader;
  report_ = &report;
  Begin(document);
  for (Piece piece; (piece = reader.Next()) != Piece::Done;) {
    switch (piece) {
      case Piece::Record:
        CheckRecord(reader.Current());
        break;
      case Piece::Prologue:
        PassPrologue();
        break;
      case Piece::EndTag:
        if (stage_ == Stage::After) break;
        if (stage_ != Stage::Closed) Report(Rule::NoEndTag);
        stage_ = Stage::Ended;
        break;
      default:
        PassMalformed();
    }
  }
  if (reader.Error().empty()) CheckEnd();
  if (!nameSession_.empty() && !IsNameTrue(document.name)) Report(Rule::Name);
}

void Checker::PassPrologue() {
  if (stage_ == Stage::After) return;
  const bool isAfterEnd = stage_ == Stage::Ended;
  if (stage_ != Stage::Nothing) Report(isAfterEnd ? Rule::AfterEnd : Rule::Prologue);
  stage_ = isAfterEnd ? Stage::After : Stage::Prologue;
}

bool Checker::IsNameTrue(const FileName& name) const noexcept {
  if (name.isPacked != reader_->IsPacked()) return false;
  return name.ending == Ending::Tmp || (name.ending == Ending::Rdy) == reader_->IsObfuscated();
}

void Checker::PassMalformed() {
  isCut_ = reader_->Fault() == Rule::Cut;
  if (stage_ != Stage::After) {
    const bool isAfterEnd = stage_ == Stage::Ended;
    Report(isAfterEnd ? Rule::AfterEnd : reader_->Fault(), {},
           isAfterEnd ? std::string_view() : reader_->FaultyValue());
  }
  if (stage_ == Stage::Ended) stage_ = Stage::After;
  course_->nextSeq.reset();
  course_->isEveryGroupKnown = false;
  if (stage_ <= Stage::Prologue) stage_ = Stage::Damaged;
}

void Checker::CheckRecord(const Record& record) {
  Course& course = *course_;
  if (stage_ != Stage::Inside || (record.kind != Kind::Value && record.kind != Kind::Event))
    CheckOrder(record);
  if (record.seq != course.nextSeq && course.nextSeq)
    Report(Rule::Gap, std::to_string(*course.nextSeq), std::to_string(record.seq));
  course.nextSeq = Next(record.seq);
  const Time& last = course.time;
  if (record.time.size() == last.size() && !util::SameBytes(record.time.data(), last.data(), last.size()))
    CheckNewTime(record.time);
  CheckGroup(record);
  if (record.flaws != 0) CheckFlaws(record.flaws);
}

void Checker::CheckNewTime(std::string_view time) {
  Time& last = course_->time;
  const std::string_view before(last.data(), last.size());
  if (time < before) Report(Rule::TimeBack, before, time);
  std::memcpy(last.data(), time.data(), last.size());
}

void Checker::CheckOrder(const Record& record) {
  CheckStage(record.kind);
  Course& course = *course_;
  if (record.kind == Kind::Start) {
    course.isEveryGroupKnown = true;
    course.lastGroup = 0;
    course.nextSeq = 0;
  }
  if (record.kind == Kind::End) course.isEnded = true;
  if (record.id.empty()) return;
  const std::string_view wanted = nameSession_.empty() ? std::string_view(course.id) : nameSession_;
  if (!wanted.empty() && record.id != wanted) Report(Rule::Session, wanted, record.id);
  course.id = record.id;
}

void Checker::CheckStage(Kind kind) {
  const bool isOpening = kind == Kind::Start || kind == Kind::Resume;
  const bool isClosing = kind == Kind::Split || kind == Kind::End;
  switch (stage_) {
    case Stage::After:
      return;
    case Stage::Ended:
      if (kind == Kind::Split && course_->isEnded) {
        Report(Rule::SplitAfterEnd);
        break;
      }
      Report(Rule::AfterEnd);
      stage_ = Stage::After;
      return;
    case Stage::Closed:
      Report(Rule::NoEndTag);
      break;
    case Stage::Nothing:
      Report(Rule::NoPrologue);
      break;
    case Stage::Damaged:
      break;
    default:
      // Only a session's first document may hold StartSession.
      if (isOpening != (stage_ == Stage::Prologue) ||
          (kind == Kind::Start && course_->index.value_or(0) != 0))
        Report(Rule::Opening);
  }
  stage_ = isClosing ? Stage::Closed : Stage::Inside;
}

void Checker::CheckGroup(const Record& record) {
  Course& course = *course_;
  const auto group = static_cast<uint32_t>(record.group);
  if (record.kind == Kind::Value) {
    if (group - 1 < course.lastGroup) return;  // neither zero nor beyond
    if (course.isEveryGroupKnown || record.group <= 0)
      return Report(Rule::Group, {}, std::to_string(record.group));
    course.lastGroup = group;
  } else if (record.kind == Kind::Group) {
    const bool isNext = course.isEveryGroupKnown ? group == course.lastGroup + 1 : group > course.lastGroup;
    if (!isNext) Report(Rule::Group, std::to_string(course.lastGroup + 1), std::to_string(record.group));
    course.lastGroup = group;
    course.isEveryGroupKnown = true;
  }
}

void Checker::CheckFlaws(uint8_t flaws) {
  if ((flaws & kControlCharacter) != 0) Report(Rule::Control);
  if ((flaws & kNotUtf8) != 0) Report(Rule::Utf8);
  if ((flaws & kNoCharacter) != 0) Report(Rule::NoCharacter);
  if ((flaws & kRawMarkup) != 0) Report(Rule::RawMarkup);
}

void Checker::CheckEnd() {
  if (stage_ >= Stage::Ended || isCut_ || stage_ == Stage::Damaged) return;
  if (stage_ == Stage::Closed) return Report(Rule::NoEndTag);
  Report(course_->isEnded ? Rule::SplitAfterEnd : Rule::Open);
}

}  // namespace vantra::reader
