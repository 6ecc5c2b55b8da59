#include "Report.h"

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <iomanip>
#include <iostream>
#include <optional>
#include <system_error>
#include <utility>

#include "Documents.h"

namespace {

void PrintRow(std::string_view language, const Counts& counts) {
  std::cout << std::left << std::setw(16) << language << std::right << std::setw(8) << counts.files
            << std::setw(12) << counts.lines << std::setw(12) << counts.blankLines << std::setw(15)
            << counts.bytes << '\n';
}

std::vector<std::string_view> Lines(std::string_view text) {
  std::vector<std::string_view> lines;
  while (!text.empty()) {
    const size_t end = std::min(text.find('\n'), text.size());
    lines.push_back(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return lines;
}

void PrintExcerpt(const std::vector<std::string_view>& lines) {
  constexpr size_t kFirst = 10;
  constexpr size_t kLast = 4;
  for (size_t i = 0; i < lines.size(); ++i) {
    if (i < kFirst || i + kLast >= lines.size()) {
      std::cout << "  " << lines[i] << '\n';
    } else if (i == kFirst) {
      std::cout << "  ... " << lines.size() - kFirst - kLast << " more lines ...\n";
    }
  }
}

}  // namespace

void Summary::Add(const CountedFile& file) {
  if (!file.isReadable) return unreadable.push_back(file.path);
  byLanguage[file.language] += file.counts;
  total += file.counts;
}

void PrintSummary(const Summary& summary) {
  std::vector<std::pair<events::Language, Counts>> rows(summary.byLanguage.begin(), summary.byLanguage.end());
  std::ranges::stable_sort(rows, std::greater(), [](const auto& row) { return row.second.bytes; });
  std::cout << "\nLanguage           Files       Lines       Blank          Bytes\n";
  for (const auto& [language, counts] : rows) PrintRow(language.RecordedText(), counts);
  PrintRow("Total", summary.total);
  for (const std::string& path : summary.unreadable) std::cout << "Not readable: " << path << '\n';
}

void PrintDocuments(const std::vector<std::filesystem::path>& documents) {
  const std::optional<DocumentText> content =
      documents.empty() ? std::nullopt : ReadDocument(documents.front());
  if (!content) {
    PrintNotRecorded("A session was recorded, but no document is there to be shown.");
    return;
  }
  std::cout << "\nVantra recorded this run in\n";
  for (const std::filesystem::path& document : documents) std::cout << "  " << ToUtf8(document) << '\n';
  std::cout << "\nThe first document begins and ends with these records";
  if (content->wasObfuscated) {
    std::cout << " (decoded: on disk a marker of 20 bytes\n"
                 "comes first, and the printable characters '!' to '~' are rotated by 47)";
  }
  std::cout << ":\n\n";
  PrintExcerpt(Lines(content->text));
}

void PrintNotRecorded(std::string_view reason) {
  const std::filesystem::path program = _wpgmptr;
  const wchar_t* const applicationData = _wgetenv(L"APPDATA");
  std::cout << '\n'
            << reason << "\nTo see what Vantra decides and why, put an empty file SKLog.config into\n  "
            << ToUtf8(program.parent_path()) << "\nthen run again and read\n  "
            << ToUtf8(std::filesystem::path(applicationData == nullptr ? L"" : applicationData) /
                      L"Tolvex\\Skylamp\\SKLog-Vantra.txt")
            << '\n';
}
