// Reads a catalogue from its file's text. Pure.
#pragma once

#include <string_view>
#include <vector>

#include "Catalogue.h"

namespace vantra::catalogue {

// All that is wrong, in the order of the file. A text that is no TOML is told up to its first error. Good
// only when there are no mistakes.
[[nodiscard]] Catalogue Read(std::string_view text, std::vector<Mistake>& mistakes);

}  // namespace vantra::catalogue
