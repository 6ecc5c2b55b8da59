// Reads documents piece by piece: decoded from gzip and from the rotation, in memory that does not depend on
// what is read.
//
//   reader.Open(source);
//   for (Piece piece; (piece = reader.Next()) != Piece::Done;) {
//     if (piece == Piece::Record) Use(reader.Current());
//   }
//   if (!reader.Error().empty()) ...  // not all of it could be read
//
// Made once and used for any number of documents, by one thread at a time.
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
  // A longer record is passed over.
  static constexpr size_t kLongestRecord = size_t{64} << 10;

  // One that is thorough reads every record in the unhurried way, with the same result.
  explicit DocumentReader(bool isThorough = false);

  // Begins with another document. The source must stay until the last piece has been taken.
  void Open(Source& source);

  // After Open: the first 64 KiB of the decoded text, followed by kPadding bytes that can be read. Good until
  // Next.
  [[nodiscard]] std::string_view Beginning() const noexcept;

  // The next piece, until all of the source has been read. What Current and Text gave before is gone then.
  [[nodiscard]] Piece Next();

  // After Piece::Record.
  [[nodiscard]] const Record& Current() const noexcept { return *current_; }

  // Of the last piece, whatever it is. The offset is that of its first byte in the decoded text. Of what is
  // malformed, the text is its beginning, up to the end of its line or the first hundred bytes.
  [[nodiscard]] uint64_t Offset() const noexcept { return offset_; }
  [[nodiscard]] std::string_view Text() const noexcept { return text_; }

  // After Piece::Malformed: what is wrong with the text there.
  [[nodiscard]] Rule Fault() const noexcept { return fault_; }

  [[nodiscard]] bool IsPacked() const noexcept { return gunzip_.has_value(); }
  [[nodiscard]] bool IsObfuscated() const noexcept { return isObfuscated_; }

  // Why the document could not be read to its end; good after Piece::Done.
  [[nodiscard]] std::string_view Error() const noexcept { return source_->Error(); }

 private:
  [[nodiscard]] std::string_view Rest() const noexcept { return {at_, static_cast<size_t>(end_ - at_)}; }
  // Reads more behind the rest. False when nothing more comes.
  bool Refill();
  size_t Fill(char* to, size_t size);
  void Take(size_t size) noexcept;
  [[nodiscard]] Piece PassOver(Rule rule);
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
  bool isThorough_;

  Records records_;
  QuickRecords quick_;
  const Record* current_ = nullptr;
  uint64_t offset_ = 0;
  std::string_view text_;
  std::string excerpt_;
  Rule fault_{};
};

}  // namespace vantra::reader
