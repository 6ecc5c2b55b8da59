// The rules of the document format against which documents are checked.
#pragma once

#include <cstdint>
#include <string_view>

namespace vantra::reader {

enum class Rule : uint8_t {
  // Text that is no record, and is skipped.
  Prologue,
  Doctype,
  Foreign,
  Attributes,
  Escaping,
  Nul,
  Identifier,
  Time,
  Number,
  Document,
  TooLong,
  Cut,
  // Records that are not well-formed XML but can be read.
  Control,
  Utf8,
  NoCharacter,
  RawMarkup,
  // The order of pieces in a document.
  NoPrologue,
  Opening,
  AfterEnd,
  SplitAfterEnd,
  NoEndTag,
  Open,
  // Rules across the documents of a session.
  Gap,
  TimeBack,
  Group,
  Session,
  Name,
};

struct RuleText {
  std::string_view name;      // short and stable, for programs
  std::string_view sentence;  // what is wrong
};

[[nodiscard]] RuleText TextOf(Rule rule) noexcept;

}  // namespace vantra::reader
