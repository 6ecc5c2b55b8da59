#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <thread>

#include "Verb.h"
#include "reader/Files.h"
#ifdef _WIN32
#include "util/Text.h"
#endif

namespace vantra::inspect {
namespace {

// Empty where the library does not record.
std::string LogsFolder() {
#ifdef _WIN32
  const wchar_t* const applicationData = _wgetenv(L"APPDATA");
  if (applicationData != nullptr)
    return util::ToUtf8(std::wstring(applicationData) + L"\\Tolvex\\Sendrix2\\Logs");
#endif
  return {};
}

}  // namespace

void Inputs::AddTo(CLI::App& verb) {
  verb.add_option(
      "inputs", paths_,
      "Documents (.tmp, .xml, .rdy, each also with .gz) and folders to search through; on Windows "
      "without one, your Logs folder");
}

reader::Sessions Inputs::Find() {
  reader::Sessions sessions;
  const auto complain = [this](std::string_view path, std::string_view reason) {
    isAllReadable_ = false;
    SayUnreadable(path, reason);
  };
  if (paths_.empty()) paths_.push_back(LogsFolder());
  for (const std::string& path : paths_) {
    if (path.empty()) {
      isAllReadable_ = false;
      Say("name a document or a folder to read");
    } else {
      sessions.Add(path, complain);
    }
  }
  sessions.Sort();
  return sessions;
}

void Say(std::string_view sentence) {
  const std::string line = std::string("vantra-inspect: ").append(sentence).append("\n");
  std::fwrite(line.data(), 1, line.size(), stderr);
}

std::string Unreadable(std::string_view path, std::string_view reason) {
  return std::string("cannot read ").append(path).append(": ").append(reason);
}

void SayUnreadable(std::string_view path, std::string_view reason) { Say(Unreadable(path, reason)); }

std::string Counted(uint64_t number, std::string_view thing) {
  return std::to_string(number).append(" ").append(thing).append(number == 1 ? "" : "s");
}

void Threads::AddTo(CLI::App& verb) {
  constexpr unsigned kMost = 256;
  count_ = std::clamp(std::thread::hardware_concurrency(), 1U, kMost);
  verb.add_option("--threads", count_, "Threads that read; the output is the same for any number of them")
      ->check(CLI::Range(1U, kMost))
      ->capture_default_str();
}

}  // namespace vantra::inspect
