// Files and folders on disk. Failures are empty results or false; nothing is logged here.
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

// Empty when the path names neither a file nor a folder.
[[nodiscard]] std::optional<FileInfo> GetFileInfo(const std::wstring& path);

// The user's roaming application data, created when missing. Empty when the platform does not name it.
[[nodiscard]] std::wstring RoamingDataFolder();

// The absolute path; a relative one is resolved against the current folder. Empty on failure.
[[nodiscard]] std::wstring FullPath(const std::wstring& path);

[[nodiscard]] bool IsFile(const std::wstring& path);
[[nodiscard]] bool IsFolder(const std::wstring& path);

// Creates the folder and its missing parents. Deletes a plain file that stands in its place.
[[nodiscard]] bool EnsureFolder(const std::wstring& path);

// Opens a file for reading and writing; creates it if missing and keeps its content. Others may only read it.
[[nodiscard]] UniqueFile OpenReadWrite(const std::wstring& path) noexcept;

// Writes the whole text at the current position in one write. A short write counts as a failure.
[[nodiscard]] inline bool WriteAll(HANDLE file, std::string_view text) noexcept {
  if (text.size() > MAXDWORD) return false;
  const auto size = static_cast<DWORD>(text.size());
  DWORD written = 0;
  return WriteFile(file, text.data(), size, &written, nullptr) && written == size;
}

// The whole content of a file, even while others have it open for writing.
[[nodiscard]] std::optional<std::string> ReadWholeFile(const std::wstring& path);

// A file's state at one moment. A missing file has no text and no time.
struct FileSnapshot {
  bool exists = false;
  bool isReadOnly = false;
  uint64_t written = 0;
  std::string text;

  bool operator==(const FileSnapshot&) const = default;
};

// Reads the file's state. Empty when the path is a folder, the file has more bytes than limit, or others deny
// reading it for longer than some tens of milliseconds.
[[nodiscard]] std::optional<FileSnapshot> TakeSnapshot(const std::wstring& path, uint64_t limit);

// Replaces the file's content atomically, so that no reader ever sees half of it. On failure the old content
// stays.
[[nodiscard]] bool ReplaceContent(const std::wstring& path, std::string_view text);

// The same, but also false when the file has changed since before was taken, or is read-only.
[[nodiscard]] bool ReplaceContent(const std::wstring& path, const FileSnapshot& before,
                                  std::string_view text);

// Sets the time of the last write to the current time.
void TouchFile(const std::wstring& path) noexcept;

// Calls visit(const WIN32_FIND_DATAW&) for each plain file that matches the pattern, in the file system's
// order, until visit returns false.
template <class Visit>
void ForEachFile(const wchar_t* pattern, Visit&& visit) {
  WIN32_FIND_DATAW found;
  const UniqueFind find(FindFirstFileW(pattern, &found));
  if (!find) return;
  do {
    if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0 && !visit(found)) return;
  } while (FindNextFileW(find.Get(), &found));
}

// Deletes the folder's matching files, read-only ones too, but not its subfolders. Allocates nothing, so a
// crashing process may call it.
void DeleteMatching(const std::wstring& folder, std::wstring_view pattern);

// Removes a folder and everything in it, through the shell, without asking the user.
[[nodiscard]] bool RemoveFolderTree(const std::wstring& folder);

// The bytes available to this user on the path's volume. For a path that does not exist, its nearest existing
// parent is asked.
[[nodiscard]] std::optional<uint64_t> FreeDiskSpace(std::wstring path);

}  // namespace vantra::util
