// Checked text arguments, and the groups that record in the document what was cut or refused.
#pragma once

#include <string_view>

#include "api/Messages.h"
#include "api/Validation.h"
#include "session/UsageSession.h"

namespace vantra::api {

// Records the error as a "ValidationErrors" group. False, with nothing recorded, when session, type or value
// is absent.
bool RecordValidationError(session::UsageSession* session, const session::FreeText& type,
                           const session::FreeText& value);

// A text argument, checked on construction. A cut or refusal is recorded in the session; without one, a cut
// is logged instead. A refusal is logged in either case.
class CheckedArgument {
 public:
  CheckedArgument(session::UsageSession* session, const char* text, const TextCheck& check,
                  const Message& refusal)
      : text_(text, check) {
    if (text_.Code() != TextCode::kAccepted) Report(session, text, refusal);
  }

  [[nodiscard]] bool IsAccepted() const noexcept { return text_.IsAccepted(); }
  [[nodiscard]] const session::FreeText& Value() const noexcept { return text_.Value(); }

 private:
  [[gnu::cold]] void Report(session::UsageSession* session, const char* text, const Message& refusal) const;

  CheckedText text_;
};

}  // namespace vantra::api
