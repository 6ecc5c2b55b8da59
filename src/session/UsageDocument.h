// The text of usage documents, record by record. Pure: identifiers, numbers and time stamps are passed in.
//
// A document is a prologue, one opening record, any number of groups, data and events, and one closing record
// with the end tag. Free text is escaped up to its first NUL, and is "NOVALUE" when it is absent or empty;
// everything else is written as it is.
#pragma once

#include <cstdint>
#include <string_view>

#include "session/FreeText.h"
#include "util/Counter.h"
#include "util/TextBuffer.h"
#include "util/TimeStamp.h"

namespace vantra::session {

// What every record carries.
struct RecordStamp {
  util::TimeStamp time;
  util::Counter seq{0};
};

// What classifies a group or an event; any of it may be absent. Refers to its texts, so it lives for one
// call.
struct Labels {
  const FreeText& category;
  const FreeText& subcategory;
  const FreeText& name;
  const FreeText& doc;
};

struct ProductTexts {
  std::string_view family;
  std::string_view name;
  std::string_view version;
  std::string_view build;
  std::string_view language;
};

void AppendPrologue(util::TextBuffer& out);

void AppendStartSession(util::TextBuffer& out, std::string_view id, const RecordStamp& stamp);
void AppendNewGroup(util::TextBuffer& out, const Labels& labels, const util::Counter& group,
                    const RecordStamp& stamp);
// A group whose doc attribute is empty, as in the small documents that are written at one go.
void AppendNewGroupWithoutDoc(util::TextBuffer& out, const Labels& labels, const util::Counter& group,
                              const RecordStamp& stamp);
void AppendEventRec(util::TextBuffer& out, const Labels& labels, const RecordStamp& stamp);
void AppendDataRec(util::TextBuffer& out, int32_t group, const FreeText& name, const FreeText& data,
                   const RecordStamp& stamp);

// Both with the end tag.
void AppendEndSession(util::TextBuffer& out, std::string_view id, const RecordStamp& stamp);
void AppendSplitSession(util::TextBuffer& out, std::string_view id, const RecordStamp& stamp);

// Product texts and user are written as they are, unlike in the session's header block; an unknown user is
// "NOVALUE".
void AppendResumeSession(util::TextBuffer& out, std::string_view id, const ProductTexts& product,
                         std::string_view startTime, std::string_view user, const RecordStamp& stamp);

}  // namespace vantra::session
