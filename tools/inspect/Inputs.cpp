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
  const auto complain = [this](std::string_view path, std::string_view reason) {
    isAllReadable_ = false;
    path.empty() ? Say(reason) : SayUnreadable(path, reason);
  };
  return Find(complain);
}

reader::Sessions Inputs::Find(const reader::Complaint& complain) const {
  reader::Sessions sessions;
  for (const std::string& path : paths_.empty() ? std::vector{LogsFolder()} : paths_) {
    if (path.empty()) {
      complain({}, "name a document or a folder to read");
    } else {
      sessions.Add(path, complain);
    }
  }
  sessions.Sort();
  return sessions;
}

bool Inputs::UseFolders() {
  bool isFile = false;
  for (std::string& path : paths_) {
    if (reader::IsFolder(path)) continue;
    isFile = true;
    const size_t separator = path.find_last_of(reader::kSeparators);
    path = separator == std::string::npos ? "." : path.substr(0, separator + 1);
  }
  return isFile;
}

std::vector<std::string> Inputs::TakeSessions() {
  const auto isOnDisk = [](const std::string& argument) {
    constexpr size_t kShortest = 4;
    constexpr size_t kGuid = 36;
    const bool isName = argument.size() >= kShortest && argument.size() <= kGuid &&
                        argument.find_first_not_of("0123456789abcdefABCDEF-") == std::string::npos;
    return !isName || reader::IsFolder(argument) || reader::FileSource().Open(argument);
  };
  const auto sessions = std::stable_partition(paths_.begin(), paths_.end(), isOnDisk);
  std::vector<std::string> taken(sessions, paths_.end());
  paths_.erase(sessions, paths_.end());
  return taken;
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
