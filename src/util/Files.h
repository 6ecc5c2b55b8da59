// Files and folders on disk. Every failure is an empty result or false; nothing is reported from here.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "util/UniqueHandle.h"

namespace vantra::util {

struct FileInfo {
  bool isFolder;
  uint64_t size;
  // UTC, in 100-nanosecond ticks.
  uint64_t created;
  uint64_t written;
};

// Empty when nothing is there.
[[nodiscard]] std::optional<FileInfo> GetFileInfo(const std::wstring& path);

// The absolute path; a relative one is below the present working folder. Empty when there is none.
[[nodiscard]] std::wstring FullPath(const std::wstring& path);

[[nodiscard]] bool IsFile(const std::wstring& path);
[[nodiscard]] bool IsFolder(const std::wstring& path);

// Makes the folder and its missing parents. A plain file in its place is deleted first.
[[nodiscard]] bool EnsureFolder(const std::wstring& path);

// Opens for reading and writing, creates what is missing, keeps what is there; others may only read.
[[nodiscard]] UniqueFile OpenReadWrite(const std::wstring& path) noexcept;

// One write of the whole text at the current position; a short write is a failed one.
[[nodiscard]] inline bool WriteAll(HANDLE file, std::string_view text) noexcept {
  if (text.size() > MAXDWORD) return false;
  const auto size = static_cast<DWORD>(text.size());
  DWORD written = 0;
  return WriteFile(file, text.data(), size, &written, nullptr) && written == size;
}

// The whole content, whoever else has the file open.
[[nodiscard]] std::optional<std::string> ReadWholeFile(const std::wstring& path);

// A file as it was at one moment. A missing one has no text and no time.
struct FileSnapshot {
  bool exists = false;
  bool isReadOnly = false;
  uint64_t written = 0;
  std::string text;

  bool operator==(const FileSnapshot&) const = default;
};

// Empty when what is there cannot be read: a folder, a file of more than so many bytes, or one that others
// keep for themselves. The last is waited for, some tens of milliseconds at most.
[[nodiscard]] std::optional<FileSnapshot> TakeSnapshot(const std::wstring& path, uint64_t limit);

// Puts the text in the file's place in one step, so that no reader ever sees half of it. On failure what is
// there stays.
[[nodiscard]] bool ReplaceContent(const std::wstring& path, std::string_view text);

// The same, but false too when the file is no more as it was before, or is not ours to replace.
[[nodiscard]] bool ReplaceContent(const std::wstring& path, const FileSnapshot& before,
                                  std::string_view text);

// Sets the time of the last write to now.
void TouchFile(const std::wstring& path) noexcept;

// Calls visit(WIN32_FIND_DATAW) for each plain file of the folder that matches the pattern, in the order of
// the file system, until it returns false.
template <class Visit>
void ForEachFile(const wchar_t* pattern, Visit&& visit) {
  WIN32_FIND_DATAW found;
  const UniqueFind find(FindFirstFileW(pattern, &found));
  if (!find) return;
  do {
    if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0 && !visit(found)) return;
  } while (FindNextFileW(find.Get(), &found));
}

// Deletes the matching files of the folder, read-only ones too, and with recurse those of its subfolders.
// Allocates nothing without recurse.
void DeleteMatching(const std::wstring& folder, std::wstring_view pattern, bool recurse);

// Removes a folder and all in it through the shell, without asking.
[[nodiscard]] bool RemoveFolderTree(const std::wstring& folder);

// Bytes that the caller may still write on the path's volume. A path that is not there yet is judged by its
// nearest existing parent.
[[nodiscard]] std::optional<uint64_t> FreeDiskSpace(std::wstring path);

}  // namespace vantra::util
