// What the verbs of vantra-inspect share. Each verb has its own file, adds itself to the command line, and
// runs if chosen.
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "reader/Sessions.h"

namespace vantra::inspect {

enum ExitCode {
  kDone = 0,
  // From check: a document breaks a rule; from doctor: a gate is closed; from privacy: the answer was no.
  kFindings = 1,
  // Bad arguments, or something could not be read or written; takes precedence over the others.
  kUnreadable = 2,
  // From list --last: the session crashed.
  kCrashed = 3,
};

// Returns one of the exit codes.
using Run = std::function<int()>;
using AddVerb = void (*)(CLI::App& app, Run& chosen);

void AddCheck(CLI::App& app, Run& chosen);
void AddExport(CLI::App& app, Run& chosen);
void AddDoctor(CLI::App& app, Run& chosen);
void AddList(CLI::App& app, Run& chosen);
void AddPrivacy(CLI::App& app, Run& chosen);
void AddReport(CLI::App& app, Run& chosen);
void AddShow(CLI::App& app, Run& chosen);

// A verb's inputs: what its arguments name, else the user's Logs folder if there is one.
class Inputs {
 public:
  void AddTo(CLI::App& verb);

  // The sessions, or those whose identifiers begin so. What cannot be read is reported on stderr, once, and
  // so is that nothing was named. This must stay as long as they.
  [[nodiscard]] reader::Sessions Find(std::string beginning = {});
  // Throws std::runtime_error with a sentence when the output would take the place of a document.
  void Spare(const std::string& output) const;
  // Puts its folder in the place of each file, which may get another name. Whether there was one.
  bool UseFolders();
  // Removes and returns the arguments that name sessions: 4 to 36 hexadecimal digits and dashes, and no file
  // or folder of that name.
  [[nodiscard]] std::vector<std::string> TakeSessions();
  [[nodiscard]] bool IsAllReadable() const noexcept { return isAllReadable_; }

 private:
  std::vector<std::string> paths_;
  bool isAllReadable_ = true;
  bool isReported_ = false;
};

// The number of threads that read.
class Threads {
 public:
  void AddTo(CLI::App& verb);
  [[nodiscard]] unsigned Count() const noexcept { return count_; }

 private:
  unsigned count_ = 1;
};

// "1 document", "2 documents".
[[nodiscard]] std::string Counted(uint64_t number, std::string_view thing);

// Prints a sentence on stderr, after the program's name. Thread-safe.
void Say(std::string_view sentence);
[[nodiscard]] std::string Unreadable(std::string_view path, std::string_view reason);
void SayUnreadable(std::string_view path, std::string_view reason);

}  // namespace vantra::inspect
