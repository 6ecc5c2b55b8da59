// What the exported functions say in the diagnostic log: each text with its line, which support tools rely on
// and which therefore never follows the source.
#pragma once

#include <string_view>

namespace vantra::api {

struct Message {
  std::string_view text;
  int line;
};

// Entry traces, at INFO.
namespace entry {
inline constexpr Message kInitialize{"UTInitialize", 159};
inline constexpr Message kStartSession{"UTStartSession", 196};
inline constexpr Message kAddToSession{"UTAddToSession", 352};
inline constexpr Message kLogEvent{"UTLogEvent", 404};
inline constexpr Message kNewDataGroup{"UTNewDataGroup", 489};
inline constexpr Message kAddToGroup{"UTAddToGroup", 577};
inline constexpr Message kCloseSession{"UTCloseSession", 620};
inline constexpr Message kGetOptIn{"UTGetOptIn", 668};
inline constexpr Message kSetOptIn{"UTSetOptIn", 682};
inline constexpr Message kOptInGet{"UTOptInGet", 696};
inline constexpr Message kOptInSet{"UTOptInSet", 709};
inline constexpr Message kGetDemographic{"UTGetDemographic", 721};
inline constexpr Message kSetDemographic{"UTSetDemographic", 738};
inline constexpr Message kGetNonDefaultDemographic{"GetNonDefaultDemographic", 755};
inline constexpr Message kSetNonDefaultDemographic{"SetNonDefaultDemographic", 772};
inline constexpr Message kSetSerializationState{"UTSetSerializationState", 789};
inline constexpr Message kGetDemographicHelper{"GetDemographicHelper", 965};
inline constexpr Message kSetDemographicHelper{"SetDemographicHelper", 1010};
}  // namespace entry

// Progress, at DEBUG.
namespace progress {
inline constexpr Message kStartSessionSuccess{"UTStartSession Success: ", 331};
inline constexpr Message kAddToSessionValid{"UTAddToSession has valid session", 363};
inline constexpr Message kLogEventValid{"UTLogEvent has valid session", 414};
inline constexpr Message kNewDataGroupValid{"UTNewDataGroup has valid session", 499};
inline constexpr Message kAddToGroupValid{"UTAddToGroup has valid session", 588};
inline constexpr Message kCloseSessionValid{"UTCloseSession has valid session", 631};
inline constexpr Message kBeforeEndSession{"UTCloseSession Before EndSession: ", 638};
inline constexpr Message kCloseSessionSuccess{"UTCloseSession Success: ", 656};
}  // namespace progress

// Values, at INFO.
namespace values {
inline constexpr Message kSerializationState{"SetSerializationState: ", 798};
inline constexpr Message kOptInGet{"OptInGet: ", 919};
inline constexpr Message kOptInSet{"OptInSet: ", 956};
}  // namespace values

// Refusals and failures, at DEBUG; the value that was checked follows where there is one.
namespace refusal {
inline constexpr Message kUsageKey{"pcUsagekey: ", 167};
inline constexpr Message kAppFamily{"VerifyString pcAppFamily: ", 207};
inline constexpr Message kAppName{"VerifyString pcAppName: ", 216};
inline constexpr Message kAppVersion{"VerifyString pcAppversion: ", 225};
inline constexpr Message kAppBuild{"VerifyString pcAppbuild: ", 236};
inline constexpr Message kAppLanguage{"VerifyString pcApplanguage: ", 246};
inline constexpr Message kConfigStatus{"VerifyConfigStatus failure", 255};
inline constexpr Message kStoredUsageKey{"gsPrefx: ", 266};
inline constexpr Message kTransAgentExist{"VerifyTransAgentExist failure", 277};
inline constexpr Message kGroupPolicy{"VerifyGroupPolicy failure", 286};
inline constexpr Message kConsent{"OptInPolicy: ", 309};
inline constexpr Message kKey{"VerifyString pcKey: ", 376};
inline constexpr Message kValue{"VerifyString pcValue: ", 387};
inline constexpr Message kDocId{"VerifyDocIdBuffer: ", 419};
inline constexpr Message kCategory{"VerifyString pcCategory: ", 434};
inline constexpr Message kSubCategory{"VerifyString pcSubCategory: ", 447};
inline constexpr Message kEventName{"VerifyString pcEventName: ", 460};
inline constexpr Message kGroupName{"VerifyString pcGroupName: ", 544};
inline constexpr Message kGroupPartMissing{"AddToGroup: one of Vantra pcKey pcValue is NULL", 879};
inline constexpr Message kGroupId{"AddToGroup VerifyGroupId: ", 889};
inline constexpr Message kOptInGetKey{"OptInGet VerifyString pcUsagekey: ", 911};
inline constexpr Message kOptInValue{"OptInSet VerifyOptinValue: ", 934};
inline constexpr Message kOptInSetKey{"OptInSet VerifyString pcUsagekey: ", 946};
inline constexpr Message kOptInNotStored{"OptInSet failed ", 951};
inline constexpr Message kGetDemographic{"UTGetDemographic failed ", 727};
inline constexpr Message kSetDemographic{"UTSetDemographic failed ", 744};
inline constexpr Message kGetNonDefaultDemographic{"GetNonDefaultDemographic failed ", 761};
inline constexpr Message kSetNonDefaultDemographic{"SetNonDefaultDemographic failed ", 778};
inline constexpr Message kGetDemographicKey{"VerifyString pcKey: ", 974};
inline constexpr Message kGetDemographicHelper{"GetDemographicHelper failed ", 999};
inline constexpr Message kSetDemographicKey{"VerifyString pcKey: ", 1023};
inline constexpr Message kSetDemographicValue{"VerifyString pcValue: ", 1035};
inline constexpr Message kSetDemographicHelper{"SetDemographicHelper failed ", 1045};
// A text that was cut before there is a session to record that in.
inline constexpr Message kCutText{"SK_INVALID_STRING: ", 1068};
}  // namespace refusal

}  // namespace vantra::api
