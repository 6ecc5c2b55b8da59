#include "api/WrapperUTLogData.h"

#include <string_view>

#include "api/DemographicOperations.h"
#include "api/Frame.h"
#include "api/OptInOperations.h"
#include "api/SessionOperations.h"
#include "api/Validation.h"
#include "api/ValidationErrors.h"
#include "api/VantraManager.h"
#include "settings/AgentProgram.h"
#include "settings/OptInPolicy.h"

namespace vantra::api {
namespace {

using session::UsageSession;

constexpr uint32_t kOptional = kNullAllowed | kEmptyAllowed;

constexpr TextCheck kUsageKeyCheck = CheckFor(kUsageKey);
constexpr TextCheck kProductCheck = CheckFor(kValue);
constexpr TextCheck kOptionalProductCheck = CheckFor(kValue | kOptional);
constexpr TextCheck kKeyCheck = CheckFor(kKey);
constexpr TextCheck kValueCheck = CheckFor(kValue | kOptional);
constexpr TextCheck kLabelCheck = CheckFor(kLabel | kOptional);
constexpr TextCheck kEventNameCheck = CheckFor(kEventName | kOptional);
constexpr TextCheck kGroupNameCheck = CheckFor(kGroupName);

// The open session with this handle, or NULL. Logs the message when there is one.
UsageSession* FindSession(const void* handle, const Message& found) {
  UsageSession* const session = VantraManager::Instance().Find(handle);
  if (session != nullptr) log::Debug(found);
  return session;
}

int32_t Result(bool isDone) noexcept { return isDone ? kSuccess : kFailure; }

int32_t Result(bool isDone, const Message& failure) noexcept {
  if (!isDone) log::Debug(failure);
  return Result(isDone);
}

}  // namespace

int32_t WrapperUTInitialize(const char* pcUsagekey, bool crashHandling, const char* agentFolder) {
  log::Info(entry::kInitialize);
  const CheckedArgument key(nullptr, pcUsagekey, kUsageKeyCheck, refusal::kUsageKey);
  if (!key.IsAccepted()) return kFailure;
  settings::OptInPolicy& policy = settings::OptInPolicy::Instance();
  if (policy.UsageKey() != key.Value().Text()) policy.SetUsageKey(key.Value().Text());
  policy.SetCrashReporting(crashHandling);
  settings::SetAgentFolder(agentFolder);
  return kSuccess;
}

int32_t WrapperUTStartSession(void** session, const char* pcAppFamily, const char* pcAppName,
                              const char* pcAppversion, const char* pcAppbuild, const char* pcApplanguage) {
  log::Info(entry::kStartSession);
  if (session == nullptr) return kFailure;
  *session = nullptr;
  const CheckedArgument family(nullptr, pcAppFamily, kProductCheck, refusal::kAppFamily);
  if (!family.IsAccepted()) return kFailure;
  const CheckedArgument name(nullptr, pcAppName, kProductCheck, refusal::kAppName);
  if (!name.IsAccepted()) return kFailure;
  const CheckedArgument version(nullptr, pcAppversion, kProductCheck, refusal::kAppVersion);
  if (!version.IsAccepted()) return kFailure;
  const CheckedArgument build(nullptr, pcAppbuild, kOptionalProductCheck, refusal::kAppBuild);
  if (!build.IsAccepted()) return kFailure;
  const CheckedArgument language(nullptr, pcApplanguage, kOptionalProductCheck, refusal::kAppLanguage);
  if (!language.IsAccepted()) return kFailure;
  return Result(StartSession(session, {family.Value().Text(), name.Value().Text(), version.Value().Text(),
                                       build.Value().Text(), language.Value().Text()}));
}

int32_t WrapperUTAddToSession(void* session, const char* pcKey, const char* pcValue) {
  log::Info(entry::kAddToSession);
  UsageSession* const open = FindSession(session, progress::kAddToSessionValid);
  if (open == nullptr) return kFailure;
  const CheckedArgument key(open, pcKey, kKeyCheck, refusal::kKey);
  if (!key.IsAccepted()) return kFailure;
  const CheckedArgument value(open, pcValue, kValueCheck, refusal::kValue);
  if (!value.IsAccepted()) return kFailure;
  open->AddToGroup(open->SessionGroup(), key.Value(), value.Value());
  return kSuccess;
}

int32_t WrapperUTLogEvent(void* session, const char* pcCategory, const char* pcSubCategory,
                          const char* pcEventName, const char* docId, uint32_t docIdLength) {
  log::Info(entry::kLogEvent);
  UsageSession* const open = FindSession(session, progress::kLogEventValid);
  if (open == nullptr) return kFailure;
  const CheckedDocumentId document = CheckDocumentId(docId, docIdLength);
  if (!document.isAccepted) return Result(false, refusal::kDocId);
  const CheckedArgument category(open, pcCategory, kLabelCheck, refusal::kCategory);
  if (!category.IsAccepted()) return kFailure;
  const CheckedArgument subcategory(open, pcSubCategory, kLabelCheck, refusal::kSubCategory);
  if (!subcategory.IsAccepted()) return kFailure;
  const CheckedArgument name(open, pcEventName, kEventNameCheck, refusal::kEventName);
  if (!name.IsAccepted()) return kFailure;
  open->LogEvent({.category = category.Value(),
                  .subcategory = subcategory.Value(),
                  .name = name.Value(),
                  .doc = HashedDocumentId(document.text)});
  return kSuccess;
}

int32_t WrapperUTNewDataGroup(void* session, const char* pcCategory, const char* pcSubCategory,
                              const char* pcGroupName, uint32_t* groupId, const char* docId,
                              uint32_t docIdLength) {
  log::Info(entry::kNewDataGroup);
  UsageSession* const open = FindSession(session, progress::kNewDataGroupValid);
  if (open == nullptr) return kFailure;
  const CheckedDocumentId document = CheckDocumentId(docId, docIdLength);
  if (!document.isAccepted) return Result(false, refusal::kDocId);
  const CheckedArgument category(open, pcCategory, kKeyCheck, refusal::kCategory);
  if (!category.IsAccepted()) return kFailure;
  const CheckedArgument subcategory(open, pcSubCategory, kLabelCheck, refusal::kSubCategory);
  if (!subcategory.IsAccepted()) return kFailure;
  const CheckedArgument name(open, pcGroupName, kGroupNameCheck, refusal::kGroupName);
  if (!name.IsAccepted()) return kFailure;
  const int32_t group = open->NewGroup({.category = category.Value(),
                                        .subcategory = subcategory.Value(),
                                        .name = name.Value(),
                                        .doc = HashedDocumentId(document.text)});
  if (groupId != nullptr) *groupId = static_cast<uint32_t>(group);
  return kSuccess;
}

int32_t WrapperUTAddToGroup(void* session, uint32_t groupId, const char* pcKey, const char* pcValue) {
  log::Info(entry::kAddToGroup);
  UsageSession* const open = FindSession(session, progress::kAddToGroupValid);
  if (open == nullptr) return kFailure;
  const CheckedArgument key(open, pcKey, kKeyCheck, refusal::kKey);
  if (!key.IsAccepted()) return kFailure;
  const CheckedArgument value(open, pcValue, kValueCheck, refusal::kValue);
  if (!value.IsAccepted()) return kFailure;
  return Result(AddToGroup(open, groupId, key.Value(), value.Value()));
}

int32_t WrapperUTCloseSession(void** session) {
  log::Info(entry::kCloseSession);
  UsageSession* const open =
      session == nullptr ? nullptr : FindSession(*session, progress::kCloseSessionValid);
  if (open == nullptr) return kFailure;
  CloseSession(*open, session);
  return kSuccess;
}

int32_t WrapperUTGetOptIn(int32_t* value) {
  log::Info(entry::kGetOptIn);
  return Result(OptInGet(settings::OptInPolicy::Instance().UsageKey().c_str(), *value));
}

int32_t WrapperUTSetOptIn(int32_t value) {
  log::Info(entry::kSetOptIn);
  return Result(OptInSet(settings::OptInPolicy::Instance().UsageKey().c_str(), value));
}

int32_t WrapperUTOptInGet(const char* pcUsagekey, int32_t* value) {
  log::Info(entry::kOptInGet);
  return Result(OptInGet(pcUsagekey, *value));
}

int32_t WrapperUTOptInSet(const char* pcUsagekey, int32_t value) {
  log::Info(entry::kOptInSet);
  return Result(OptInSet(pcUsagekey, value));
}

int32_t WrapperUTGetDemographic(const char* pcKey, char* buffer, size_t* size) {
  log::Info(entry::kGetDemographic);
  return Result(GetDemographicHelper(nullptr, pcKey, buffer, size), refusal::kGetDemographic);
}

int32_t WrapperUTSetDemographic(const char* pcKey, const char* pcValue) {
  log::Info(entry::kSetDemographic);
  return Result(SetDemographicHelper(nullptr, pcKey, pcValue), refusal::kSetDemographic);
}

int32_t WrapperUTGetNonDefaultDemographic(const char* pcSubkey, const char* pcKey, char* buffer,
                                          size_t* size) {
  log::Info(entry::kGetNonDefaultDemographic);
  return Result(GetDemographicHelper(pcSubkey, pcKey, buffer, size), refusal::kGetNonDefaultDemographic);
}

int32_t WrapperUTSetNonDefaultDemographic(const char* pcSubkey, const char* pcKey, const char* pcValue) {
  log::Info(entry::kSetNonDefaultDemographic);
  return Result(SetDemographicHelper(pcSubkey, pcKey, pcValue), refusal::kSetNonDefaultDemographic);
}

int32_t WrapperUTSetSerializationState(int32_t state) {
  log::Info(entry::kSetSerializationState);
  settings::OptInPolicy::Instance().SetReleaseState(state);
  log::Info(values::kSerializationState, state);
  return kSuccess;
}

}  // namespace vantra::api
