#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <thread>
#include <utility>

#include "Entries.h"
#include "Verb.h"
#include "reader/Files.h"
#ifdef _WIN32
#include "util/Text.h"
#endif

namespace vantra::inspect {
namespace {

// Empty on platforms on which the library does not run.
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

reader::Sessions Inputs::Find(std::string beginning) {
  const auto complain = [this, isReported = std::exchange(isReported_, true)](std::string_view path,
                                                                              std::string_view reason) {
    isAllReadable_ = false;
    if (!isReported) SayUnreadable(path, reason);
  };
  if (paths_.empty()) paths_ = {LogsFolder()};
  if (paths_.front().empty()) throw std::runtime_error("name a document or a folder to read");
  return reader::Sessions(paths_, complain, std::move(beginning));
}

void Inputs::Spare(const std::string& output) const {
  const auto pathOf = [](const std::string& path) {
    return std::filesystem::path(std::u8string(path.begin(), path.end()));
  };
  const std::filesystem::path path = pathOf(output);
  std::error_code error;
  if (output.empty() || !std::filesystem::is_regular_file(path, error)) return;
  const std::string name = output.substr(output.find_last_of(reader::kSeparators) + 1);
  bool isInput = reader::ParseFileName(name).has_value();
  for (const std::string& input : paths_)
    isInput = isInput || std::filesystem::equivalent(path, pathOf(input), error);
  if (isInput) throw std::runtime_error("not written over, as it may be a document: " + output);
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
  return std::string("cannot read ").append(Visible(path)).append(": ").append(reason);
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
