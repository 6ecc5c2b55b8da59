#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <stdexcept>
#include <system_error>

#include "reader/Files.h"

namespace vantra::reader {
namespace {

std::string LastError() { return std::generic_category().message(errno); }

enum class Type { Other, File, Folder };

// A link to a file counts as a file. Anything that is neither file nor folder is skipped: reading it could
// block for ever.
Type TypeOf(const dirent& entry, const std::string& folder) {
  if (entry.d_type == DT_REG) return Type::File;
  if (entry.d_type == DT_DIR) return Type::Folder;
  if (entry.d_type != DT_LNK && entry.d_type != DT_UNKNOWN) return Type::Other;
  const std::string path = folder + kSeparator + entry.d_name;
  struct stat info {};
  if (stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode)) return Type::File;
  return lstat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode) ? Type::Folder : Type::Other;
}

}  // namespace

FileSource::~FileSource() {
  Close();
  if (folderHandle_ >= 0) close(folderHandle_);
}

bool FileSource::Open(std::string_view folder, std::string_view name) {
  Close();
  error_.clear();
  if (folder != folder_) {
    if (folderHandle_ >= 0) close(folderHandle_);
    folder_ = folder;
    folderHandle_ = folder_.empty() ? -1 : open(folder_.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
  }
  path_ = name;
  const bool isInFolder = !folder_.empty();
  const int file =
      openat(isInFolder ? folderHandle_ : AT_FDCWD, path_.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
  if (file < 0) error_ = LastError();
  file_ = file;
  return file >= 0;
}

void FileSource::Close() noexcept {
  if (file_ >= 0) close(static_cast<int>(file_));
  file_ = -1;
}

void FileSource::Rewind() noexcept { lseek(static_cast<int>(file_), 0, SEEK_SET); }

size_t FileSource::Read(char* to, size_t size) {
  if (file_ < 0) return 0;
  for (;;) {
    const ssize_t got = read(static_cast<int>(file_), to, size);
    if (got >= 0) return static_cast<size_t>(got);
    if (errno == EINTR) continue;
    error_ = LastError();
    return 0;
  }
}

bool ListFolder(const std::string& path,
                const std::function<void(std::string_view name, bool isFolder)>& visit, std::string& error) {
  const std::unique_ptr<DIR, int (*)(DIR*)> folder(opendir(path.c_str()), closedir);
  if (folder == nullptr) {
    error = LastError();
    return false;
  }
  // NOLINTNEXTLINE(concurrency-mt-unsafe): no other thread has this folder.
  while (const dirent* const entry = readdir(folder.get())) {
    const std::string_view name = entry->d_name;
    if (name == "." || name == "..") continue;
    const Type type = TypeOf(*entry, path);
    if (type != Type::Other) visit(name, type == Type::Folder);
  }
  return true;
}

std::FILE* OpenTemporaryFile() {
  std::FILE* const file = std::tmpfile();
  if (file == nullptr) throw std::runtime_error("cannot make a temporary file: " + LastError());
  return file;
}

bool IsFolder(const std::string& path) {
  struct stat info {};
  return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

bool IsDevice(const std::string& path) {
  struct stat info {};
  return stat(path.c_str(), &info) == 0 && !S_ISREG(info.st_mode) && !S_ISDIR(info.st_mode);
}

bool IsBeingWritten(const std::string&) { return false; }

}  // namespace vantra::reader
