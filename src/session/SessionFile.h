// The files of one session: written under a temporary name, one document each, and handed to the agent under
// their final names.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "session/Obfuscation.h"
#include "util/Files.h"
#include "util/UniqueHandle.h"

namespace vantra::session {

class SessionFile {
 public:
  // The folder ends in a backslash; a lone backslash stands for an unknown one, where nothing is written,
  // listed or deleted. Documents are recorded under the usage key, whose choice they follow. The other texts
  // become parts of the file names.
  SessionFile(std::wstring logsFolder, bool obfuscate, std::string_view usageKey, std::string_view family,
              std::string_view name, std::string_view user, std::string_view sessionId);

  // Appends one record in one write, opening the file first when none is open. Obfuscates the text in place.
  // False only when a write fails, for which see Abandon; a text for which no file can be opened is dropped.
  [[nodiscard]] bool Write(std::span<char> text) {
    if (!IsOpen()) {
      const bool isFine = Begin();
      if (!isFine || !IsOpen()) return isFine;
    }
    if (obfuscate_) Obfuscate(text);
    return util::WriteAll(file_.Get(), {text.data(), text.size()});
  }

  [[nodiscard]] bool IsOpen() const noexcept { return static_cast<bool>(file_); }
  void Close() noexcept { file_.Reset(); }
  // Closes the file; none is opened from now on, and records are dropped.
  void Seal() noexcept {
    isSealed_ = true;
    Close();
  }

  // Completes the closed file: moves it to its final name and starts the agent when sending is on. Without
  // consent, or without an agent, deletes every file of the folder instead and returns false; the next file
  // then has the same index.
  bool Finish();

  // Deletes every file of the folder when the user does not consent any more.
  void HeedWithdrawal();

  // After a failed write: closes and deletes the file, then finishes.
  void Abandon();

  [[nodiscard]] bool Obfuscated() const noexcept { return obfuscate_; }
  [[nodiscard]] const std::wstring& Folder() const noexcept { return folder_; }
  [[nodiscard]] bool IsFolderKnown() const noexcept { return folder_.size() > 1; }

 private:
  [[nodiscard]] std::wstring PathWithExtension(std::wstring_view extension) const;
  [[nodiscard]] bool Open();
  // Opens the file and writes the marker of an obfuscated one. False only when that write fails.
  [[nodiscard]] bool Begin();
  [[nodiscard]] bool IsDeliveryAllowed() const;
  void EmptyFolder();

  util::UniqueFile file_;
  std::wstring path_;
  std::wstring folder_;
  // The file's name before its index; empty when the texts cannot be part of a name.
  std::wstring stem_;
  std::string usageKey_;
  int32_t index_ = 0;
  bool obfuscate_;
  bool isSealed_ = false;
  // After a refused finish the next file has the name of one that could perhaps not be deleted.
  bool isNameUsed_ = false;
};

}  // namespace vantra::session
