// Reading what the library left behind: documents by the inspector's reader, the diagnostic log, starts of
// the agent.
#pragma once

#include "stage/World.h"

namespace vantra::stage {

using testkit::Record;

// The text of a document, made plain when it is obfuscated.
[[nodiscard]] std::string ReadDocument(const Path& path);
// Its records as a host's tests see them.
[[nodiscard]] std::vector<Record> Records(std::string_view document);
// What in the documents of Logs is against their format, but for what a host may make of them: bytes that are
// no text, records that are too long, documents left open.
[[nodiscard]] Lines Findings();

// Names of what lies in Logs, without the reports of a changed opt-in.
[[nodiscard]] Lines Documents();
// The first of them that is still open.
[[nodiscard]] Path OpenFile();
// The text of the only one of them; throws when there are more, or none.
[[nodiscard]] std::string OnlyDocument();

// The text with TIME for every time stamp, and ID1, ID2, ... for GUIDs, numbered as they first appear.
[[nodiscard]] std::string Normalised(std::string_view text);

// The command line of each start of the stand-in agent beside the host.
[[nodiscard]] Lines AgentStarts();

// The lines of the diagnostic log, normalised.
[[nodiscard]] Lines LogLines();
void SwitchLogOn(std::string_view config = "");

}  // namespace vantra::stage
