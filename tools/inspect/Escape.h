// Texts of documents as the inside of JSON strings and of quoted CSV fields, written where there is room for
// them: a text grows at most six times, and up to a block more is written behind it.
//
// Texts must be followed by reader::kPadding bytes that can be read. Bytes that are no UTF-8 become U+FFFD.
#pragma once

#include <string_view>

namespace vantra::inspect {

// What is done with each character that has to be looked at.
enum class Escaping : bool {
  Json,
  Csv,  // quotes are doubled; control characters but tabs and line breaks are written as JSON would
};

// With references resolved, as in free text, or not.
template <Escaping kEscaping>
[[nodiscard]] char* PutEscaped(char* at, std::string_view text, bool hasReferences) noexcept;

extern template char* PutEscaped<Escaping::Json>(char*, std::string_view, bool) noexcept;
extern template char* PutEscaped<Escaping::Csv>(char*, std::string_view, bool) noexcept;

}  // namespace vantra::inspect
