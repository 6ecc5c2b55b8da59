// Checked arguments of session calls, and the groups that tell in the document what was repaired or refused.
#pragma once

#include <string_view>

#include "api/Messages.h"
#include "api/Validation.h"
#include "session/UsageSession.h"

namespace vantra::api {

// Records one "ValidationErrors" group of its own. False, and nothing recorded, when session, type or value
// is absent.
bool RecordValidationError(session::UsageSession* session, const session::FreeText& type,
                           const session::FreeText& value);

// A text argument: checked, a cut or refusal recorded at once against the session, a refusal reported.
// Without a session a cut is reported in the log instead.
class CheckedArgument {
 public:
  CheckedArgument(session::UsageSession* session, const char* text, const TextCheck& check,
                  const Message& refusal)
      : text_(text, check) {
    if (text_.Code() != TextCode::kAccepted) Tell(session, text, refusal);
  }

  [[nodiscard]] bool IsAccepted() const noexcept { return text_.IsAccepted(); }
  [[nodiscard]] const session::FreeText& Value() const noexcept { return text_.Value(); }

 private:
  [[gnu::cold]] void Tell(session::UsageSession* session, const char* text, const Message& refusal) const;

  CheckedText text_;
};

}  // namespace vantra::api
