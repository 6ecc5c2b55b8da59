// The usage documents that Vantra has finished: where they are, and their content.
#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// The folder that Vantra writes to, and the one that the agent moves documents into, as the demo's
// Sendrix2.cfg asks.
std::filesystem::path LogsFolder();
std::filesystem::path OutboxFolder();

// The finished documents in both folders whose names begin with the prefix, by name.
std::vector<std::filesystem::path> ListDocuments(std::wstring_view prefix);

// The documents that are not in before. Waits up to agentTime for the agent to collect them from Logs.
std::vector<std::filesystem::path> WaitForNewDocuments(std::wstring_view prefix,
                                                       const std::vector<std::filesystem::path>& before,
                                                       std::chrono::milliseconds agentTime);

struct DocumentText {
  std::string text;
  bool wasObfuscated;
};

// Reads a document, even if it has moved to Outbox since it was listed. Empty when it cannot be read.
std::optional<DocumentText> ReadDocument(const std::filesystem::path& document);
