#include "api/ValidationErrors.h"

#include "api/Frame.h"

namespace vantra::api {

bool RecordValidationError(session::UsageSession* session, const session::FreeText& type,
                           const session::FreeText& value) {
  if (session == nullptr || type.Text().data() == nullptr || value.Text().data() == nullptr) return false;
  const int32_t group = session->NewGroup(
      {.category = "Skylamp", .subcategory = {}, .name = "ValidationErrors", .doc = kNoDocument});
  session->AddToGroup(group, "ErrorType", type);
  session->AddToGroup(group, "Value", value);
  return true;
}

void CheckedArgument::Report(session::UsageSession* session, const char* text, const Message& refusal) const {
  if (session != nullptr) {
    RecordValidationError(session, kInvalidText, text == nullptr ? session::FreeText() : text);
  } else if (text_.IsAccepted()) {
    log::Debug(refusal::kCutText, text_.Value().Text());
  }
  if (!text_.IsAccepted()) log::Debug(refusal, text_.Value().Text());
}

}  // namespace vantra::api
