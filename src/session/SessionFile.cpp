#include "session/SessionFile.h"

#include <utility>

#include "session/DocumentName.h"
#include "settings/OptInPolicy.h"
#include "settings/AgentProgram.h"
#include "settings/SendrixUtilsWin.h"
#include "settings/UsageSettings.h"
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

std::wstring SessionFile::PathWithExtension(std::wstring_view extension) const {
  return (folder_ + stem_).append(L"_").append(std::to_wstring(index_)).append(extension);
}

bool SessionFile::Open() {
  if (!IsFolderKnown() || stem_.empty() || !util::IsFolder(folder_)) return false;
  path_ = PathWithExtension(L".tmp");
  file_ = util::OpenReadWrite(path_);
  if (!IsOpen()) path_.clear();
  return IsOpen();
}

bool SessionFile::Begin() {
  return !Open() || !obfuscate_ || util::WriteAll(file_.Get(), kObfuscationMarker);
}

bool SessionFile::Finish() {
  if (settings::GetAgentPath().empty() || !settings::OptInPolicy::Instance().IsConsentGiven()) {
    if (IsFolderKnown()) util::DeleteMatching(folder_, L"*.*", false);
    return false;
  }
  const std::wstring target = PathWithExtension(obfuscate_ ? L".rdy" : L".xml");
  // The path is forgotten and the index spent before anything can fail: no late failure deletes a finished
  // document, and no later document takes its name.
  const std::wstring source = std::exchange(path_, {});
  ++index_;
  if (!source.empty() && util::IsFolder(folder_)) {
    MoveFileExW(source.c_str(), target.c_str(),
                MOVEFILE_REPLACE_EXISTING | MOVEFILE_COPY_ALLOWED | MOVEFILE_WRITE_THROUGH);
    if (settings::IsSendOn()) settings::StartTransportAgent(target);
  }
  return true;
}

void SessionFile::Abandon() {
  Close();
  const std::wstring failed = std::exchange(path_, {});
  if (util::IsFile(failed)) DeleteFileW(failed.c_str());
  Finish();
}

}  // namespace vantra::session
