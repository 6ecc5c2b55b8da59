// Free text in documents: where it ends, what it means, and what is wrong with it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "session/FreeText.h"
#include "util/ByteScans.h"

namespace vantra::reader {

// Functions without an end argument read whole blocks: this many bytes after a text must be readable, and
// NUL, which stops them.
constexpr size_t kPadding = 64;

using HexDigit = util::AnyOf<util::ByteRange<'0', '9'>, util::ByteRange<'a', 'f'>>;
// Bytes that a scan of free text must stop at.
using Unordinary = session::MarkupOr<util::ControlOrNotAscii>;

struct FreeScan {
  // The quote that ends the text, or the first byte that free text cannot hold: < > ' \ NUL, or an & that
  // does not begin a reference.
  const char* end;
  uint8_t flaws;  // bits of Flaw
  bool isPlain;   // see Text
};
[[nodiscard]] FreeScan ScanFree(const char* at) noexcept;

// A UTF-8 character: its size, or zero if it is invalid; then invalid is the number of bytes that become one
// U+FFFD.
struct Character {
  uint8_t size;
  uint8_t invalid;
  bool isNoCharacter;  // U+FFFE or U+FFFF
};
[[nodiscard]] Character ReadCharacter(const char* at, const char* end) noexcept;

// The character for which the reference at this place stands, or NUL when there is no reference. Reads five
// bytes.
constexpr size_t kReferenceSize = 5;
[[nodiscard]] char ReadReference(const char* at) noexcept;

// Appends the host's text: resolves references, and replaces bytes that are not UTF-8 by U+FFFD.
void Unescape(std::string_view raw, std::string& out);

// Appends a text, replacing bytes that are not UTF-8 by U+FFFD.
void AppendUtf8(std::string_view text, std::string& out);

}  // namespace vantra::reader
