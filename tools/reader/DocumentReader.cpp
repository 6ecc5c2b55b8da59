#include "reader/DocumentReader.h"

#include <algorithm>
#include <cstring>

#include "reader/Text.h"
#include "session/Obfuscation.h"

namespace vantra::reader {
namespace {

constexpr size_t kCapacity = size_t{256} << 10;
constexpr size_t kExcerpt = 100;

}  // namespace

DocumentReader::DocumentReader(bool isThorough)
    : buffer_(std::make_unique<char[]>(kCapacity + kPadding)),
      isThorough_(isThorough),
      records_(EmptyRecords()),
      quick_(records_) {}

void DocumentReader::Open(Source& source) {
  source_ = &source;
  gunzip_.reset();
  isObfuscated_ = isAtEnd_ = false;
  text_ = {};
  bufferOffset_ = 0;
  at_ = end_ = buffer_.get();
  size_t size = Fill(at_, kCapacity);
  if (BeginsPacked({at_, size})) {
    gunzip_.emplace(source, std::string_view(at_, size));
    source_ = &*gunzip_;
    isAtEnd_ = false;
    size = Fill(at_, kCapacity);
  }
  end_ = at_ + size;
  if (Rest().starts_with(session::kObfuscationMarker)) {
    isObfuscated_ = true;
    at_ += session::kObfuscationMarker.size();
    util::Rotate({at_, end_});
    bufferOffset_ -= session::kObfuscationMarker.size();  // wraps around, and back when an offset is added
  }
  std::memset(end_, 0, kPadding);
}

size_t DocumentReader::Fill(char* to, size_t size) {
  const size_t filled = source_->Read(to, size);
  isAtEnd_ = filled == 0;
  mayBeAtEnd_ = filled < size;
  return filled;
}

bool DocumentReader::Refill() {
  if (isAtEnd_) return false;
  const size_t rest = Rest().size();
  std::memmove(buffer_.get(), at_, rest);
  bufferOffset_ += static_cast<uint64_t>(at_ - buffer_.get());
  at_ = buffer_.get();
  end_ = at_ + rest;
  const size_t filled = Fill(end_, kCapacity - rest);
  if (isObfuscated_) util::Rotate({end_, filled});
  end_ += filled;
  std::memset(end_, 0, kPadding);
  return filled != 0;
}

std::string_view DocumentReader::Beginning() const noexcept { return Rest().substr(0, kLongestRecord); }

void DocumentReader::Take(size_t size) noexcept {
  offset_ = bufferOffset_ + static_cast<uint64_t>(at_ - buffer_.get());
  text_ = {at_, size};
  at_ += size;
}

// Passes over what is malformed from its good part on, up to the line where a piece may begin again.
Piece DocumentReader::PassOver(Rule rule, size_t good) {
  faultyValue_.clear();
  if (rule == Rule::Identifier || rule == Rule::Time || rule == Rule::Number || rule == Rule::Document) {
    const std::string_view read = Rest().substr(0, good);
    faultyValue_ = read.substr(read.rfind('"') + 1, kExcerpt);
  }
  excerpt_ = Rest().substr(0, std::min(kExcerpt, Rest().find('\n', 1)));
  fault_ = rule;
  Take(0);
  text_ = excerpt_;
  for (;;) {
    const size_t line = Rest().find("\n<");
    at_ = line == std::string_view::npos ? std::max(at_, end_ - 1) : at_ + line;
    if (Rest().size() <= kLongestBeginning && !isAtEnd_) {
      Refill();
      continue;
    }
    if (line == std::string_view::npos) break;
    ++at_;
    if (IsBeginning(Rest())) return Piece::Malformed;
  }
  at_ = end_;
  return Piece::Malformed;
}

// A whole document is known to end where the source gave less than was asked for, without asking once more.
bool DocumentReader::IsDone() { return at_ == end_ && ((mayBeAtEnd_ && text_ == kEndTag) || !Refill()); }

Piece DocumentReader::Next() {
  const Record* const quick = isThorough_ ? nullptr : quick_.Read(at_);
  if (quick == nullptr || quick->text.size() > kLongestRecord) return NextOfAny();
  Take(quick->text.size());
  return Found(*quick);
}

Piece DocumentReader::Found(const Record& record) noexcept {
  current_ = &record;
  return Piece::Record;
}

Piece DocumentReader::NextOfAny() {
  for (;;) {
    if (IsDone()) {
      Take(0);
      return Piece::Done;
    }
    const std::string_view text = Rest().substr(0, kLongestRecord);
    const Parsed parsed = Parse(text, records_);
    const bool isLong = text.size() == kLongestRecord;
    if (parsed.isIncomplete && !isLong && Refill()) continue;
    if (parsed.piece == Piece::Malformed)
      return PassOver(parsed.isIncomplete && isLong ? Rule::TooLong : parsed.rule, parsed.size);
    Take(parsed.size);
    if (parsed.piece != Piece::Record) return parsed.piece;
    const Record& record = records_[static_cast<size_t>(parsed.kind)];
    quick_.Learn(record);
    return Found(record);
  }
}

}  // namespace vantra::reader
