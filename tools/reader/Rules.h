// The rules of the document format that a reader holds a document against.
#pragma once

#include <cstdint>
#include <string_view>

namespace vantra::reader {

enum class Rule : uint8_t {
  // A piece of text that is no record, and is passed over.
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
  // A record that cannot be XML and is read all the same.
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
  // What holds across the documents of a session.
  Gap,
  TimeBack,
  Group,
  Session,
  Name,
};

struct RuleText {
  std::string_view name;      // short and stable: what a program asks for
  std::string_view sentence;  // what is wrong
};

[[nodiscard]] RuleText TextOf(Rule rule) noexcept;

}  // namespace vantra::reader
