// The file of a session's current document: written under a temporary name, then renamed.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "session/Obfuscation.h"
#include "util/Files.h"
#include "util/UniqueHandle.h"

namespace vantra::session {

// kDropped: no file could be opened, and the text is lost; the next write tries again. kFailed: the write
// failed.
enum class WriteResult { kWritten, kDropped, kFailed };

class SessionFile {
 public:
  // The folder must end in a backslash. A lone backslash stands for an unknown folder, in which nothing is
  // written, listed or deleted. The other texts become parts of the file names.
  SessionFile(std::wstring logsFolder, bool obfuscate, std::string_view family, std::string_view name,
              std::string_view user, std::string_view sessionId);

  // Opens the file of the document with this index, keeping its content unless startsEmpty, and writes the
  // marker if documents are obfuscated.
  [[nodiscard]] WriteResult Open(int32_t index, bool startsEmpty);

  // Writes one record to the open file in one write. Obfuscates the text in place.
  [[nodiscard]] WriteResult Write(std::span<char> text) {
    if (obfuscate_) Obfuscate(text);
    return util::WriteAll(file_.Get(), {text.data(), text.size()}) ? WriteResult::kWritten
                                                                   : WriteResult::kFailed;
  }

  [[nodiscard]] bool IsOpen() const noexcept { return static_cast<bool>(file_); }
  void Close() noexcept { file_.Reset(); }
  // Closes the file for good: Open drops everything from now on.
  void Seal() noexcept {
    isSealed_ = true;
    Close();
  }

  // Renames the closed file to the final name of the document with this index. Returns the final path, even
  // if the rename fails; empty when there is no file, or its folder is gone.
  std::wstring Finish(int32_t index);

  // Closes and deletes the file.
  void Remove();

  // Deletes every file of the folder.
  void EmptyFolder() const;

  [[nodiscard]] bool Obfuscated() const noexcept { return obfuscate_; }
  [[nodiscard]] const std::wstring& Folder() const noexcept { return folder_; }
  [[nodiscard]] bool IsFolderKnown() const noexcept { return folder_.size() > 1; }

 private:
  [[nodiscard]] std::wstring PathOf(int32_t index, std::wstring_view extension) const;

  util::UniqueFile file_;
  std::wstring path_;
  std::wstring folder_;
  // The file name up to the index; empty when the texts cannot be part of a file name.
  std::wstring stem_;
  bool obfuscate_;
  bool isSealed_ = false;
};

}  // namespace vantra::session
