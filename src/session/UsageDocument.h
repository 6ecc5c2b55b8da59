// The text of usage documents, record by record. Pure: identifiers, numbers and time stamps are passed in.
//
// A document is a prologue, one opening record, any number of groups, values and events, and one closing
// record with the end tag. Free text is escaped and ends at its first NUL; absent or empty, it becomes
// "NOVALUE". All other texts are written as they are.
#pragma once

#include <cstdint>
#include <string_view>

#include "session/FreeText.h"
#include "util/Counter.h"
#include "util/TextBuffer.h"
#include "util/TimeStamp.h"

namespace vantra::session {

// The time and sequence number that every record carries.
struct RecordStamp {
  util::TimeStamp time;
  util::Counter seq{0};
};

// The labels of a group or an event; any may be absent. Holds references: use it within one call only.
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
// A group with an empty doc attribute, as the small documents of crashes and opt-in changes have it.
void AppendNewGroupWithoutDoc(util::TextBuffer& out, const Labels& labels, const util::Counter& group,
                              const RecordStamp& stamp);
void AppendEventRec(util::TextBuffer& out, const Labels& labels, const RecordStamp& stamp);
void AppendDataRec(util::TextBuffer& out, int32_t group, const FreeText& name, const FreeText& data,
                   const RecordStamp& stamp);

// Both append the end tag too.
void AppendEndSession(util::TextBuffer& out, std::string_view id, const RecordStamp& stamp);
void AppendSplitSession(util::TextBuffer& out, std::string_view id, const RecordStamp& stamp);

// Product texts and user are written unescaped here, unlike in the session's header block. An empty user
// becomes "NOVALUE".
void AppendResumeSession(util::TextBuffer& out, std::string_view id, const ProductTexts& product,
                         std::string_view startTime, std::string_view user, const RecordStamp& stamp);

}  // namespace vantra::session
