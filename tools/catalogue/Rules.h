// What a catalogue must not declare: texts that the library would change, and things that cannot be
// distinguished. Pure.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "Catalogue.h"
#include "api/Validation.h"

namespace vantra::catalogue {

// What is wrong with a recorded text of the host that the library checks with these flags; empty when nothing
// is. A sentence that goes on from the name of the field.
[[nodiscard]] std::string FaultOfText(std::string_view text, api::TextFlag flag);

// The same for a category, and for a key of the session, of which the library has some of its own.
[[nodiscard]] std::string FaultOfCategory(std::string_view text, api::TextFlag flag);
[[nodiscard]] std::string FaultOfSessionKey(std::string_view text);
// Of names that become part of file names.
[[nodiscard]] std::string FaultOfProductName(std::string_view text);

// Whether there is a character that nobody sees and that is neither a tab nor a line break: one that orders,
// hides or controls. Compilers stumble over it, people are deceived by it.
[[nodiscard]] bool HasUnseen(std::string_view utf8) noexcept;

[[nodiscard]] bool IsOwnCategory(std::string_view category) noexcept;
[[nodiscard]] bool IsOwnSessionKey(std::string_view key) noexcept;

// What is declared twice, recorded or in code: with the same texts, or with the same name in a language.
void FindDoubles(const Catalogue& catalogue, std::vector<Mistake>& mistakes);
// Whether what is generated could not be called so as a whole: a keyword, another namespace, or a name of its
// own.
[[nodiscard]] bool IsTaken(const Catalogue& catalogue, const std::string& words);

}  // namespace vantra::catalogue
