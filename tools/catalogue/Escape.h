// Texts in the places where generated files have them. All take valid UTF-8. Pure.
#pragma once

#include <string>
#include <string_view>

namespace vantra::catalogue {

// Inside a literal of C and C++: ASCII alone, whatever the compiler takes the file for.
[[nodiscard]] std::string InC(std::string_view text);
// Inside a literal of C# and of TypeScript.
[[nodiscard]] std::string InScript(std::string_view text);
// Where Markdown has text, table cells among it.
[[nodiscard]] std::string InMarkdown(std::string_view text);
// Inside a comment of any of these languages, on one line.
[[nodiscard]] std::string InComment(std::string_view text);

}  // namespace vantra::catalogue
