#include "util/Files.h"

#include <shellapi.h>
#include <shlobj.h>

#include <climits>
#include <vector>

#include "util/Paths.h"

namespace vantra::util {
namespace {

uint64_t Join(DWORD high, DWORD low) noexcept { return (static_cast<uint64_t>(high) << 32) | low; }

UniqueFile OpenForReading(const std::wstring& path) noexcept {
  return UniqueFile(CreateFileW(path.c_str(), GENERIC_READ,
                                FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
}

// A path without an allocation, since a crashing process deletes files too.
class PathBuffer {
 public:
  // False when the path is longer than the platform takes without a prefix.
  [[nodiscard]] bool Set(std::wstring_view folder, std::wstring_view name) noexcept {
    if (folder.size() + name.size() + 2 > std::size(text_)) return false;
    wchar_t* at = text_ + folder.copy(text_, folder.size());
    if (!folder.ends_with(L'\\')) *at++ = L'\\';
    at += name.copy(at, name.size());
    *at = L'\0';
    return true;
  }
  [[nodiscard]] const wchar_t* Text() const noexcept { return text_; }

 private:
  wchar_t text_[2 * MAX_PATH];
};

std::optional<uint64_t> QueryFreeSpace(const wchar_t* folder) noexcept {
  using QueryEx = BOOL(WINAPI*)(LPCWSTR, PULARGE_INTEGER, PULARGE_INTEGER, PULARGE_INTEGER);
  const auto queryEx = reinterpret_cast<QueryEx>(
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"KERNEL32.DLL"), "GetDiskFreeSpaceExW")));
  ULARGE_INTEGER available;
  if (queryEx != nullptr && queryEx(folder, &available, nullptr, nullptr)) return available.QuadPart;

  DWORD sectorsPerCluster = 0;
  DWORD bytesPerSector = 0;
  DWORD freeClusters = 0;
  DWORD clusters = 0;
  if (!GetDiskFreeSpaceW(folder, &sectorsPerCluster, &bytesPerSector, &freeClusters, &clusters)) return {};
  return uint64_t{sectorsPerCluster} * bytesPerSector * freeClusters;
}

}  // namespace

std::optional<FileInfo> GetFileInfo(const std::wstring& path) {
  WIN32_FILE_ATTRIBUTE_DATA data;
  if (path.empty() || !GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data)) return {};
  return FileInfo{(data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0,
                  Join(data.nFileSizeHigh, data.nFileSizeLow),
                  Join(data.ftCreationTime.dwHighDateTime, data.ftCreationTime.dwLowDateTime),
                  Join(data.ftLastWriteTime.dwHighDateTime, data.ftLastWriteTime.dwLowDateTime)};
}

std::wstring FullPath(const std::wstring& path) {
  const DWORD size = GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
  std::wstring full(size, L'\0');
  const DWORD length = GetFullPathNameW(path.c_str(), size, full.data(), nullptr);
  full.resize(length < size ? length : 0);
  return full;
}

bool IsFile(const std::wstring& path) {
  const DWORD attributes = GetFileAttributesW(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

bool IsFolder(const std::wstring& path) {
  const DWORD attributes = GetFileAttributesW(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool EnsureFolder(const std::wstring& path) {
  if (path.empty()) return false;
  if (IsFile(path) && !DeleteFileW(path.c_str())) return false;
  const int result = SHCreateDirectoryExW(nullptr, path.c_str(), nullptr);
  return result == ERROR_SUCCESS || result == ERROR_FILE_EXISTS || result == ERROR_ALREADY_EXISTS;
}

UniqueFile OpenReadWrite(const std::wstring& path) noexcept {
  return UniqueFile(CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
}

std::optional<std::string> ReadWholeFile(const std::wstring& path) {
  const UniqueFile file = OpenForReading(path);
  LARGE_INTEGER size;
  if (!file || !GetFileSizeEx(file.Get(), &size) || size.QuadPart > INT_MAX) return {};
  std::string content(static_cast<size_t>(size.QuadPart), '\0');
  DWORD read = 0;
  if (!ReadFile(file.Get(), content.data(), static_cast<DWORD>(content.size()), &read, nullptr)) return {};
  content.resize(read);
  return content;
}

bool ReplaceContent(const std::wstring& path, std::string_view content) {
  const std::wstring temporary = path + L"." + std::to_wstring(GetCurrentProcessId()) + L".tmp";
  UniqueFile file(CreateFileW(temporary.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                              FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) return false;
  const bool written = WriteAll(file.Get(), content);
  file.Reset();
  if (written && MoveFileExW(temporary.c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING)) return true;
  DeleteFileW(temporary.c_str());
  return false;
}

void DeleteMatching(const std::wstring& folder, std::wstring_view pattern, bool recurse) {
  if (!IsFolder(folder)) return;
  PathBuffer path;
  if (path.Set(folder, pattern)) {
    ForEachFile(path.Text(), [&](const WIN32_FIND_DATAW& found) {
      if (path.Set(folder, found.cFileName)) DeleteFileW(path.Text());
      return true;
    });
  }
  if (!recurse) return;

  const std::wstring root = WithTrailingBackslash(folder);
  std::vector<std::wstring> subfolders;
  WIN32_FIND_DATAW found;
  const UniqueFind find(FindFirstFileW((root + L"*.*").c_str(), &found));
  if (!find) return;
  do {
    const std::wstring_view name = found.cFileName;
    if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0 && name != L"." && name != L"..") {
      subfolders.push_back(root + std::wstring(name));
    }
  } while (FindNextFileW(find.Get(), &found));
  for (const std::wstring& subfolder : subfolders) DeleteMatching(subfolder, pattern, true);
}

bool RemoveFolderTree(const std::wstring& folder) {
  std::wstring list = folder;
  list += L'\0';  // the shell takes a list, ended by an empty name
  SHFILEOPSTRUCTW operation{};
  operation.wFunc = FO_DELETE;
  operation.pFrom = list.c_str();
  operation.fFlags = FOF_NOCONFIRMATION | FOF_NOERRORUI | FOF_SILENT;
  return SHFileOperationW(&operation) == 0 && !operation.fAnyOperationsAborted;
}

std::optional<uint64_t> FreeDiskSpace(std::wstring path) {
  while (!path.empty() && !IsFolder(path)) {
    std::wstring parent = ParentFolder(path);
    if (parent.size() == path.size()) break;
    path = std::move(parent);
  }
  return QueryFreeSpace(path.empty() ? nullptr : WithTrailingBackslash(path).c_str());
}

}  // namespace vantra::util
