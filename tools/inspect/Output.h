// Where results go: standard output or files, in large writes.
#pragma once

#include <string>
#include <string_view>

namespace vantra::inspect {

// Writes what it is given at once. Throws std::runtime_error with a sentence when it cannot.
class Output {
 public:
  // Standard output, or a file that is made anew; with isAppended one that is gone on with.
  explicit Output(const std::string& path = {}, bool isAppended = false);
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;
  ~Output();

  void Write(std::string_view text);

 private:
  std::string name_;
  int file_;
};

// Makes the folder, and those above it. Throws likewise.
void MakeFolder(const std::string& path);

[[nodiscard]] bool IsTerminal(int descriptor) noexcept;

}  // namespace vantra::inspect
