// The workers of the exports, one each. A worker runs under the lock: it traces its entry, checks its
// arguments in order, does the work and returns 0 or 1. It may throw; the export's guard catches that.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vantra::api {

int32_t WrapperUTInitialize(const char* pcUsagekey, bool crashHandling, const char* agentFolder);
int32_t WrapperUTStartSession(void** session, const char* pcAppFamily, const char* pcAppName,
                              const char* pcAppversion, const char* pcAppbuild, const char* pcApplanguage);
int32_t WrapperUTAddToSession(void* session, const char* pcKey, const char* pcValue);
int32_t WrapperUTLogEvent(void* session, const char* pcCategory, const char* pcSubCategory,
                          const char* pcEventName, const char* docId, uint32_t docIdLength);
int32_t WrapperUTNewDataGroup(void* session, const char* pcCategory, const char* pcSubCategory,
                              const char* pcGroupName, uint32_t* groupId, const char* docId,
                              uint32_t docIdLength);
int32_t WrapperUTAddToGroup(void* session, uint32_t groupId, const char* pcKey, const char* pcValue);
int32_t WrapperUTCloseSession(void** session);
int32_t WrapperUTGetOptIn(int32_t* value);
int32_t WrapperUTSetOptIn(int32_t value);
int32_t WrapperUTOptInGet(const char* pcUsagekey, int32_t* value);
int32_t WrapperUTOptInSet(const char* pcUsagekey, int32_t value);
int32_t WrapperUTGetDemographic(const char* pcKey, char* buffer, size_t* size);
int32_t WrapperUTSetDemographic(const char* pcKey, const char* pcValue);
int32_t WrapperUTGetNonDefaultDemographic(const char* pcSubkey, const char* pcKey, char* buffer,
                                          size_t* size);
int32_t WrapperUTSetNonDefaultDemographic(const char* pcSubkey, const char* pcKey, const char* pcValue);
int32_t WrapperUTSetSerializationState(int32_t state);

}  // namespace vantra::api
