// The work behind the calls that start, fill and close a session.
#pragma once

#include <cstdint>
#include <string_view>

#include "api/Validation.h"
#include "session/UsageSession.h"

namespace vantra::api {

// Runs the start checks in order, logging the first refusal; then starts the session, installs the crash
// handler if the host asked for it, and reports a changed opt-in of the product. The handle must be NULL
// before the call, and is NULL after a failure.
[[nodiscard]] bool StartSession(void** handle, const session::ProductTexts& product);

// The salted digest of a document id's text; absent when none can be made. The view is valid until the next
// call.
[[nodiscard]] session::FreeText DigestOf(std::string_view text);

// The document id to record: "0" when the host gave no text, else the text's digest.
[[nodiscard]] inline session::FreeText HashedDocumentId(std::string_view text) {
  return text.data() == nullptr ? kNoDocument : DigestOf(text);
}

// Adds a value to a group of the session. A number that names no group leaves two "ValidationErrors" groups
// in the document. False, with the reason logged, when the number is refused or an argument is absent.
bool AddToGroup(session::UsageSession* session, uint32_t group, const session::FreeText& key,
                const session::FreeText& value);

// Ends and destroys the session, and sets the handle to NULL.
void CloseSession(session::UsageSession& session, void** handle);

}  // namespace vantra::api
