// Formats one line of the diagnostic log.
#pragma once

#include <cstdint>
#include <string_view>

#include "util/TextBuffer.h"

namespace vantra::log {

// The DETAIL field of a line: where a message comes from.
struct Detail {
  std::string_view text;
  // The line number in the source file that text names; negative when text is the whole detail.
  int line = -1;
};

// Appends the line with its CR LF. Nothing is escaped: line breaks in value and detail are written as they
// are.
void AppendLogLine(util::TextBuffer& out, std::string_view level, uint32_t processId, std::string_view time,
                   std::string_view value, const Detail& detail);

}  // namespace vantra::log
