#include "agent/Folder.h"

#include <shlobj.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <utility>

#include "session/Obfuscation.h"
#include "settings/AgentFolders.h"
#include "util/Files.h"
#include "util/Paths.h"
#include "util/Text.h"

namespace vantra::agent {
namespace {

constexpr size_t kLongestRead = 1 << 30;

// Uses the path form without the 260-character limit: a document whose path just fits in Logs may not fit in
// a folder with a longer name.
std::wstring Child(const std::wstring& folder, std::wstring_view name) {
  const bool isShare = folder.starts_with(L"\\\\");
  return util::JoinPath(isShare ? L"\\\\?\\UNC" + folder.substr(1) : L"\\\\?\\" + folder, name);
}

Taken TakenOf(DWORD error) noexcept {
  switch (error) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_DELETE_PENDING:
      return Taken::kGone;
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
      return Taken::kInUse;
    default:
      return Taken::kFailed;
  }
}

util::UniqueFile Open(const std::wstring& path, DWORD access, DWORD share) {
  return util::UniqueFile(CreateFileW(path.c_str(), access, share, nullptr, OPEN_EXISTING,
                                      FILE_FLAG_SEQUENTIAL_SCAN | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
}

bool ReadAll(HANDLE file, std::string& content) {
  LARGE_INTEGER size;
  if (!GetFileSizeEx(file, &size) || size.QuadPart > static_cast<LONGLONG>(kLongestRead)) return false;
  content.resize(static_cast<size_t>(size.QuadPart));
  DWORD read = 0;
  return ReadFile(file, content.data(), static_cast<DWORD>(content.size()), &read, nullptr) &&
         read == content.size();
}

// Reads a whole file; kInUse while somebody is writing it.
Taken ReadShared(const std::wstring& path, std::string& content) {
  const util::UniqueFile file = Open(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE);
  if (!file) return TakenOf(GetLastError());
  return ReadAll(file.Get(), content) ? Taken::kDone : Taken::kFailed;
}

bool Rename(HANDLE file, const std::wstring& to, bool replace) {
  const size_t bytes = to.size() * sizeof(wchar_t);
  const size_t size = sizeof(FILE_RENAME_INFO) + bytes;
  const auto buffer = std::make_unique<std::byte[]>(size);
  auto* const info = reinterpret_cast<FILE_RENAME_INFO*>(buffer.get());
  info->ReplaceIfExists = replace;
  info->FileNameLength = static_cast<DWORD>(bytes);
  std::memcpy(info->FileName, to.data(), bytes);
  return SetFileInformationByHandle(file, FileRenameInfo, info, static_cast<DWORD>(size));
}

bool DeleteOpen(const std::wstring& path, HANDLE file) {
  FILE_DISPOSITION_INFO info{TRUE};
  if (SetFileInformationByHandle(file, FileDispositionInfo, &info, sizeof info)) return true;
  if (GetLastError() != ERROR_ACCESS_DENIED) return false;
  SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);  // it may be read-only
  return SetFileInformationByHandle(file, FileDispositionInfo, &info, sizeof info);
}

// Calls act(handle) if the file still has this content.
template <class Act>
Taken TakeOpen(const std::wstring& path, std::string_view content, Act&& act) {
  const util::UniqueFile file = Open(path, GENERIC_READ | DELETE, FILE_SHARE_READ | FILE_SHARE_DELETE);
  if (!file) return TakenOf(GetLastError());
  std::string present;
  if (!ReadAll(file.Get(), present)) return Taken::kFailed;
  if (present != content) return Taken::kInUse;
  return act(file.Get()) ? Taken::kDone : TakenOf(GetLastError());
}

// For another volume: MoveFileEx would keep the source open during the whole copy.
Taken CopyAcross(const std::wstring& from, const std::wstring& to) {
  std::string content;
  if (const Taken taken = ReadShared(from, content); taken != Taken::kDone) return taken;
  if (!util::ReplaceContent(to, content)) return Taken::kFailed;
  const util::UniqueFile copy = Open(to, GENERIC_WRITE, FILE_SHARE_READ);
  if (!copy || !FlushFileBuffers(copy.Get())) return Taken::kFailed;
  return TakeOpen(from, content, [&](HANDLE file) { return DeleteOpen(from, file); });
}

bool HasContentOf(const std::wstring& path, const std::wstring& other) {
  const auto content = util::ReadWholeFile(path);
  return content && content == util::ReadWholeFile(other);
}

uint64_t Ticks(const FILETIME& time) noexcept {
  return (static_cast<uint64_t>(time.dwHighDateTime) << 32) | time.dwLowDateTime;
}

template <class Visit>
void ForEachWithEnd(const std::wstring& folder, std::initializer_list<std::wstring_view> ends,
                    Visit&& visit) {
  if (folder.empty()) return;
  util::ForEachFile(Child(folder, L"*").c_str(), [&](const WIN32_FIND_DATAW& found) {
    const std::wstring_view name = found.cFileName;
    // Links are skipped: through one, its creator could have us read a file that they may not read.
    if ((found.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) return true;
    if (std::ranges::any_of(ends, [&](std::wstring_view end) { return name.ends_with(end); })) visit(found);
    return true;
  });
}

std::vector<Document> List(const std::wstring& folder) {
  std::vector<Document> documents;
  ForEachWithEnd(folder, {L".xml", L".rdy"}, [&](const WIN32_FIND_DATAW& found) {
    const std::wstring wide = found.cFileName;
    std::string name = util::ToUtf8(wide);
    if (util::FromUtf8(name) != wide) return;
    const uint64_t size = (static_cast<uint64_t>(found.nFileSizeHigh) << 32) | found.nFileSizeLow;
    documents.push_back({std::move(name), Ticks(found.ftLastWriteTime), size});
  });
  return documents;
}

bool IsMarked(HANDLE file) {
  char start[session::kObfuscationMarker.size()];
  DWORD read = 0;
  return ReadFile(file, start, sizeof start, &read, nullptr) &&
         std::string_view(start, read) == session::kObfuscationMarker;
}

bool IsOld(const FILETIME& written, std::chrono::seconds age) {
  constexpr uint64_t kTicksPerSecond = 10'000'000;
  FILETIME now;
  GetSystemTimeAsFileTime(&now);
  // A time in the future does not count as recent: the clock was wrong then.
  const uint64_t passed = std::max(Ticks(now), Ticks(written)) - std::min(Ticks(now), Ticks(written));
  return passed >= static_cast<uint64_t>(age.count()) * kTicksPerSecond;
}

// The same handle tests whether the file is in use and renames it. It keeps nobody from deleting or moving
// the file.
bool FinishIfAbandoned(const std::wstring& logs, std::wstring name, std::chrono::seconds age) {
  const util::UniqueFile file = Open(Child(logs, name), GENERIC_READ | DELETE, FILE_SHARE_DELETE);
  FILETIME written;
  if (!file || !GetFileTime(file.Get(), nullptr, nullptr, &written) || !IsOld(written, age)) return false;
  name.replace(name.size() - 4, 4, IsMarked(file.Get()) ? L".rdy" : L".xml");
  return Rename(file.Get(), Child(logs, name), false);
}

}  // namespace

Folder::Folder() {
  settings::AgentFolders folders = settings::GetAgentFolders();
  refused_ = util::JoinPath(folders.data, L"Refused");
  data_ = std::move(folders.data);
  logs_ = std::move(folders.logs);
}

bool Folder::Make() const { return util::EnsureFolder(data_) && util::EnsureFolder(logs_); }

Taken Folder::Lock(util::UniqueFile& lock) const {
  lock = util::UniqueFile(CreateFileW(Child(data_, L"Sendrix2.lock").c_str(), GENERIC_WRITE, 0, nullptr,
                                      OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!lock) return TakenOf(GetLastError());
  // Left by an agent that was killed in WriteOwn.
  util::DeleteMatching(data_, L"Sendrix2.state.*.tmp");
  return Taken::kDone;
}

std::optional<std::string> Folder::ReadOwn(std::wstring_view name) const {
  return util::ReadWholeFile(util::JoinPath(data_, name));
}

std::optional<settings::ConfigMap> Folder::ReadConfig(bool& isThere) const {
  const auto file = util::TakeSnapshot(util::JoinPath(data_, L"Sendrix2.cfg"), settings::kLargestConfig);
  isThere = !file || file->exists;
  if (!isThere) return settings::DefaultConfig();
  return file ? settings::ParseConfig(file->text) : std::nullopt;
}

bool Folder::WriteOwn(std::wstring_view name, std::string_view content) const {
  return util::ReplaceContent(util::JoinPath(data_, name), content);
}

std::vector<Document> Folder::ListFinished() const { return List(logs_); }

std::vector<Document> Folder::ListRefused() const { return List(refused_); }

size_t Folder::FinishAbandoned(std::chrono::seconds age, bool (*isAllowed)()) const {
  std::vector<std::wstring> names;
  ForEachWithEnd(logs_, {L".tmp"}, [&](const WIN32_FIND_DATAW& found) {
    if (IsOld(found.ftLastWriteTime, age)) names.emplace_back(found.cFileName);
  });
  return static_cast<size_t>(std::ranges::count_if(
      names, [&](const std::wstring& name) { return isAllowed() && FinishIfAbandoned(logs_, name, age); }));
}

Taken Folder::Read(const std::string& name, std::string& content) const {
  return ReadShared(Child(logs_, util::FromUtf8(name)), content);
}

Taken Folder::Delete(const std::string& name, std::string_view content) const {
  const std::wstring path = Child(logs_, util::FromUtf8(name));
  return TakeOpen(path, content, [&](HANDLE file) { return DeleteOpen(path, file); });
}

Taken Folder::PutAside(const std::string& name, std::string_view content) const {
  if (!util::EnsureFolder(refused_)) return Taken::kFailed;
  const std::wstring wide = util::FromUtf8(name);
  return TakeOpen(Child(logs_, wide), content,
                  [&](HANDLE file) { return Rename(file, Child(refused_, wide), true); });
}

Taken Folder::MoveTo(const std::string& name, const std::wstring& folder) const {
  SHCreateDirectoryExW(nullptr, folder.c_str(), nullptr);
  const std::wstring wide = util::FromUtf8(name);
  const std::wstring source = Child(logs_, wide);
  std::wstring newName = wide;
  for (int copy = 2;; ++copy) {
    const std::wstring to = Child(folder, newName);
    if (MoveFileExW(source.c_str(), to.c_str(), MOVEFILE_WRITE_THROUGH)) return Taken::kDone;
    const DWORD error = GetLastError();
    if (error == ERROR_NOT_SAME_DEVICE && (!util::IsFile(to) || HasContentOf(to, source)))
      return CopyAcross(source, to);
    if (error != ERROR_ALREADY_EXISTS && error != ERROR_FILE_EXISTS && error != ERROR_NOT_SAME_DEVICE)
      return util::IsFolder(folder) ? TakenOf(error) : Taken::kFailed;
    newName = wide;
    newName.insert(wide.rfind(L'.'), L"~" + std::to_wstring(copy));
  }
}

bool Folder::CanWrite(const std::wstring& folder) {
  const util::UniqueFile probe(CreateFileW(Child(folder, L"Sendrix2.probe").c_str(), GENERIC_WRITE, 0,
                                           nullptr, CREATE_ALWAYS, FILE_FLAG_DELETE_ON_CLOSE, nullptr));
  return static_cast<bool>(probe);
}

size_t Folder::HoldBudget(uint64_t bytes) const {
  std::vector<Document> all;
  for (const auto& [folder, documents] :
       {std::pair("Logs\\", ListFinished()), {"Refused\\", ListRefused()}}) {
    for (const Document& each : documents) all.push_back({folder + each.name, each.written, each.size});
  }
  std::ranges::sort(all, {}, &Document::written);
  all.resize(CountSurplus(all, bytes));
  return static_cast<size_t>(std::ranges::count_if(all, [&](const Document& each) {
    const std::wstring path = Child(data_, util::FromUtf8(each.name));
    if (DeleteFileW(path.c_str())) return true;
    return SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL) && DeleteFileW(path.c_str());
  }));
}

}  // namespace vantra::agent
