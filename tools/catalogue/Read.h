// Reads a catalogue from its file's text. Pure.
#pragma once

#include <string_view>
#include <vector>

#include "Catalogue.h"

namespace vantra::catalogue {

// All mistakes, in the order of the file; of a text that is not TOML only the first. The catalogue is good
// only when there are none.
[[nodiscard]] Catalogue Read(std::string_view text, std::vector<Mistake>& mistakes);

}  // namespace vantra::catalogue
