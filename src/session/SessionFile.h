// The file of a session's present document: written under a temporary name, then renamed.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "session/Obfuscation.h"
#include "util/Files.h"
#include "util/UniqueHandle.h"

namespace vantra::session {

// Dropped text reaches no file, because none can be opened; the next text tries again.
enum class WriteResult { kWritten, kDropped, kFailed };

class SessionFile {
 public:
  // The folder ends in a backslash; a lone backslash stands for an unknown one, where nothing is written,
  // listed or deleted. The other texts become parts of the file names.
  SessionFile(std::wstring logsFolder, bool obfuscate, std::string_view family, std::string_view name,
              std::string_view user, std::string_view sessionId);

  // Opens the file of the document with this index, and writes the marker of an obfuscated one. What the file
  // holds stays unless it is to start empty.
  [[nodiscard]] WriteResult Open(int32_t index, bool startsEmpty);

  // Appends one record to the open file in one write. Obfuscates the text in place.
  [[nodiscard]] WriteResult Write(std::span<char> text) {
    if (obfuscate_) Obfuscate(text);
    return util::WriteAll(file_.Get(), {text.data(), text.size()}) ? WriteResult::kWritten
                                                                   : WriteResult::kFailed;
  }

  [[nodiscard]] bool IsOpen() const noexcept { return static_cast<bool>(file_); }
  void Close() noexcept { file_.Reset(); }
  // Closes the file; none is opened from now on.
  void Seal() noexcept {
    isSealed_ = true;
    Close();
  }

  // Gives the closed file the final name of the document with this index. Returns that path even when the
  // move fails; empty when there is no file, or its folder is gone.
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
  // The file's name before its index; empty when the texts cannot be part of a name.
  std::wstring stem_;
  bool obfuscate_;
  bool isSealed_ = false;
};

}  // namespace vantra::session
