// Texts put in order, in memory with a bound: what is beyond it waits in a temporary file.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace vantra::reader {

// Throws std::runtime_error with a sentence when the temporary file cannot be made, written or read.
class SortedTexts {
 public:
  // Not empty, and before the first Next.
  void Add(std::string_view text);
  [[nodiscard]] bool IsEmpty() const noexcept { return texts_.empty() && runs_.empty(); }

  // The next one in the order of their bytes, good until the next call; empty after the last.
  [[nodiscard]] std::string_view Next();

 private:
  // Texts in the file that are in order, each after its size.
  struct Run {
    int64_t at, end;
    std::string read = {};
    size_t used = 0;  // of what was read
    size_t size = 0;  // of the text after that

    [[nodiscard]] std::string_view Text() const noexcept { return std::string_view(read).substr(used, size); }
  };
  void Store();
  void Begin();
  // Whether there is another text.
  [[nodiscard]] bool Advance(Run& run);
  void Push(Run& run);

  std::vector<std::string> texts_;
  size_t bytes_ = 0;
  bool hasBegun_ = false;
  size_t next_ = 0;
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> file_{nullptr, std::fclose};
  std::vector<Run> runs_;
  std::vector<Run*> heads_;  // a heap, the first text on top
  Run* last_ = nullptr;      // gave the last text, and is not in the heap
};

}  // namespace vantra::reader
