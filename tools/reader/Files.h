// Files and folders of the machine that the reader runs on: the edge. Paths are UTF-8.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "reader/Source.h"

namespace vantra::reader {

#ifdef _WIN32
constexpr char kSeparator = '\\';
constexpr char kSeparators[] = "\\/:";
#else
constexpr char kSeparator = '/';
constexpr char kSeparators[] = "/";
#endif

// A file, which others may go on writing, moving and deleting meanwhile.
class FileSource final : public Source {
 public:
  FileSource() = default;
  ~FileSource() override;

  // Whether the file is there and may be read; else Error tells why not. The folder is empty or ends in a
  // separator.
  bool Open(std::string_view folder, std::string_view name);
  bool Open(const std::string& path) { return Open({}, path); }
  void Close() noexcept;

  [[nodiscard]] size_t Read(char* to, size_t size) override;
  // Goes back to the beginning of a file that is open.
  void Rewind() noexcept;
  [[nodiscard]] std::string_view Error() const noexcept override { return error_; }

 private:
  intptr_t file_ = -1;
  std::string path_;
#ifndef _WIN32
  std::string folder_;  // of the last file: most are followed by another one there
  int folderHandle_ = -1;
#endif
  std::string error_;
};

// What lies in a folder, in no order: names of files and of folders, links to folders left out. False, with
// the reason, when it cannot be listed.
bool ListFolder(const std::string& path,
                const std::function<void(std::string_view name, bool isFolder)>& tell, std::string& error);

[[nodiscard]] bool IsFolder(const std::string& path);

// Whether some process has the file open for writing. Elsewhere than on Windows that cannot be told: false.
[[nodiscard]] bool IsBeingWritten(const std::string& path);

}  // namespace vantra::reader
