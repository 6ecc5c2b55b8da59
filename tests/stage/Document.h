// Reading what the library left behind: documents by the inspector's reader, the diagnostic log, starts of
// the agent.
#pragma once

#include <algorithm>
#include <optional>

#include "stage/World.h"

namespace vantra::stage {

using testkit::Record;

// The text of a document, made plain when it is obfuscated.
[[nodiscard]] std::string ReadDocument(const Path& path);
// Its records as a host's tests see them.
[[nodiscard]] std::vector<Record> Records(std::string_view document);

struct Finding {
  std::string_view rule;  // its name, as vantra-inspect has it
  std::string text;       // the document's path, what is wrong, and the record
};
// A document as the inspector's reader sees it.
struct Document {
  std::string name;               // of the file
  std::optional<int32_t> index;   // among those of its session; none for a crash or a changed opt-in
  std::vector<Record> records;    // those that can be read
  std::vector<Finding> findings;  // against the format
  [[nodiscard]] bool IsFinal() const { return !name.ends_with(".tmp"); }
  [[nodiscard]] bool IsOpen() const { return std::ranges::count(findings, "open", &Finding::rule) != 0; }
};
// The documents in the folders and below them, those of a session in order. What a host may make of them is
// no finding: bytes that are no text, records that are too long, a second end.
[[nodiscard]] std::vector<Document> ReadDocuments(const std::vector<Path>& folders);
// What is found in those of Logs, which a host may leave open.
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
