#include "api/ValidationErrors.h"

#include "api/Frame.h"

namespace vantra::api {

bool RecordValidationError(session::UsageSession* session, std::string_view type, std::string_view value) {
  if (session == nullptr || type.data() == nullptr || value.data() == nullptr) return false;
  const int32_t group = session->NewGroup(
      {.category = "Skylamp", .subcategory = {}, .name = "ValidationErrors", .doc = kNoDocument});
  session->AddToGroup(group, "ErrorType", type);
  session->AddToGroup(group, "Value", value);
  return true;
}

void CheckedArgument::Tell(session::UsageSession* session, const char* text, const Message& refusal) const {
  if (session != nullptr) {
    RecordValidationError(session, kInvalidText, text == nullptr ? std::string_view() : text);
  } else if (text_.IsAccepted()) {
    Report(refusal::kCutText, text_.Value());
  }
  if (!text_.IsAccepted()) Report(refusal, text_.Value());
}

}  // namespace vantra::api
