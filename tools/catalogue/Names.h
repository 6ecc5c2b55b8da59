// Names in code, made from those that are recorded. Pure.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vantra::catalogue {

// The words of a text, in lower case: those between other characters, and where capitals begin a new one.
// "BlankLines", "blank_lines" and "blank lines" are the same two. What is not ASCII is passed over.
[[nodiscard]] std::vector<std::string> WordsOf(std::string_view text);

// The words of all texts, with a blank between them: a name in no style yet. Empty texts have none.
[[nodiscard]] std::string JoinedWords(const std::vector<std::string_view>& texts);

enum class Style {
  Snake,   // file_menu_save
  Upper,   // FILE_MENU_SAVE
  Camel,   // fileMenuSave
  Pascal,  // FileMenuSave
};
// Of words with a blank between them. It may begin with a digit.
[[nodiscard]] std::string Styled(std::string_view words, Style style);

}  // namespace vantra::catalogue
