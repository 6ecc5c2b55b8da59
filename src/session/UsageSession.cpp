#include "session/UsageSession.h"

#include <utility>

#include "session/HeaderBlocks.h"
#include "settings/AgentProgram.h"
#include "settings/OptInPolicy.h"
#include "settings/SendrixUtilsWin.h"
#include "settings/UsageSettings.h"
#include "util/Clock.h"
#include "util/Files.h"
#include "util/Paths.h"
#include "util/UserId.h"

namespace vantra::session {
namespace {

// A session keeps a record buffer of at most this size; a larger one, which is rare, is freed after use.
constexpr size_t kKeptBuffer = size_t{64} * 1024;

}  // namespace

std::unique_ptr<UsageSession> UsageSession::Create(const ProductTexts& product,
                                                   const std::wstring& logsFolder) {
  std::wstring folder = util::WithTrailingBackslash(logsFolder);
  const uint64_t freeSpace = util::FreeDiskSpace(folder).value_or(0);
  const std::string& user = settings::OptInPolicy::Instance().FetchUserIdentifier();
  std::unique_ptr<UsageSession> session(
      new UsageSession(product, std::move(folder), freeSpace > kLeastFreeSpace, user, util::NewUserId()));
  session->Start();
  return session;
}

UsageSession::UsageSession(const ProductTexts& product, std::wstring logsFolder, bool enabled,
                           std::string user, std::string id)
    : file_(std::move(logsFolder), settings::IsObfuscationOn(), product.family, product.name, user, id),
      usageKey_(settings::OptInPolicy::Instance().UsageKey()),
      enabled_(enabled),
      id_(std::move(id)),
      user_(std::move(user)),
      family_(product.family),
      name_(product.name),
      version_(product.version),
      build_(product.build),
      language_(product.language) {}

ProductTexts UsageSession::Product() const noexcept { return {family_, name_, version_, build_, language_}; }

const RecordStamp& UsageSession::Stamp() noexcept {
  stamp_.time.Set(util::UtcSeconds());
  return stamp_;
}

util::TextBuffer& UsageSession::ClearedRecord() noexcept {
  record_.Clear();
  return record_;
}

bool UsageSession::Write() {
  stamp_.seq.Increment();
  documents_.Count(record_.Bytes().size());
  WriteResult result = WriteResult::kWritten;
  if (!file_.IsOpen()) result = file_.Open(documents_.Index(), documents_.IsNameUsed());
  if (result == WriteResult::kWritten) result = file_.Write(record_.Bytes());
  if (result != WriteResult::kFailed) return true;
  enabled_ = false;
  file_.Remove();
  FinishDocument();
  return false;
}

void UsageSession::Record() {
  const bool isWritten = Write();
  record_.ShrinkBeyond(kKeptBuffer);
  if (isWritten && documents_.NeedsSplit()) Split();
}

bool UsageSession::IsDeliveryAllowed() const {
  return settings::OptInPolicy::Instance().IsDeliveryAllowed(usageKey_);
}

void UsageSession::FinishDocument() {
  const int32_t index = documents_.Index();
  const DocumentSeries::Conditions conditions{.hasAgent = !settings::GetAgentPath().empty(),
                                              .isDeliveryAllowed = IsDeliveryAllowed()};
  // End counts the index up before the file is renamed, so that no later document takes the name of one whose
  // rename failed.
  if (documents_.End(conditions) == DocumentSeries::Fate::kDeleted) {
    file_.EmptyFolder();
    return;
  }
  const std::wstring finished = file_.Finish(index);
  if (!finished.empty() && settings::IsSendOn()) settings::StartTransportAgent(finished);
}

void UsageSession::Start() {
  if (!enabled_) return;
  const RecordStamp& stamp = Stamp();
  startTime_ = stamp.time.Text().View();
  AppendPrologue(ClearedRecord());
  AppendStartSession(record_, id_, stamp);
  Record();
  group_ = NewGroup({.category = "Skylamp", .subcategory = {}, .name = "Session", .doc = "0"});
  WriteHeaderBlocks(*this);
}

void UsageSession::LogEvent(const Labels& labels) {
  if (!enabled_) return;
  AppendEventRec(ClearedRecord(), labels, Stamp());
  Record();
}

int32_t UsageSession::NewGroup(const Labels& labels) {
  if (!enabled_) return -1;
  lastGroup_.Increment();
  AppendNewGroup(ClearedRecord(), labels, lastGroup_, Stamp());
  Record();
  return lastGroup_.Value();
}

void UsageSession::AddToGroup(int32_t group, const FreeText& name, const FreeText& value) {
  if (!enabled_ || name.Text().data() == nullptr || value.Text().data() == nullptr) return;
  AppendDataRec(ClearedRecord(), group, name, value, Stamp());
  Record();
}

void UsageSession::EndSession() {
  AppendEndSession(ClearedRecord(), id_, Stamp());
  Record();
}

// The ResumeSession record is written by Write, not Record, so one split never triggers another.
void UsageSession::Split() {
  AppendSplitSession(ClearedRecord(), id_, Stamp());
  if (!Write()) return;
  // Disabled until the next document has begun: if memory runs out before, the session falls silent instead
  // of writing after this document's end.
  enabled_ = false;
  file_.Close();
  FinishDocument();

  AppendPrologue(ClearedRecord());
  AppendResumeSession(record_, id_, Product(), startTime_, user_, Stamp());
  enabled_ = true;
  static_cast<void>(Write());
}

void UsageSession::Close() {
  if (IsWriting()) EndSession();
  if (IsWriting()) {
    enabled_ = false;
    file_.Close();
    FinishDocument();
  } else if (!IsDeliveryAllowed()) {
    file_.EmptyFolder();
  }
}

void UsageSession::Silence() noexcept {
  enabled_ = false;
  file_.Seal();
}

}  // namespace vantra::session
