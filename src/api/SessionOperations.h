// The work behind the calls that start, fill and close a session.
#pragma once

#include <cstdint>
#include <string_view>

#include "api/Validation.h"
#include "session/UsageSession.h"

namespace vantra::api {

// Runs the start checks in their order, each refusal with its message, then starts the session, installs the
// crash handler when the host asked for it, and reports a changed opt-in of the product. The handle is NULL
// after a failure.
[[nodiscard]] bool StartSession(void** handle, const session::ProductTexts& product);

// The digest of a document id's text, empty when none can be made. The view is good until the next call.
[[nodiscard]] session::FreeText DigestOf(std::string_view text);

// The document id that records carry: "0" without a text, else its digest.
[[nodiscard]] inline session::FreeText HashedDocumentId(std::string_view text) {
  return text.data() == nullptr ? kNoDocument : DigestOf(text);
}

// Adds a record to a group that the session has issued. A number that names no group leaves two error groups;
// failure is reported.
bool AddToGroup(session::UsageSession* session, uint32_t group, const session::FreeText& key,
                const session::FreeText& value);

// Ends the session, gives its memory back and sets the handle to NULL.
void CloseSession(session::UsageSession& session, void** handle);

}  // namespace vantra::api
