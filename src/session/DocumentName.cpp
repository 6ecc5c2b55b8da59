#include "session/DocumentName.h"

namespace vantra::session {

using util::Literal;
using util::Raw;

bool AppendDocumentName(util::TextBuffer& out, std::string_view first, std::string_view second,
                        std::string_view third, std::string_view fourth) {
  constexpr Literal kJoint{"_"};
  const size_t start = out.Text().size();
  Append(out, Literal{"ulog_"}, Raw{first}, kJoint, Raw{second}, kJoint, Raw{third}, kJoint, Raw{fourth});
  return out.Text().find_first_of("\\/:", start) == std::string_view::npos;
}

}  // namespace vantra::session
