// Reading what the library left behind.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "stage/Case.h"

namespace vantra::stage {

using testkit::Record;

// The text of a document, made plain when it is obfuscated. Throws when it starts with the marker and does
// not end in .rdy, or the other way round; an open .tmp may be either.
[[nodiscard]] std::string ReadDocument(const Path& path);

// Names of what lies in Logs, without the reports of a changed opt-in.
[[nodiscard]] Lines Documents();
// The first of them that is still open.
[[nodiscard]] Path OpenFile();
// The text of the only one of them; throws when there are more, or none.
[[nodiscard]] std::string OnlyDocument();

[[nodiscard]] std::vector<Record> Records(std::string_view document);
// The same, with "/" for each end tag. Throws at what is no record, or has something unescaped.
[[nodiscard]] std::vector<Record> WholeRecords(std::string_view document);

// The text with TIME for every time stamp, and ID1, ID2, ... for GUIDs, numbered as they first appear.
[[nodiscard]] std::string Normalised(std::string_view text);

// The command line of each start of the stand-in agent of that folder.
[[nodiscard]] Lines AgentStarts(const Path& folder = CaseFolder());

// The diagnostic log as it is, and as lines "LEVEL message @unit:line".
[[nodiscard]] std::string RawLog();
[[nodiscard]] Lines LogLines();
// The lines of one level since this process last asked for them, as "message@line".
Lines NewLog(const std::string& level);
void SwitchLogOn(std::string_view config = "");

}  // namespace vantra::stage
