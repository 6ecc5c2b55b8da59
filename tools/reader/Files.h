// The platform-dependent part: files and folders. Paths are UTF-8.
#pragma once

#include <cstdint>
#include <cstdio>
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

// A file. Others may write, move and delete it meanwhile.
class FileSource final : public Source {
 public:
  FileSource() = default;
  ~FileSource() override;

  // Opens the file; false if that fails, and Error says why. The folder is empty or ends in a separator.
  bool Open(std::string_view folder, std::string_view name);
  bool Open(const std::string& path) { return Open({}, path); }
  void Close() noexcept;

  [[nodiscard]] size_t Read(char* to, size_t size) override;
  // Goes back to the beginning of the open file.
  void Rewind() noexcept;
  [[nodiscard]] std::string_view Error() const noexcept override { return error_; }

 private:
  intptr_t file_ = -1;
  std::string path_;
#ifndef _WIN32
  std::string folder_;  // of the last file: the next one is mostly there too
  int folderHandle_ = -1;
#endif
  std::string error_;
};

// Calls visit for each file and folder in the folder, in no particular order, without links to folders.
// False, with the reason in error, when the folder cannot be listed.
bool ListFolder(const std::string& path,
                const std::function<void(std::string_view name, bool isFolder)>& visit, std::string& error);

// A file without a name, which is gone with its handle. Throws std::runtime_error with a sentence on failure.
[[nodiscard]] std::FILE* OpenTemporaryFile();

[[nodiscard]] bool IsFolder(const std::string& path);

// Whether this is a pipe or a device, which can be read only once.
[[nodiscard]] bool IsDevice(const std::string& path);

// Whether some process has the file open for writing. Always false where that cannot be found out, that is,
// except on Windows.
[[nodiscard]] bool IsBeingWritten(const std::string& path);

}  // namespace vantra::reader
