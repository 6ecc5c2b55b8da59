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
#include "Recorder.h"
#include "Report.h"

namespace {

constexpr Recorder::Product kProduct = {.usageKey = "VantraDemo",
                                        .family = "Vantra",
                                        .name = "Demo",
                                        .version = DEMO_VERSION,
                                        .build = DEMO_BUILD,
                                        .language = "en-US"};
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
void SettleConsent(Recorder& recorder, const std::string& option) {
  if (option.empty() && recorder.Consent()) return;
  const std::optional<bool> answer = option.empty() ? AskUser() : ParseAnswer(option);
  if (answer && !recorder.SetConsent(*answer)) std::cout << "Your answer could not be stored.\n";
}

std::string Text(uint64_t number) { return std::to_string(number); }

void RecordFile(Recorder& recorder, const CountedFile& file) {
  const std::string language(file.language);
  recorder.Event("File", language.c_str(), file.isReadable ? "Counted" : "Unreadable", file.path);
  if (!file.isReadable) return;
  recorder.Group("File", language.c_str(), "Counts", file.path,
                 {{"Lines", Text(file.counts.lines)},
                  {"BlankLines", Text(file.counts.blankLines)},
                  {"Bytes", Text(file.counts.bytes)}});
}

void RecordSummary(Recorder& recorder, const Summary& summary) {
  for (const auto& [language, counts] : summary.byLanguage) {
    recorder.Group("Language", std::string(language).c_str(), "Totals", "",
                   {{"Files", Text(counts.files)},
                    {"Lines", Text(counts.lines)},
                    {"BlankLines", Text(counts.blankLines)},
                    {"Bytes", Text(counts.bytes)}});
  }
  recorder.Add("Files", Text(summary.total.files));
  recorder.Add("UnreadableFiles", Text(summary.unreadable.size()));
}

int CountAndRecord(const std::filesystem::path& folder, const std::string& consentOption) {
  Recorder recorder(kProduct);
  SettleConsent(recorder, consentOption);
  const std::vector<std::filesystem::path> before = ListDocuments(kDocumentPrefix);
  // The agent makes the Logs folder on its first start; without it every record would be dropped.
  std::error_code error;
  const bool hasLogs = std::filesystem::is_directory(LogsFolder(), error);
  const bool isRecording = hasLogs && recorder.Start();

  Summary summary;
  const bool isCounted = CountFiles(folder, [&](const CountedFile& file) {
    summary.Add(file);
    RecordFile(recorder, file);
  });
  RecordSummary(recorder, summary);
  recorder.Close();

  PrintSummary(summary);
  if (isRecording) {
    PrintDocuments(WaitForNewDocuments(kDocumentPrefix, before, kAgentTime));
  } else if (!recorder.Consent().value_or(false)) {
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
  // In UTF-8, and the last one first, as the parser takes them.
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
