#include "settings/LogsTidy.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <vector>

#include "util/Files.h"
#include "util/Paths.h"

namespace vantra::settings {
namespace {

constexpr uint64_t kBudget = 10ULL << 20;

struct LogFile {
  std::wstring path;
  uint64_t written;
  uint64_t size;
};

// Empty when the file cannot be opened.
std::optional<LogFile> Inspect(std::wstring path) {
  const util::UniqueFile file(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                          FILE_ATTRIBUTE_NORMAL, nullptr));
  FILETIME written;
  FILETIME local;
  LARGE_INTEGER size;
  if (!file || !GetFileTime(file.Get(), nullptr, nullptr, &written) ||
      !FileTimeToLocalFileTime(&written, &local) || !GetFileSizeEx(file.Get(), &size)) {
    return {};
  }
  return LogFile{std::move(path), (static_cast<uint64_t>(local.dwHighDateTime) << 32) | local.dwLowDateTime,
                 static_cast<uint64_t>(size.QuadPart)};
}

}  // namespace

void TidyLogsFolder(const std::wstring& logsFolder) {
  if (logsFolder.empty()) return;
  std::vector<LogFile> files;
  uint64_t total = 0;
  util::ForEachFile(util::JoinPath(logsFolder, L"*.*").c_str(), [&](const WIN32_FIND_DATAW& found) {
    if (!std::wstring_view(found.cFileName).ends_with(L".log")) return true;
    if (auto file = Inspect(util::JoinPath(logsFolder, found.cFileName))) {
      total += file->size;
      files.push_back(*std::move(file));
    }
    return true;
  });
  std::sort(files.begin(), files.end(),
            [](const LogFile& a, const LogFile& b) { return a.written < b.written; });
  for (const LogFile& file : files) {
    if (total <= kBudget) return;
    if (util::IsFile(file.path)) DeleteFileW(file.path.c_str());
    total -= file.size;
  }
}

}  // namespace vantra::settings
