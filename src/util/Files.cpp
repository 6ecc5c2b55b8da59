#include "util/Files.h"

#include <shellapi.h>
#include <shlobj.h>

#include <climits>
#include <cstring>
#include <cwchar>
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

std::optional<std::string> ReadAll(HANDLE file, uint64_t size) {
  std::string content(static_cast<size_t>(size), '\0');
  DWORD read = 0;
  if (!ReadFile(file, content.data(), static_cast<DWORD>(content.size()), &read, nullptr)) return {};
  content.resize(read);
  return content;
}

std::wstring TemporaryPath(const std::wstring& path, DWORD process) {
  return path + L"." + std::to_wstring(process) + L".tmp";
}

bool IsRunning(DWORD process) noexcept {
  const UniqueKernelObject opened(OpenProcess(SYNCHRONIZE, FALSE, process));
  if (!opened) return GetLastError() != ERROR_INVALID_PARAMETER;
  return WaitForSingleObject(opened.Get(), 0) != WAIT_OBJECT_0;
}

// Deletes the temporary files of processes that were killed. What such a process had to write is still to be
// written, so the next writer comes across its file.
void RemoveLeftovers(const std::wstring& path) {
  ForEachFile(TemporaryPath(path, 0).replace(path.size() + 1, 1, L"*").c_str(), [&](const auto& found) {
    const size_t name = path.size() - ParentFolder(path).size();
    const auto process = static_cast<DWORD>(std::wcstoul(found.cFileName + name, nullptr, 10));
    const std::wstring leftover = TemporaryPath(path, process);
    if (leftover.ends_with(found.cFileName) && !IsRunning(process)) DeleteFileW(leftover.c_str());
    return true;
  });
}

// Renames by handle: a single call, so as little time as possible passes after the last check of the target.
bool Rename(HANDLE file, const std::wstring& path, bool mayReplace) {
  const size_t bytes = path.size() * sizeof(wchar_t);
  std::vector<std::byte> buffer(sizeof(FILE_RENAME_INFO) + bytes);
  auto* const info = new (buffer.data()) FILE_RENAME_INFO{};
  info->ReplaceIfExists = mayReplace;
  info->FileNameLength = static_cast<DWORD>(bytes);
  std::memcpy(info->FileName, path.data(), bytes);
  return SetFileInformationByHandle(file, FileRenameInfo, info, static_cast<DWORD>(buffer.size()));
}

// Writes a temporary file and renames it, if mayReplace, called in between, allows that.
template <class MayReplace>
bool Replace(const std::wstring& path, std::string_view text, bool exists, MayReplace&& mayReplace) {
  const std::wstring temporary = TemporaryPath(path, GetCurrentProcessId());
  UniqueFile file(CreateFileW(temporary.c_str(), GENERIC_WRITE | DELETE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                              nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) return false;
  if (WriteAll(file.Get(), text) && mayReplace() && Rename(file.Get(), path, exists)) return true;
  file.Reset();
  DeleteFileW(temporary.c_str());
  return false;
}

// A path on the stack: a crashing process must not allocate.
class PathBuffer {
 public:
  // False when the path does not fit.
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

std::wstring RoamingDataFolder() {
  wchar_t path[MAX_PATH];
  const HRESULT result =
      SHGetFolderPathW(nullptr, CSIDL_APPDATA | CSIDL_FLAG_CREATE, nullptr, SHGFP_TYPE_CURRENT, path);
  return result == S_OK ? path : std::wstring();
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
  return ReadAll(file.Get(), static_cast<uint64_t>(size.QuadPart));
}

std::optional<FileSnapshot> TakeSnapshot(const std::wstring& path, uint64_t limit) {
  constexpr ULONGLONG kLongestWait = 60;
  for (const ULONGLONG end = GetTickCount64() + kLongestWait;;) {
    const UniqueFile file = OpenForReading(path);
    const DWORD error = file ? ERROR_SUCCESS : GetLastError();
    if (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND) return FileSnapshot{};
    BY_HANDLE_FILE_INFORMATION info;
    if (file && GetFileInformationByHandle(file.Get(), &info)) {
      const uint64_t size = Join(info.nFileSizeHigh, info.nFileSizeLow);
      if (size > limit) return {};
      if (auto text = ReadAll(file.Get(), size)) {
        return FileSnapshot{true, (info.dwFileAttributes & FILE_ATTRIBUTE_READONLY) != 0,
                            Join(info.ftLastWriteTime.dwHighDateTime, info.ftLastWriteTime.dwLowDateTime),
                            *std::move(text)};
      }
    }
    if (GetTickCount64() >= end || IsFolder(path)) return {};
    Sleep(1);
  }
}

bool ReplaceContent(const std::wstring& path, std::string_view text) {
  return Replace(path, text, true, [] { return true; });
}

bool ReplaceContent(const std::wstring& path, const FileSnapshot& before, std::string_view text) {
  if (before.isReadOnly) return false;
  RemoveLeftovers(path);
  // The time is compared last, since that takes a single call. A change between this comparison and the
  // rename is lost.
  return Replace(path, text, before.exists, [&] {
    if (TakeSnapshot(path, before.text.size()) != before) return false;
    const auto info = GetFileInfo(path);
    return info ? info->written == before.written : !before.exists;
  });
}

void TouchFile(const std::wstring& path) noexcept {
  const UniqueFile file(CreateFileW(path.c_str(), FILE_WRITE_ATTRIBUTES,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  FILETIME now;
  GetSystemTimeAsFileTime(&now);
  if (file) SetFileTime(file.Get(), nullptr, nullptr, &now);
}

void DeleteMatching(const std::wstring& folder, std::wstring_view pattern) {
  PathBuffer path;
  if (!IsFolder(folder) || !path.Set(folder, pattern)) return;
  ForEachFile(path.Text(), [&](const WIN32_FIND_DATAW& found) {
    if (!path.Set(folder, found.cFileName)) return true;
    const DWORD attributes = found.dwFileAttributes;
    if (attributes & FILE_ATTRIBUTE_READONLY) {
      SetFileAttributesW(path.Text(), attributes & ~DWORD{FILE_ATTRIBUTE_READONLY});
    }
    DeleteFileW(path.Text());
    return true;
  });
}

bool RemoveFolderTree(const std::wstring& folder) {
  std::wstring list = folder;
  list += L'\0';  // the shell takes a list that an empty name ends
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
