#include "api/SessionOperations.h"

#include <charconv>
#include <memory>

#include "api/Frame.h"
#include "api/OptInOperations.h"
#include "api/ProductOptInSync.h"
#include "api/Validation.h"
#include "api/ValidationErrors.h"
#include "api/VantraManager.h"
#include "crash/CrashHandler.h"
#include "settings/AgentConfigFile.h"
#include "settings/AgentFolders.h"
#include "settings/AgentProgram.h"
#include "settings/OptInPolicy.h"
#include "settings/SendrixUtilsWin.h"
#include "settings/UsageSettings.h"
#include "util/Digest.h"

namespace vantra::api {
namespace {

using session::ProductTexts;
using session::UsageSession;

// NULL when the user has no identifier to salt the digest with.
util::SaltedDigest* MakeDigest() {
  const std::string& salt = settings::OptInPolicy::Instance().FetchUserIdentifier();
  return salt.empty() ? nullptr : &util::SaltedDigest::Create(salt);
}

// Reports a changed opt-in of the product, and starts the agent when sending is on and a document waits.
void SyncAndSend(const ProductTexts& product, const std::wstring& logsFolder) {
  const bool hasChanged = SyncProductOptIn(product.family, product.name, product.version, logsFolder);
  if (!settings::IsSendOn()) return;
  if (hasChanged || settings::HasFinishedDocument(logsFolder)) settings::StartTransportAgent(logsFolder);
}

// The checks that can refuse a start, in their fixed order. When consent is refused, documents that wait are
// still sent.
bool MayStart(const ProductTexts& product, const settings::AgentFolders& folders) {
  settings::OptInPolicy& policy = settings::OptInPolicy::Instance();
  const std::wstring configPath = settings::GetAgentConfigPath(folders.data);
  if (settings::VerifyConfigStatus(product.family, product.name, configPath, "ulog") !=
      settings::ConfigStatus::kActive) {
    log::Debug(refusal::kConfigStatus);
    return false;
  }
  int32_t optIn = settings::kUndecided;
  if (!OptInGet(policy.UsageKey().c_str(), optIn)) {
    log::Debug(refusal::kStoredUsageKey, policy.UsageKey());
    return false;
  }
  policy.FetchUserIdentifier();
  if (settings::VerifyTransAgentExist() != 0) {
    log::Debug(refusal::kTransAgentExist);
    return false;
  }
  if (!settings::OptInPolicy::IsAllowedByGroupPolicy()) {
    log::Debug(refusal::kGroupPolicy);
    return false;
  }
  if (!policy.IsConsentGiven()) {
    SyncAndSend(product, folders.logs);
    log::Debug(refusal::kConsent, 0);
    return false;
  }
  return true;
}

// Lists a new session and hands out its handle; undoes both unless Keep is called.
class StartedSession {
 public:
  StartedSession(std::unique_ptr<UsageSession> session, void** handle)
      : session_(VantraManager::Instance().Add(std::move(session))), handle_(handle) {
    *handle_ = session_;
  }
  StartedSession(const StartedSession&) = delete;
  StartedSession& operator=(const StartedSession&) = delete;
  ~StartedSession() {
    if (isKept_) return;
    *handle_ = nullptr;
    VantraManager::Instance().Remove(session_);
  }

  void Keep() noexcept { isKept_ = true; }

 private:
  UsageSession* session_;
  void** handle_;
  bool isKept_ = false;
};

}  // namespace

bool StartSession(void** handle, const ProductTexts& product) {
  const settings::AgentFolders folders = settings::GetAgentFolders();
  if (!MayStart(product, folders)) return false;

  auto session = UsageSession::Create(product, folders.logs);
  if (!product.family.empty()) settings::StampFirstUse(product.family);
  StartedSession started(std::move(session), handle);
  if (settings::OptInPolicy::Instance().CrashReporting()) {
    crash::CrashHandler::SetCrashHandler(VantraManager::Instance().Sessions());
  }
  log::Debug(progress::kStartSessionSuccess);
  SyncAndSend(product, folders.logs);
  started.Keep();
  return true;
}

session::FreeText DigestOf(std::string_view text) {
  util::SaltedDigest* digest = util::SaltedDigest::Existing();
  if (digest == nullptr) digest = MakeDigest();
  if (digest == nullptr) return {};
  return session::FreeText::Plain(digest->Of(text));
}

bool AddToGroup(UsageSession* session, uint32_t group, const session::FreeText& key,
                const session::FreeText& value) {
  if (session == nullptr || key.Text().data() == nullptr || value.Text().data() == nullptr) {
    log::Debug(refusal::kGroupPartMissing);
    return false;
  }
  const auto id = static_cast<int32_t>(group);
  if (IsGroupId(id, session->LastGroup())) {
    session->AddToGroup(id, key, value);
    return true;
  }
  log::Debug(refusal::kGroupId, id);
  // By the document format, the error's value is the number of the empty group opened here, not the one
  // refused.
  const int32_t opened = session->NewGroup(
      {.category = "Skylamp", .subcategory = {}, .name = "ValidationErrors", .doc = kNoDocument});
  char text[12];
  RecordValidationError(session, kInvalidGroupId,
                        std::string_view(text, std::to_chars(text, text + sizeof text, opened).ptr));
  return false;
}

void CloseSession(UsageSession& session, void** handle) {
  RecordOptInInfo(session);
  log::Debug(progress::kBeforeEndSession);
  session.Close();
  VantraManager::Instance().Remove(&session);
  *handle = nullptr;
  log::Debug(progress::kCloseSessionSuccess);
}

}  // namespace vantra::api
