#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <system_error>

#include "reader/Files.h"
#include "util/Text.h"
#include "util/UniqueHandle.h"
#include "util/Windows.h"

namespace vantra::reader {
namespace {

std::string LastError() {
  const DWORD error = GetLastError();
  wchar_t text[256];
  const DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                      error, 0, text, static_cast<DWORD>(std::size(text)), nullptr);
  std::string message = util::ToUtf8({text, length});
  while (!message.empty() && (message.back() == '\n' || message.back() == '\r' || message.back() == '.'))
    message.pop_back();
  return message + " (error " + std::to_string(error) + ")";
}

HANDLE OpenForReading(const std::string& path, DWORD sharing) {
  return CreateFileW(util::FromUtf8(path).c_str(), GENERIC_READ, sharing, nullptr, OPEN_EXISTING,
                     FILE_FLAG_SEQUENTIAL_SCAN, nullptr);
}

HANDLE HandleOf(intptr_t file) { return reinterpret_cast<HANDLE>(file); }

}  // namespace

FileSource::~FileSource() { Close(); }

bool FileSource::Open(std::string_view folder, std::string_view name) {
  Close();
  error_.clear();
  path_.assign(folder).append(name);
  const HANDLE file = OpenForReading(path_, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE);
  if (file == INVALID_HANDLE_VALUE) error_ = LastError();
  file_ = reinterpret_cast<intptr_t>(file);
  return file_ != -1;
}

void FileSource::Close() noexcept {
  if (file_ != -1) CloseHandle(HandleOf(file_));
  file_ = -1;
}

void FileSource::Rewind() noexcept { SetFilePointerEx(HandleOf(file_), {}, nullptr, FILE_BEGIN); }

size_t FileSource::Read(char* to, size_t size) {
  DWORD got = 0;
  const auto wanted = static_cast<DWORD>(std::min<size_t>(size, MAXDWORD));
  if (file_ != -1 && !ReadFile(HandleOf(file_), to, wanted, &got, nullptr)) error_ = LastError();
  return got;
}

bool ListFolder(const std::string& path,
                const std::function<void(std::string_view name, bool isFolder)>& visit, std::string& error) {
  WIN32_FIND_DATAW found;
  const util::UniqueFind find(FindFirstFileExW(util::FromUtf8(path + "\\*").c_str(), FindExInfoBasic, &found,
                                               FindExSearchNameMatch, nullptr, FIND_FIRST_EX_LARGE_FETCH));
  if (!find) {
    error = LastError();
    return false;
  }
  do {
    const std::string name = util::ToUtf8(found.cFileName);
    const bool isFolder = (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    const bool isLink = isFolder && (found.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
    if (!isLink && name != "." && name != "..") visit(name, isFolder);
  } while (FindNextFileW(find.Get(), &found));
  return true;
}

std::FILE* OpenTemporaryFile() {
  // tmpfile() would make it at the root of the drive, where few may write.
  const std::unique_ptr<wchar_t, void (*)(void*)> name(_wtempnam(nullptr, L"vantra"), std::free);
  std::FILE* const file = name == nullptr ? nullptr : _wfopen(name.get(), L"w+bTD");
  if (file == nullptr)
    throw std::runtime_error("cannot make a temporary file: " + std::generic_category().message(errno));
  return file;
}

bool IsFolder(const std::string& path) {
  const DWORD attributes = GetFileAttributesW(util::FromUtf8(path).c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool IsDevice(const std::string& path) {
  const util::UniqueFile file(OpenForReading(path, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE));
  return file && GetFileType(file.Get()) != FILE_TYPE_DISK;
}

bool IsBeingWritten(const std::string& path) {
  // A host shares its open document for reading, so opening fails only because this open denies writing.
  const HANDLE file = OpenForReading(path, FILE_SHARE_READ | FILE_SHARE_DELETE);
  if (file == INVALID_HANDLE_VALUE) return GetLastError() == ERROR_SHARING_VIOLATION;
  CloseHandle(file);
  return false;
}

}  // namespace vantra::reader
