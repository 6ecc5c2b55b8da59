// What the verbs of vantra-inspect share. Each has a file of its own, adds itself to the command line, and
// runs when it was chosen.
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
  kFindings =
      1,  // of check: a document breaks a rule; of doctor: a gate is closed; of privacy: the answer was no
  kUnreadable = 2,  // bad arguments, or something that cannot be read or written; goes before the others
  kCrashed = 3,     // of list --last
};

// Gives one of the exit codes.
using Run = std::function<int()>;
using AddVerb = void (*)(CLI::App& app, Run& chosen);

void AddCheck(CLI::App& app, Run& chosen);
void AddExport(CLI::App& app, Run& chosen);
#ifdef _WIN32
void AddDoctor(CLI::App& app, Run& chosen);
void AddPrivacy(CLI::App& app, Run& chosen);
#endif
void AddList(CLI::App& app, Run& chosen);
void AddReport(CLI::App& app, Run& chosen);
void AddShow(CLI::App& app, Run& chosen);

// The inputs of a verb: what its arguments name, else the user's Logs folder, where there is one.
class Inputs {
 public:
  void AddTo(CLI::App& verb);

  // Finds the documents. What cannot be read is told on stderr, and so is that nothing was named.
  [[nodiscard]] reader::Sessions Find();
  // The same, told to somebody else.
  [[nodiscard]] reader::Sessions Find(const reader::Complaint& complain) const;
  // Puts its folder in the place of each file, which may get another name. Whether there was one.
  bool UseFolders();
  // Takes away, and gives, the arguments that name sessions and nothing on disk: 4 to 36 digits and dashes.
  [[nodiscard]] std::vector<std::string> TakeSessions();
  [[nodiscard]] bool IsAllReadable() const noexcept { return isAllReadable_; }

 private:
  std::vector<std::string> paths_;
  bool isAllReadable_ = true;
};

// How many threads read.
class Threads {
 public:
  void AddTo(CLI::App& verb);
  [[nodiscard]] unsigned Count() const noexcept { return count_; }

 private:
  unsigned count_ = 1;
};

// "1 document", "2 documents".
[[nodiscard]] std::string Counted(uint64_t number, std::string_view thing);

// A sentence on stderr, behind the program's name. May be called by several threads.
void Say(std::string_view sentence);
[[nodiscard]] std::string Unreadable(std::string_view path, std::string_view reason);
void SayUnreadable(std::string_view path, std::string_view reason);

}  // namespace vantra::inspect
