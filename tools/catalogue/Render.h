// Renders a catalogue as code or as the page, by the templates in templates/, which the build puts into
// Templates.cpp. Pure.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "Catalogue.h"

namespace vantra::catalogue {

struct Source {
  std::string file;  // name of the catalogue's file
  std::string stem;  // names the generated files and, in the style of each language, what they declare
};

// Another language needs a template, a row of kLanguages, and a row in tools/catalogue/CMakeLists.txt.
struct Language {
  std::string_view name;         // as in --to
  const std::string_view* text;  // the template
  std::string_view ending;
  std::string (*escape)(std::string_view);  // a text inside a literal
};
[[nodiscard]] std::span<const Language> Languages() noexcept;
[[nodiscard]] std::string FileName(const Language& language, const Source& source);

// The day, such as 2027-01-31, decides what has expired; if it is empty, nothing has.
[[nodiscard]] std::string Generated(const Language& language, const Catalogue& catalogue,
                                    const Source& source, std::string_view day);
[[nodiscard]] std::string Page(const Catalogue& catalogue, const Source& source);

// "File / Menu / Save", with the choice in angle brackets.
[[nodiscard]] std::string TitleOf(const Catalogue& catalogue, const Record& record);

// "recorded until 2.0" if the time has come, else empty.
[[nodiscard]] std::string ExpiryOf(const Reasons& reasons, const std::optional<Version>& product,
                                   std::string_view day);

// The templates, from the folder of that name.
extern const std::string_view kTemplateC, kTemplateCpp, kTemplateCsharp, kTemplateTypescript, kTemplatePage;

}  // namespace vantra::catalogue
