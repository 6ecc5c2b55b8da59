// The names of document files.
#pragma once

#include <string_view>

#include "util/TextBuffer.h"

namespace vantra::session {

// Appends "ulog_" and the four texts, joined by underscores, without an extension. False when a text holds a
// character that would lead out of the folder: such a document has no name and is not written.
[[nodiscard]] bool AppendDocumentName(util::TextBuffer& out, std::string_view first, std::string_view second,
                                      std::string_view third, std::string_view fourth);

}  // namespace vantra::session
