// What a catalogue must not declare: texts that the library would change, and things that cannot be
// distinguished. Pure.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "Catalogue.h"
#include "api/Validation.h"

namespace vantra::catalogue {

// What is wrong with a text that the host records and the library checks with these flags; empty if nothing
// is. The sentence continues the name of the field.
[[nodiscard]] std::string FaultOfText(std::string_view text, api::TextFlag flag);

// The same for a category and for a key of the session; the library keeps some of both for itself.
[[nodiscard]] std::string FaultOfCategory(std::string_view text, api::TextFlag flag);
[[nodiscard]] std::string FaultOfSessionKey(std::string_view text);
// The same for a name that becomes part of file names.
[[nodiscard]] std::string FaultOfProductName(std::string_view text);

// Whether the text has an invisible character other than a tab or line break, such as one that changes the
// reading order. It breaks compilers and deceives people.
[[nodiscard]] bool HasUnseen(std::string_view utf8) noexcept;

[[nodiscard]] bool IsOwnCategory(std::string_view category) noexcept;
[[nodiscard]] bool IsOwnSessionKey(std::string_view key) noexcept;

// Finds what is declared twice: with the same recorded texts, or with the same name in a language.
void FindDoubles(const Catalogue& catalogue, std::vector<Mistake>& mistakes);
// Whether what is generated could not be called so as a whole: a keyword, another namespace, or a name of its
// own.
[[nodiscard]] bool IsTaken(const Catalogue& catalogue, const std::string& words);

}  // namespace vantra::catalogue
