// Reads documents piece by piece, unpacking and decoding them, in constant memory.
//
//   reader.Open(source);
//   for (Piece piece; (piece = reader.Next()) != Piece::Done;) {
//     if (piece == Piece::Record) Use(reader.Current());
//   }
//   if (!reader.Error().empty()) ...  // not all of it could be read
//
// Can be used for any number of documents, one after the other, by one thread at a time.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "reader/Grammar.h"
#include "reader/Gunzip.h"
#include "reader/QuickRecords.h"
#include "reader/Record.h"
#include "reader/Rules.h"
#include "reader/Source.h"

namespace vantra::reader {

class DocumentReader {
 public:
  // A longer record is skipped as malformed.
  static constexpr size_t kLongestRecord = size_t{64} << 10;

  // A thorough reader parses every record in full instead of by the faster QuickRecords; the result is the
  // same.
  explicit DocumentReader(bool isThorough = false);

  // Begins another document. The source must stay valid until the last piece has been read.
  void Open(Source& source);

  // After Open: up to 64 KiB of decoded text, followed by kPadding readable bytes. Valid until Next.
  [[nodiscard]] std::string_view Beginning() const noexcept;

  // Reads the next piece. Invalidates what Current and Text returned before.
  [[nodiscard]] Piece Next();

  // The record; only after Piece::Record.
  [[nodiscard]] const Record& Current() const noexcept { return *current_; }

  // The last piece: the offset of its first byte in the decoded text, and its text. The text of a malformed
  // piece is cut at the end of its line or after 100 bytes.
  [[nodiscard]] uint64_t Offset() const noexcept { return offset_; }
  [[nodiscard]] std::string_view Text() const noexcept { return text_; }

  // What is wrong; only after Piece::Malformed.
  [[nodiscard]] Rule Fault() const noexcept { return fault_; }
  // The number, identifier, time or document id that is none, or its beginning; else empty.
  [[nodiscard]] std::string_view FaultyValue() const noexcept { return faultyValue_; }

  [[nodiscard]] bool IsPacked() const noexcept { return gunzip_.has_value(); }
  [[nodiscard]] bool IsObfuscated() const noexcept { return isObfuscated_; }

  // After Piece::Done: why the document could not be read to its end; empty if it was.
  [[nodiscard]] std::string_view Error() const noexcept { return source_->Error(); }

 private:
  [[nodiscard]] std::string_view Rest() const noexcept { return {at_, static_cast<size_t>(end_ - at_)}; }
  // Moves the unread rest to the front and reads more after it. False when no more comes.
  bool Refill();
  [[nodiscard]] bool IsDone();
  size_t Fill(char* to, size_t size);
  void Take(size_t size) noexcept;
  [[nodiscard]] Piece PassOver(Rule rule, size_t good);
  [[nodiscard]] Piece NextOfAny();
  [[nodiscard]] Piece Found(const Record& record) noexcept;

  std::unique_ptr<char[]> buffer_;
  char* at_ = nullptr;
  char* end_ = nullptr;
  uint64_t bufferOffset_ = 0;  // of the buffer's first byte in the decoded text
  Source* source_ = nullptr;
  std::optional<Gunzip> gunzip_;
  bool isObfuscated_ = false;
  bool isAtEnd_ = false;
  bool mayBeAtEnd_ = false;  // the source gave less than there was room for
  bool isThorough_;

  Records records_;
  QuickRecords quick_;
  const Record* current_ = nullptr;
  uint64_t offset_ = 0;
  std::string_view text_;
  std::string excerpt_;
  Rule fault_{};
  std::string faultyValue_;
};

}  // namespace vantra::reader
