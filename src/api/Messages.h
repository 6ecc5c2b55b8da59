// The messages of the exported functions in the diagnostic log, each with its line number. Support tools
// search for the numbers, so they are fixed and do not follow the source.
#pragma once

#include <string_view>

#include "log/Log.h"

namespace vantra::api {

using log::Message;

constexpr Message InWrapper(std::string_view text, int line) noexcept {
  return {"..\\WrapperUTLogData", text, line};
}

// Entry traces, at INFO.
namespace entry {
inline constexpr Message kInitialize = InWrapper("UTInitialize", 159);
inline constexpr Message kStartSession = InWrapper("UTStartSession", 196);
inline constexpr Message kAddToSession = InWrapper("UTAddToSession", 352);
inline constexpr Message kLogEvent = InWrapper("UTLogEvent", 404);
inline constexpr Message kNewDataGroup = InWrapper("UTNewDataGroup", 489);
inline constexpr Message kAddToGroup = InWrapper("UTAddToGroup", 577);
inline constexpr Message kCloseSession = InWrapper("UTCloseSession", 620);
inline constexpr Message kGetOptIn = InWrapper("UTGetOptIn", 668);
inline constexpr Message kSetOptIn = InWrapper("UTSetOptIn", 682);
inline constexpr Message kOptInGet = InWrapper("UTOptInGet", 696);
inline constexpr Message kOptInSet = InWrapper("UTOptInSet", 709);
inline constexpr Message kGetDemographic = InWrapper("UTGetDemographic", 721);
inline constexpr Message kSetDemographic = InWrapper("UTSetDemographic", 738);
inline constexpr Message kGetNonDefaultDemographic = InWrapper("GetNonDefaultDemographic", 755);
inline constexpr Message kSetNonDefaultDemographic = InWrapper("SetNonDefaultDemographic", 772);
inline constexpr Message kSetSerializationState = InWrapper("UTSetSerializationState", 789);
inline constexpr Message kGetDemographicHelper = InWrapper("GetDemographicHelper", 965);
inline constexpr Message kSetDemographicHelper = InWrapper("SetDemographicHelper", 1010);
}  // namespace entry

// Progress, at DEBUG.
namespace progress {
inline constexpr Message kStartSessionSuccess = InWrapper("UTStartSession Success: ", 331);
inline constexpr Message kAddToSessionValid = InWrapper("UTAddToSession has valid session", 363);
inline constexpr Message kLogEventValid = InWrapper("UTLogEvent has valid session", 414);
inline constexpr Message kNewDataGroupValid = InWrapper("UTNewDataGroup has valid session", 499);
inline constexpr Message kAddToGroupValid = InWrapper("UTAddToGroup has valid session", 588);
inline constexpr Message kCloseSessionValid = InWrapper("UTCloseSession has valid session", 631);
inline constexpr Message kBeforeEndSession = InWrapper("UTCloseSession Before EndSession: ", 638);
inline constexpr Message kCloseSessionSuccess = InWrapper("UTCloseSession Success: ", 656);
}  // namespace progress

// Values, at INFO.
namespace values {
inline constexpr Message kSerializationState = InWrapper("SetSerializationState: ", 798);
inline constexpr Message kOptInGet = InWrapper("OptInGet: ", 919);
inline constexpr Message kOptInSet = InWrapper("OptInSet: ", 956);
}  // namespace values

// Refusals and failures, at DEBUG; the value that was checked follows where there is one.
namespace refusal {
inline constexpr Message kUsageKey = InWrapper("pcUsagekey: ", 167);
inline constexpr Message kAppFamily = InWrapper("VerifyString pcAppFamily: ", 207);
inline constexpr Message kAppName = InWrapper("VerifyString pcAppName: ", 216);
inline constexpr Message kAppVersion = InWrapper("VerifyString pcAppversion: ", 225);
inline constexpr Message kAppBuild = InWrapper("VerifyString pcAppbuild: ", 236);
inline constexpr Message kAppLanguage = InWrapper("VerifyString pcApplanguage: ", 246);
inline constexpr Message kConfigStatus = InWrapper("VerifyConfigStatus failure", 255);
inline constexpr Message kStoredUsageKey = InWrapper("gsPrefx: ", 266);
inline constexpr Message kTransAgentExist = InWrapper("VerifyTransAgentExist failure", 277);
inline constexpr Message kGroupPolicy = InWrapper("VerifyGroupPolicy failure", 286);
inline constexpr Message kConsent = InWrapper("OptInPolicy: ", 309);
inline constexpr Message kKey = InWrapper("VerifyString pcKey: ", 376);
inline constexpr Message kValue = InWrapper("VerifyString pcValue: ", 387);
inline constexpr Message kDocId = InWrapper("VerifyDocIdBuffer: ", 419);
inline constexpr Message kCategory = InWrapper("VerifyString pcCategory: ", 434);
inline constexpr Message kSubCategory = InWrapper("VerifyString pcSubCategory: ", 447);
inline constexpr Message kEventName = InWrapper("VerifyString pcEventName: ", 460);
inline constexpr Message kGroupName = InWrapper("VerifyString pcGroupName: ", 544);
inline constexpr Message kGroupPartMissing =
    InWrapper("AddToGroup: one of Vantra pcKey pcValue is NULL", 879);
inline constexpr Message kGroupId = InWrapper("AddToGroup VerifyGroupId: ", 889);
inline constexpr Message kOptInGetKey = InWrapper("OptInGet VerifyString pcUsagekey: ", 911);
inline constexpr Message kOptInValue = InWrapper("OptInSet VerifyOptinValue: ", 934);
inline constexpr Message kOptInSetKey = InWrapper("OptInSet VerifyString pcUsagekey: ", 946);
inline constexpr Message kOptInNotStored = InWrapper("OptInSet failed ", 951);
inline constexpr Message kGetDemographic = InWrapper("UTGetDemographic failed ", 727);
inline constexpr Message kSetDemographic = InWrapper("UTSetDemographic failed ", 744);
inline constexpr Message kGetNonDefaultDemographic = InWrapper("GetNonDefaultDemographic failed ", 761);
inline constexpr Message kSetNonDefaultDemographic = InWrapper("SetNonDefaultDemographic failed ", 778);
inline constexpr Message kGetDemographicKey = InWrapper("VerifyString pcKey: ", 974);
inline constexpr Message kGetDemographicHelper = InWrapper("GetDemographicHelper failed ", 999);
inline constexpr Message kSetDemographicKey = InWrapper("VerifyString pcKey: ", 1023);
inline constexpr Message kSetDemographicValue = InWrapper("VerifyString pcValue: ", 1035);
inline constexpr Message kSetDemographicHelper = InWrapper("SetDemographicHelper failed ", 1045);
// A text that was cut where no session exists to record it.
inline constexpr Message kCutText = InWrapper("SK_INVALID_STRING: ", 1068);
}  // namespace refusal

}  // namespace vantra::api
