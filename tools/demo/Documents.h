// The usage documents that Vantra has finished: where they lie, and what is in them.
#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Where Vantra writes, and where the agent, by the demo's Sendrix2.cfg, puts what it has collected.
std::filesystem::path LogsFolder();
std::filesystem::path OutboxFolder();

// The finished documents in both folders whose names begin with the prefix.
std::vector<std::filesystem::path> ListDocuments(std::wstring_view prefix);

// Those among them that were not there before. Leaves the agent the given time to collect them from Logs.
std::vector<std::filesystem::path> WaitForNewDocuments(std::wstring_view prefix,
                                                       const std::vector<std::filesystem::path>& before,
                                                       std::chrono::milliseconds agentTime);

struct DocumentText {
  std::string text;
  bool wasObfuscated;
};

// Follows a document that has moved to Outbox since it was listed. Nothing when it cannot be read.
std::optional<DocumentText> ReadDocument(const std::filesystem::path& document);
