// vantra-demo: counts the files and lines below a folder by language, and records its run through Vantra.
#include <windows.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <string>
#include <string_view>
#include <vector>

#include "Documents.h"
#include "LineCounter.h"
#include "Report.h"
#include "events.hpp"

namespace {

constexpr std::wstring_view kDocumentPrefix = L"ulog_Vantra_Demo_";
constexpr std::chrono::milliseconds kAgentTime{2000};

enum ExitCode { kDone = 0, kNotCounted = 1, kBadArguments = 2 };

std::optional<bool> ParseAnswer(std::string_view answer) {
  if (answer == "yes" || answer == "y") return true;
  if (answer == "no" || answer == "n") return false;
  return {};
}

std::optional<bool> AskUser() {
  std::cout << "May vantra-demo record this run and later ones? It would note the language and size of each\n"
               "file that it counts and what machine this is; a file's name only as a digest. The records\n"
               "stay on this computer. The option --consent changes your answer later.\n";
  for (int attempt = 0; attempt < 3; ++attempt) {
    std::string line;
    std::cout << "Your answer, yes or no: " << std::flush;
    if (!std::getline(std::cin, line)) break;
    std::erase_if(line, [](char c) { return c == '\r' || c == ' '; });
    std::ranges::transform(line, line.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? c | 0x20 : c; });
    if (const auto answer = ParseAnswer(line)) return answer;
  }
  std::cout << "\nThat is no answer, so nothing is recorded. You will be asked again.\n";
  return {};
}

// What the command line says, else the choice made earlier, else what the user says now.
void SettleConsent(const vantra::Library& library, const std::string& option) {
  if (option.empty() && library.GetOptIn() != vantra::OptIn::kNoChoice) return;
  const std::optional<bool> answer = option.empty() ? AskUser() : ParseAnswer(option);
  if (!answer) return;
  if (!library.SetOptIn(*answer ? vantra::OptIn::kIn : vantra::OptIn::kOut))
    std::cout << "Your answer could not be stored.\n";
}

// All that is recorded is declared in events.toml, and recorded by functions that the build makes of it.
void RecordFile(const vantra::Session& session, const CountedFile& file) {
  if (!file.isReadable) return static_cast<void>(events::file_unreadable(session, file.language, file.path));
  events::file_counted(session, file.language, file.path);
  events::file_counts(session, file.language, file.path)
      .lines(file.counts.lines)
      .blank_lines(file.counts.blankLines)
      .bytes(file.counts.bytes);
}

void RecordSummary(const vantra::Session& session, const Summary& summary) {
  for (const auto& [language, counts] : summary.byLanguage) {
    events::language_totals(session, language)
        .files(counts.files)
        .lines(counts.lines)
        .blank_lines(counts.blankLines)
        .bytes(counts.bytes);
  }
  events::session_files(session, summary.total.files);
  events::session_unreadable_files(session, summary.unreadable.size());
}

int CountAndRecord(const std::filesystem::path& folder, const std::string& consentOption) {
  const vantra::Library library;
  library.Initialize(events::kProductUsageKey, vantra::CrashHandling::kOn);
  SettleConsent(library, consentOption);
  const std::vector<std::filesystem::path> before = ListDocuments(kDocumentPrefix);
  // The agent makes the Logs folder on its first start; without it every record would be dropped.
  std::error_code error;
  const bool hasLogs = std::filesystem::is_directory(LogsFolder(), error);
  vantra::Session session;
  if (hasLogs) {
    session = library.StartSession({.family = events::kProductFamily,
                                    .name = events::kProductName,
                                    .version = DEMO_VERSION,
                                    .build = DEMO_BUILD,
                                    .language = "en-US"});
  }

  Summary summary;
  const bool isCounted = CountFiles(folder, [&](const CountedFile& file) {
    summary.Add(file);
    RecordFile(session, file);
  });
  RecordSummary(session, summary);
  const bool isRecording = session.Close();

  PrintSummary(summary);
  if (isRecording) {
    PrintDocuments(WaitForNewDocuments(kDocumentPrefix, before, kAgentTime));
  } else if (library.GetOptIn() != vantra::OptIn::kIn) {
    PrintNotRecorded("This run was not recorded, as you have not agreed to it; --consent yes would.");
  } else if (!hasLogs) {
    PrintNotRecorded("This run was not recorded: no Logs folder. Sendrix2.exe makes it; start it once.");
  } else {
    PrintNotRecorded("This run was not recorded: Vantra refused to start a session.");
  }
  if (!isCounted) std::cerr << "vantra-demo: cannot list all of " << ToUtf8(folder) << '\n';
  return isCounted ? kDone : kNotCounted;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  SetConsoleOutputCP(CP_UTF8);
  // In UTF-8, in reverse order, as the parser expects.
  std::vector<std::string> arguments;
  for (int i = argc - 1; i > 0; --i) arguments.push_back(ToUtf8(argv[i]));

  std::string folder = ".";
  std::string consent;
  CLI::App app("Counts the files and lines below a folder by language, and records the run through Vantra.",
               "vantra-demo");
  app.allow_windows_style_options(false);
  app.add_option("folder", folder, "Folder to count")->capture_default_str();
  app.add_option("--consent", consent, "Answer to the question whether runs may be recorded")
      ->check(CLI::IsMember({"yes", "no"}));
  try {
    app.parse(arguments);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? kDone : kBadArguments;
  }
  std::error_code error;
  const std::filesystem::path path =
      std::filesystem::absolute(std::u8string(folder.begin(), folder.end()), error);
  if (!std::filesystem::is_directory(path, error)) {
    std::cerr << "vantra-demo: no such folder: " << folder << '\n';
    return kBadArguments;
  }
  return CountAndRecord(path, consent);
}
