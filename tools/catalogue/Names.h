// Names in code, made from those that are recorded. Pure.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vantra::catalogue {

// The words of a text, in lower case. A word ends at any other character and before a capital: "BlankLines",
// "blank_lines" and "blank lines" have the same two. Anything but ASCII is skipped.
[[nodiscard]] std::vector<std::string> WordsOf(std::string_view text);

// The words of all texts, separated by blanks: a name without a style yet.
[[nodiscard]] std::string JoinedWords(const std::vector<std::string_view>& texts);

enum class Style {
  Snake,   // file_menu_save
  Upper,   // FILE_MENU_SAVE
  Camel,   // fileMenuSave
  Pascal,  // FileMenuSave
};
// A name from words separated by blanks. It may begin with a digit.
[[nodiscard]] std::string Styled(std::string_view words, Style style);

}  // namespace vantra::catalogue
