// Escapes texts for generated files. All take valid UTF-8. Pure.
#pragma once

#include <string>
#include <string_view>

namespace vantra::catalogue {

// For a literal of C or C++: plain ASCII, whatever encoding the compiler assumes.
[[nodiscard]] std::string InC(std::string_view text);
// For a literal of C# or TypeScript.
[[nodiscard]] std::string InScript(std::string_view text);
// For Markdown text, table cells included.
[[nodiscard]] std::string InMarkdown(std::string_view text);
// For a comment on one line, in any of these languages.
[[nodiscard]] std::string InComment(std::string_view text);

}  // namespace vantra::catalogue
