// The grammar of documents, piece by piece: a full parser, which also says what is wrong.
#pragma once

#include <array>
#include <string_view>

#include "reader/Record.h"
#include "reader/Rules.h"

namespace vantra::reader {

constexpr std::string_view kPrologue =
    "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n\n<UsageDoc version=\"0.5.4\">\n";
constexpr std::string_view kEndTag = "</UsageDoc>\n";
constexpr std::string_view kRecordEnd = "\" />\n";

enum class Piece : uint8_t { Record, Prologue, EndTag, Malformed, Done };

// One record of each kind, so that fields which a kind does not have stay empty.
using Records = std::array<Record, kKinds>;
[[nodiscard]] Records EmptyRecords() noexcept;

struct Parsed {
  Piece piece;
  Kind kind;          // of a Record
  Rule rule;          // of a Malformed piece
  bool isIncomplete;  // the text ends within the piece: the result holds only if no more text follows
  size_t size;        // of the piece; of a Malformed one, up to the wrong byte
};

// Parses the piece at the beginning of the text, which must not be empty and must be followed by kPadding NUL
// bytes. A record is stored in records, at the index of its kind.
[[nodiscard]] Parsed Parse(std::string_view text, Records& records) noexcept;

// Whether a piece may begin here, so that reading can continue after malformed text.
[[nodiscard]] bool IsBeginning(std::string_view text) noexcept;
// The most bytes that IsBeginning needs.
constexpr size_t kLongestBeginning = 20;

[[nodiscard]] bool IsTime(std::string_view text) noexcept;
[[nodiscard]] bool IsGuid(std::string_view text) noexcept;
[[nodiscard]] bool IsDocumentId(std::string_view text) noexcept;

}  // namespace vantra::reader
