#include "log/LogLine.h"

namespace vantra::log {

using util::Append;
using util::Decimal;
using util::Raw;

void AppendLogLine(util::TextBuffer& out, std::string_view level, uint32_t processId, std::string_view time,
                   std::string_view value, const Detail& detail) {
  Append(out, Raw{"["}, Raw{level}, Raw{"] | PID:"}, Decimal{processId}, Raw{" | TIME:"}, Raw{time},
         Raw{" | VALUE:"}, Raw{value}, Raw{" | DETAIL:"});
  if (detail.line < 0) {
    Append(out, Raw{detail.text});
  } else {
    Append(out, Raw{"File:"}, Raw{detail.text}, Raw{" LINE:"}, Decimal{detail.line});
  }
  Append(out, Raw{"\r\n"});
}

}  // namespace vantra::log
