// Sendrix2.exe, the transport agent: sends the finished documents of the user's Logs folder to the server
// that Sendrix2.cfg names. It reports to its own log, and on the console only if given arguments.
//
// Exit code: 0 when nothing waits but documents in use, or another agent is at work; 1 when documents wait; 2
// when the folders cannot be used or the arguments are wrong.
#include <io.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <optional>
#include <string>
#include <string_view>

#include "agent/Folder.h"
#include "agent/Log.h"
#include "agent/Schedule.h"
#include "agent/Shift.h"
#include "util/Clock.h"
#include "util/TimeStamp.h"
#include "util/Windows.h"

namespace vantra::agent {
namespace {

enum ExitCode { kDone = 0, kWaits = 1, kFailed = 2 };

constexpr std::chrono::minutes kLongestRun{30};

constexpr const char* kUsage =
    "usage: Sendrix2 [VERB]\n\n"
    "Sends the finished usage documents of this user, and says nothing.\n\n"
    "  status   show what waits, how the last run ended, and when the next may be\n"
    "  send     send now, and report how it goes\n"
    "  --help   this text\n";

std::string At(int64_t seconds) { return std::string(util::TimeStamp(seconds).Text().View()); }

std::string Describe(const std::vector<Document>& documents) {
  uint64_t bytes = 0;
  for (const Document& each : documents) bytes += each.size;
  const std::string count = std::to_string(documents.size());
  return count + (documents.size() == 1 ? " document, " : " documents, ") +
         std::to_string((bytes + 1023) / 1024) + " KiB";
}

// Prints the outcome and, on a terminal, the progress.
class Terminal {
 public:
  void Show(const Counts& counts) const {
    if (isTerminal_)
      std::printf("\r%zu of %zu", counts.sent + counts.refused + counts.skipped, counts.queued);
  }
  void Conclude(std::string_view outcome) const {
    std::printf("%s%.*s\n", isTerminal_ ? "\r" : "", static_cast<int>(outcome.size()), outcome.data());
  }

 private:
  bool isTerminal_ = _isatty(_fileno(stdout)) != 0;
};

int ShowStatus() {
  const Folder folder;
  bool isThere = false;
  const auto config = folder.ReadConfig(isThere);
  if (!config) {
    std::puts("Sendrix2.cfg cannot be read");
    return kFailed;
  }
  const Settings settings = ReadSettings(*config);
  const State state = ParseState(folder.ReadOwn(kStateFile).value_or(std::string()));
  std::printf("Sent to    %s\n", settings.url.c_str());
  if (const auto* const none = std::get_if<NoTarget>(&settings.target))
    std::printf("           %.*s\n", static_cast<int>(none->why.size()), none->why.data());
  std::printf("Waiting    %s\n", Describe(folder.ListFinished()).c_str());
  std::printf("Refused    %s\n", Describe(folder.ListRefused()).c_str());
  std::printf("Last run   %s%s%s\n", state.ended == 0 ? "none" : At(state.ended).c_str(),
              state.outcome.empty() ? "" : ": ", state.outcome.c_str());
  const int64_t left = state.notBefore - util::UtcSeconds();
  const bool mustWait = left > 0 && left <= kLongestRetryAfter.count() && state.url == settings.url;
  std::printf("Next try   %s%s\n", mustWait ? "not before " : "when the agent is started",
              mustWait ? At(state.notBefore).c_str() : "");
  return kDone;
}

bool HasNew(const std::vector<Document>& documents, const Tried& tried) {
  return std::ranges::any_of(documents, [&](const Document& each) {
    return !tried.contains({each.name, each.written});
  });
}

// Sends what waits; reports on the terminal, if given one.
int Run(const Terminal* terminal) {
  const auto end = Shift::Clock::now() + kLongestRun;
  bool isStuck = false;
  const auto say = [&](std::string_view what) {
    if (terminal != nullptr) terminal->Conclude(what);
  };
  Options options{.isUrgent = terminal != nullptr};
  if (terminal != nullptr) options.progress = [&](const Counts& counts) { terminal->Show(counts); };
  const Folder folder;
  if (!folder.Make()) {
    Log().Error("The folders cannot be made", "Logs");
    say("the folders cannot be made");
    return kFailed;
  }
  Counts counts;
  Tried tried;
  for (;;) {
    util::UniqueFile lock;
    const Taken taken = folder.Lock(lock);
    if (taken == Taken::kInUse) {
      say("another agent is at work");
      return kDone;
    }
    if (taken != Taken::kDone) {
      Log().Error("The file cannot be opened", "Sendrix2.lock");
      say("Sendrix2.lock cannot be opened");
      return kFailed;
    }
    Shift shift(folder, options, counts, tried, end);
    const bool isDone = shift.Work();
    isStuck |= shift.IsStuck();
    lock.Reset();
    // An agent that was started meanwhile found the lock held and ended, so its document would wait: look
    // once more after the lock is released.
    if (isDone && HasNew(folder.ListFinished(), tried)) {
      Sleep(100);
      continue;
    }
    say(shift.Outcome());
    std::fflush(stdout);
    if (isStuck) TerminateProcess(GetCurrentProcess(), isDone ? kDone : kWaits);
    return isDone ? kDone : kWaits;
  }
}

}  // namespace
}  // namespace vantra::agent

int wmain(int argc, wchar_t** argv) try {
  using namespace vantra::agent;
  if (argc == 1) return Run(nullptr);
  const std::wstring_view verb = argv[1];
  SetConsoleOutputCP(CP_UTF8);
  if (argc == 2 && verb == L"status") return ShowStatus();
  if (argc == 2 && verb == L"send") {
    const Terminal terminal;
    return Run(&terminal);
  }
  const bool isHelp = argc == 2 && verb == L"--help";
  std::fputs(kUsage, isHelp ? stdout : stderr);
  return isHelp ? kDone : kFailed;
} catch (const std::exception& failure) {
  vantra::agent::Log().Error(failure.what(), "Ended");
  return vantra::agent::kWaits;
}
