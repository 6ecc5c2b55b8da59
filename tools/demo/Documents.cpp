#include "Documents.h"

#include <algorithm>
#include <cstdlib>
#include <system_error>
#include <thread>

#include "LineCounter.h"
#include "reader/DocumentReader.h"
#include "reader/Files.h"

namespace fs = std::filesystem;

namespace {

// The folder that the demo's Sendrix2.cfg names.
constexpr std::wstring_view kOutbox = L"C:\\Users\\Public\\Vantra Demo";

fs::path AgentFolder() {
  const wchar_t* const applicationData = _wgetenv(L"APPDATA");
  return fs::path(applicationData == nullptr ? L"" : applicationData) / L"Tolvex" / L"Sendrix2";
}

bool IsDocument(const fs::path& path, std::wstring_view prefix) {
  return path.filename().native().starts_with(prefix) &&
         (path.extension() == L".xml" || path.extension() == L".rdy");
}

}  // namespace

fs::path LogsFolder() { return AgentFolder() / L"Logs"; }
fs::path OutboxFolder() { return kOutbox; }

std::vector<fs::path> ListDocuments(std::wstring_view prefix) {
  std::vector<fs::path> documents;
  // Logs comes first: a document that is moved meanwhile is then found again in Outbox, and never missed.
  for (const fs::path& folder : {LogsFolder(), OutboxFolder()}) {
    std::error_code error;
    for (fs::directory_iterator it(folder, error); !error && it != fs::directory_iterator();
         it.increment(error)) {
      if (!IsDocument(it->path(), prefix)) continue;
      std::erase_if(documents,
                    [&](const fs::path& seen) { return seen.filename() == it->path().filename(); });
      documents.push_back(it->path());
    }
  }
  std::ranges::sort(documents, {}, [](const fs::path& document) { return document.filename(); });
  return documents;
}

std::vector<fs::path> WaitForNewDocuments(std::wstring_view prefix, const std::vector<fs::path>& before,
                                          std::chrono::milliseconds agentTime) {
  const auto isOld = [&](const fs::path& document) {
    return std::ranges::any_of(before,
                               [&](const fs::path& old) { return old.filename() == document.filename(); });
  };
  const auto isInLogs = [](const fs::path& document) { return document.parent_path() == LogsFolder(); };
  const auto deadline = std::chrono::steady_clock::now() + agentTime;
  for (;;) {
    std::vector<fs::path> documents = ListDocuments(prefix);
    std::erase_if(documents, isOld);
    if (std::ranges::none_of(documents, isInLogs) || std::chrono::steady_clock::now() >= deadline)
      return documents;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
}

std::optional<DocumentText> ReadDocument(const fs::path& document) {
  vantra::reader::FileSource file;
  if (!file.Open(ToUtf8(document)) && !file.Open(ToUtf8(OutboxFolder() / document.filename()))) return {};
  vantra::reader::DocumentReader reader;
  reader.Open(file);
  DocumentText content{{}, reader.IsObfuscated()};
  while (reader.Next() != vantra::reader::Piece::Done) content.text += reader.Text();
  return content;
}
