// The exported functions, each a guard around its worker, and the module's entry point.
#include <cstring>

#include "api/Frame.h"
#include "api/WrapperUTLogData.h"
#include "log/Logger.h"
#include "util/GlobalItems.h"
#include "util/Windows.h"
#include "vantra/vantra.h"

namespace vantra::api {
namespace {

// Opens the log, if it is switched on, when the library is loaded.
[[maybe_unused]] const log::Logger* const logger = log::GetLogger("Vantra");

constexpr log::Message InExport(std::string_view text, int line) noexcept {
  return {"..\\UTLogData", text, line};
}

constexpr ExportRow kInitialize{InExport("Exception occurs for WRAPPERUTInitialize()", 60), kFailure};
constexpr ExportRow kStartSession{InExport("Exception occurs for WRAPPERUTStartSession()", 90), kFailure};
constexpr ExportRow kAddToSession{InExport("Exception occurs for WRAPPERUTAddToSession()", 115), kFailure};
constexpr ExportRow kLogEvent{InExport("Exception occurs for WRAPPERUTLogEvent()", 144), kFailure};
constexpr ExportRow kNewDataGroup{InExport("Exception occurs for WRAPPERUTNewDataGroup()", 173), kFailure};
constexpr ExportRow kAddToGroup{InExport("Exception occurs for UTAddToGroup()", 195), kFailure};
constexpr ExportRow kCloseSession{InExport("Exception occurs for WRAPPERUTCloseSession()", 217), kFailure};
constexpr ExportRow kGetOptIn{InExport("Exception occurs for WRAPPERUTGetOptIn()", 241), kFailure};
constexpr ExportRow kSetOptIn{InExport("Exception occurs for WRAPPERUTSetOptIn()", 266), kFailure};
constexpr ExportRow kOptInGet{InExport("Exception occurs for WRAPPERUTOptInGet()", 292), kFailure};
constexpr ExportRow kOptInSet{InExport("Exception occurs for WRAPPERUTOptInSet()", 315), kFailure};
constexpr ExportRow kGetDemographic{InExport("Exception occurs for WRAPPERUTGetDemographic()", 337),
                                    kFailure};
constexpr ExportRow kSetDemographic{InExport("Exception occurs for WRAPPERUTSetDemographic()", 359),
                                    kFailure};
constexpr ExportRow kGetNonDefaultDemographic{
    InExport("Exception occurs for WRAPPERUTGetNonDefaultDemographic()", 385), kFailure};
constexpr ExportRow kSetNonDefaultDemographic{
    InExport("Exception occurs for WRAPPERUTSetNonDefaultDemographic()", 410), kFailure};
constexpr ExportRow kSetSerializationState{
    InExport("Exception occurs for WRAPPERUTSetSerializationState()", 433), kSuccess};
constexpr log::Message kDetachException = InExport("Exception occurs for DLL_PROCESS_DETACH", 466);

// Hosts in other languages may pass any nonzero byte as true; reading such a bool directly would be
// undefined.
bool IsTrue(const bool& flag) noexcept {
  unsigned char byte;
  std::memcpy(&byte, &flag, sizeof byte);
  return byte != 0;
}

}  // namespace
}  // namespace vantra::api

using namespace vantra::api;

// The C++ runtime's own routine: frees its emergency pool for exceptions.
namespace __gnu_cxx {
void __freeres() noexcept;
}

