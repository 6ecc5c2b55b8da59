// File names of documents.
#pragma once

#include <string_view>

#include "util/TextBuffer.h"

namespace vantra::session {

// Appends "ulog_" and the four texts, joined by underscores, without an extension. False when a text holds a
// backslash, a slash or a colon, which could lead out of the folder; such a document is not written.
[[nodiscard]] bool AppendDocumentName(util::TextBuffer& out, std::string_view first, std::string_view second,
                                      std::string_view third, std::string_view fourth);

}  // namespace vantra::session
