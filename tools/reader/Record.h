// The records of usage documents. docs/document-format.md defines the format byte by byte.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace vantra::reader {

enum class Kind : uint8_t { Start, Resume, Group, Value, Event, Split, End };
constexpr size_t kKinds = 7;

// The value of a free-text attribute, still escaped. Never empty: NOVALUE stands for an absent text.
struct Text {
  std::string_view raw;
  // Whether raw equals the host's text and is valid UTF-8 without control characters, so that it can be
  // copied into JSON as it is. Any other text goes through Unescape.
  bool isPlain = true;

  [[nodiscard]] bool HasValue() const noexcept { return raw != "NOVALUE" && !raw.empty(); }
};

// The texts of a ResumeSession, which are not escaped.
struct ResumeTexts {
  std::string_view family, product, version, build, language, startTime, user;
};

// Flaws of a record that can be read nevertheless: bits of Record::flaws.
enum Flaw : uint8_t {
  kControlCharacter = 1,  // one that XML does not allow
  kNotUtf8 = 2,
  kNoCharacter = 4,  // U+FFFE or U+FFFF
  kRawMarkup = 8,    // & < or " in an unescaped text
};

// All views are into the reader's buffer, and valid until the next piece is read.
struct Record {
  Kind kind;
  uint8_t flaws;
  int32_t seq;
  int32_t group;          // of Group and Value
  std::string_view text;  // the whole record, with its line feed
  std::string_view time;  // 2011-03-04T05:06:07Z, or empty
  std::string_view id;    // of Start, Resume, Split and End; 36 characters or empty
  std::string_view doc;   // of Group and Event: 0, 32 digits, NOVALUE, or empty
  Text category;          // of Group and Event
  Text subcategory;       // of Group and Event
  Text name;              // of Group, Value and Event
  Text value;             // of Value
  ResumeTexts resume;     // of Resume
};

}  // namespace vantra::reader