extern "C" {

int32_t UTInitialize(const char* pcUsagekey, bool crashHandling, const char* agentFolder) {
  return Guard(kInitialize,
               [&] { return WrapperUTInitialize(pcUsagekey, IsTrue(crashHandling), agentFolder); });
}

int32_t UTStartSession(void** session, const char* pcAppFamily, const char* pcAppName,
                       const char* pcAppversion, const char* pcAppbuild, const char* pcApplanguage) {
  return Guard(kStartSession, [&] {
    return WrapperUTStartSession(session, pcAppFamily, pcAppName, pcAppversion, pcAppbuild, pcApplanguage);
  });
}

int32_t UTAddToSession(void* session, const char* pcKey, const char* pcValue) {
  return Guard(kAddToSession, [&] { return WrapperUTAddToSession(session, pcKey, pcValue); });
}

int32_t UTLogEvent(void* session, const char* pcCategory, const char* pcSubCategory, const char* pcEventName,
                   const char* docId, uint32_t docIdLength) {
  return Guard(kLogEvent, [&] {
    return WrapperUTLogEvent(session, pcCategory, pcSubCategory, pcEventName, docId, docIdLength);
  });
}

int32_t UTNewDataGroup(void* session, const char* pcCategory, const char* pcSubCategory,
                       const char* pcGroupName, uint32_t* groupId, const char* docId, uint32_t docIdLength) {
  return Guard(kNewDataGroup, [&] {
    return WrapperUTNewDataGroup(session, pcCategory, pcSubCategory, pcGroupName, groupId, docId,
                                 docIdLength);
  });
}

int32_t UTAddToGroup(void* session, uint32_t groupId, const char* pcKey, const char* pcValue) {
  return Guard(kAddToGroup, [&] { return WrapperUTAddToGroup(session, groupId, pcKey, pcValue); });
}

int32_t UTCloseSession(void** session) {
  return Guard(kCloseSession, [&] { return WrapperUTCloseSession(session); });
}

int32_t UTGetOptIn(void) {
  int32_t value = -1;
  const int32_t result = Guard(kGetOptIn, [&] { return WrapperUTGetOptIn(&value); });
  return result == kSuccess ? value : -1;
}

int32_t UTSetOptIn(int32_t value) {
  return Guard(kSetOptIn, [&] { return WrapperUTSetOptIn(value); });
}

int32_t UTOptInGet(const char* pcUsagekey) {
  int32_t value = -1;
  const int32_t result = Guard(kOptInGet, [&] { return WrapperUTOptInGet(pcUsagekey, &value); });
  return result == kSuccess ? value : -1;
}

int32_t UTOptInSet(const char* pcUsagekey, int32_t value) {
  return Guard(kOptInSet, [&] { return WrapperUTOptInSet(pcUsagekey, value); });
}

int32_t UTGetDemographic(const char* pcKey, char* buffer, size_t* size) {
  return Guard(kGetDemographic, [&] { return WrapperUTGetDemographic(pcKey, buffer, size); });
}

int32_t UTSetDemographic(const char* pcKey, const char* pcValue) {
  return Guard(kSetDemographic, [&] { return WrapperUTSetDemographic(pcKey, pcValue); });
}

int32_t UTGetNonDefaultDemographic(const char* pcSubkey, const char* pcKey, char* buffer, size_t* size) {
  return Guard(kGetNonDefaultDemographic,
               [&] { return WrapperUTGetNonDefaultDemographic(pcSubkey, pcKey, buffer, size); });
}

int32_t UTSetNonDefaultDemographic(const char* pcSubkey, const char* pcKey, const char* pcValue) {
  return Guard(kSetNonDefaultDemographic,
               [&] { return WrapperUTSetNonDefaultDemographic(pcSubkey, pcKey, pcValue); });
}

int32_t UTSetSerializationState(int32_t state) {
  return Guard(kSetSerializationState, [&] { return WrapperUTSetSerializationState(state); });
}

BOOL WINAPI DllMain(HINSTANCE /*module*/, DWORD reason, LPVOID reserved) {
  if (reason != DLL_PROCESS_DETACH) return TRUE;
  try {
    vantra::util::GlobalItems::Release(reason, reserved);
  } catch (...) {
    vantra::log::Debug(kDetachException);
  }
  // At process end the system reclaims all memory at once.
  if (reserved == nullptr) __gnu_cxx::__freeres();
  return TRUE;
}

}  // extern "C"
