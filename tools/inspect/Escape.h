// Writes texts of documents as the contents of JSON strings and quoted CSV fields. The caller provides room:
// a text grows at most six times, and up to one block more is written after it.
//
// Texts must be followed by reader::kPadding readable bytes. Bytes that are not UTF-8 become U+FFFD.
#pragma once

#include <string_view>

namespace vantra::inspect {

// How special characters are escaped.
enum class Escaping : bool {
  Json,
  Csv,  // quotes are doubled; control characters except tabs and line breaks are escaped as in JSON
};

// Writes the text and returns the position after it. hasReferences says whether to resolve references, as in
// free text.
template <Escaping kEscaping>
[[nodiscard]] char* PutEscaped(char* at, std::string_view text, bool hasReferences) noexcept;

extern template char* PutEscaped<Escaping::Json>(char*, std::string_view, bool) noexcept;
extern template char* PutEscaped<Escaping::Csv>(char*, std::string_view, bool) noexcept;

}  // namespace vantra::inspect
