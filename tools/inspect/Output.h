// Output to standard output or files, in large writes.
#pragma once

#include <string>
#include <string_view>

namespace vantra::inspect {

// Unbuffered. Throws std::runtime_error with a sentence for the user on failure.
class Output {
 public:
  // Opens standard output, or a file, which is emptied unless isAppended.
  explicit Output(const std::string& path = {}, bool isAppended = false);
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;
  ~Output();

  void Write(std::string_view text);

 private:
  std::string name_;
  int file_;
};

// At the start of a program. On Windows, text of standard output is UTF-8 and written as it is. Elsewhere,
// what is opened later cannot take the place of a standard stream that the caller has closed.
void PrepareStandardStreams();

// Makes the folder, and those above it. Throws likewise.
void MakeFolder(const std::string& path);

[[nodiscard]] bool IsTerminal(int descriptor) noexcept;

}  // namespace vantra::inspect
