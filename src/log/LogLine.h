// The text of one line of the diagnostic log.
#pragma once

#include <cstdint>
#include <string_view>

#include "util/TextBuffer.h"

namespace vantra::log {

// What the library calls a detail: who reports, and from where.
struct Detail {
  std::string_view text;
  // Below zero when text is the whole detail; else text names the source file.
  int line = -1;
};

// Appends the line and its end. Nothing is escaped: line breaks in value and detail stay.
void AppendLogLine(util::TextBuffer& out, std::string_view level, uint32_t processId, std::string_view time,
                   std::string_view value, const Detail& detail);

}  // namespace vantra::log
