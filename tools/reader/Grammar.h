// The grammar of documents, piece by piece: the exact and unhurried reading of it, which tells what is wrong.
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

// One of each kind, so that what a kind has not is empty in it for good.
using Records = std::array<Record, kKinds>;
[[nodiscard]] Records EmptyRecords() noexcept;

struct Parsed {
  Piece piece;
  Kind kind;          // of a Record
  Rule rule;          // of what is Malformed
  bool isIncomplete;  // the text ends within the piece: what was found holds only if no more text follows
  size_t size;        // of the piece; of what is Malformed up to the byte that is wrong
};

// Reads the piece at the beginning of the text, which is not empty and followed by kPadding NUL bytes. Fills
// all of a record but its offset.
[[nodiscard]] Parsed Parse(std::string_view text, Records& records) noexcept;

// Whether a piece of the format may begin there: where reading goes on behind what is malformed.
[[nodiscard]] bool IsBeginning(std::string_view text) noexcept;
// No more bytes than this are needed to tell.
constexpr size_t kLongestBeginning = 20;

[[nodiscard]] bool IsTime(std::string_view text) noexcept;
[[nodiscard]] bool IsGuid(std::string_view text) noexcept;
[[nodiscard]] bool IsDocumentId(std::string_view text) noexcept;

}  // namespace vantra::reader
