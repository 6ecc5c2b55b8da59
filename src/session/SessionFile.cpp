#include "session/SessionFile.h"

#include <utility>

#include "session/DocumentName.h"
#include "util/Text.h"

namespace vantra::session {

namespace {

std::wstring Stem(std::string_view family, std::string_view name, std::string_view user,
                  std::string_view id) {
  util::TextBuffer stem;
  if (!AppendDocumentName(stem, family, name, user, id)) return {};
  return util::FromUtf8(stem.Text());
}

}  // namespace

SessionFile::SessionFile(std::wstring logsFolder, bool obfuscate, std::string_view family,
                         std::string_view name, std::string_view user, std::string_view sessionId)
    : folder_(std::move(logsFolder)), stem_(Stem(family, name, user, sessionId)), obfuscate_(obfuscate) {}

std::wstring SessionFile::PathOf(int32_t index, std::wstring_view extension) const {
  return (folder_ + stem_).append(L"_").append(std::to_wstring(index)).append(extension);
}

WriteResult SessionFile::Open(int32_t index, bool startsEmpty) {
  if (isSealed_ || !IsFolderKnown() || stem_.empty() || !util::IsFolder(folder_))
    return WriteResult::kDropped;
  path_ = PathOf(index, L".tmp");
  file_ = util::OpenReadWrite(path_);
  if (IsOpen() && startsEmpty && !SetEndOfFile(file_.Get())) Close();
  if (!IsOpen()) {
    path_.clear();
    return WriteResult::kDropped;
  }
  const bool isBegun = !obfuscate_ || util::WriteAll(file_.Get(), kObfuscationMarker);
  return isBegun ? WriteResult::kWritten : WriteResult::kFailed;
}

std::wstring SessionFile::Finish(int32_t index) {
  // Cleared before anything can fail, so that no later failure deletes a finished document.
  const std::wstring source = std::exchange(path_, {});
  if (source.empty() || !util::IsFolder(folder_)) return {};
  std::wstring target = PathOf(index, obfuscate_ ? L".rdy" : L".xml");
  MoveFileExW(source.c_str(), target.c_str(),
              MOVEFILE_REPLACE_EXISTING | MOVEFILE_COPY_ALLOWED | MOVEFILE_WRITE_THROUGH);
  return target;
}

void SessionFile::Remove() {
  Close();
  const std::wstring path = std::exchange(path_, {});
  if (util::IsFile(path)) DeleteFileW(path.c_str());
}

void SessionFile::EmptyFolder() const {
  if (IsFolderKnown()) util::DeleteMatching(folder_, L"*.*");
}

}  // namespace vantra::session
