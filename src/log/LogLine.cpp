#include "log/LogLine.h"

namespace vantra::log {

using util::Append;
using util::Decimal;
using util::Literal;
using util::Raw;

void AppendLogLine(util::TextBuffer& out, std::string_view level, uint32_t processId, std::string_view time,
                   std::string_view value, const Detail& detail) {
  Append(out, Literal{"["}, Raw{level}, Literal{"] | PID:"}, Decimal{processId}, Literal{" | TIME:"},
         Raw{time}, Literal{" | VALUE:"}, Raw{value}, Literal{" | DETAIL:"});
  if (detail.line < 0) {
    Append(out, Raw{detail.text});
  } else {
    Append(out, Literal{"File:"}, Raw{detail.text}, Literal{" LINE:"}, Decimal{detail.line});
  }
  Append(out, Literal{"\r\n"});
}

}  // namespace vantra::log
