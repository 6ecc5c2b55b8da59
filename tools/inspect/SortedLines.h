// Sorts lines in bounded memory; what exceeds it waits in a temporary file.
#pragma once

#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace vantra::inspect {

// Throws std::runtime_error with a sentence when the temporary file cannot be made, written or read.
class SortedLines {
 public:
  // The line must end in its only line feed.
  void Add(std::string_view line);
  [[nodiscard]] bool IsEmpty() const noexcept { return lines_.empty() && runs_.empty(); }

  // Passes on all lines in the order of their bytes. Call it once, after the last Add.
  void Take(const std::function<void(std::string_view line)>& take);

 private:
  // A sorted run of lines in the file.
  struct Run {
    int64_t at, end;
    std::string text = {};  // read from the file
    size_t used = 0;        // of that text
    size_t size = 0;        // of the line after that

    [[nodiscard]] std::string_view Line() const noexcept { return std::string_view(text).substr(used, size); }
  };
  void Store();
  void Merge(const std::function<void(std::string_view line)>& take);
  // Whether there is another line.
  [[nodiscard]] bool Advance(Run& run, size_t piece);

  std::vector<std::string> lines_;
  size_t bytes_ = 0;
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> file_{nullptr, std::fclose};
  std::vector<Run> runs_;
};

}  // namespace vantra::inspect
