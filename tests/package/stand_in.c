/* Stands in for Vantra.dll on this machine, where it cannot be loaded: tells which calls a host makes. */
#include <stdio.h>
#include <vantra/vantra.h>

#define TELL(...) (fprintf(stderr, __VA_ARGS__), fputc('\n', stderr))
static const char* Or(const char* text) { return text ? text : "NULL"; }
static int choice = -1;

int32_t UTInitialize(const char* key, bool crashes, const char* folder) {
  TELL("Initialize %s %d %s", Or(key), crashes, folder ? "folder" : "NULL");
  return 0;
}
int32_t UTGetOptIn(void) { return choice; }
int32_t UTSetOptIn(int32_t value) { return choice = value, TELL("SetOptIn %d", value), 0; }
int32_t UTStartSession(void** session, const char* family, const char* name, const char* version,
                       const char* build, const char* language) {
  *session = choice == 1 ? &choice : NULL;
  TELL("StartSession %s %s %s %s %s", family, name, version, Or(build), Or(language));
  return choice != 1;
}
int32_t UTLogEvent(void* session, const char* category, const char* sub, const char* name,
                   const char* document, uint32_t length) {
  TELL("LogEvent %d %s %s %s %.*s", session == &choice, category, sub, name, (int)length, document);
  return 0;
}
int32_t UTNewDataGroup(void* session, const char* category, const char* sub, const char* name,
                       uint32_t* group, const char* document, uint32_t length) {
  *group = 0xfffffff0;
  TELL("NewDataGroup %d %s %s %s %.*s", session == &choice, category, sub, name, (int)length, document);
  return 0;
}
int32_t UTAddToGroup(void* session, uint32_t group, const char* key, const char* value) {
  TELL("AddToGroup %d %x %s %s", session == &choice, group, key, value);
  return 0;
}
int32_t UTCloseSession(void** session) {
  TELL("CloseSession %d", *session == &choice);
  *session = NULL;
  return 0;
}

/* Looked for by name when a host loads the library. */
#define UNUSED(name, ...) \
  int32_t name(__VA_ARGS__) { return 1; }
UNUSED(UTAddToSession, void* a, const char* b, const char* c)
UNUSED(UTOptInGet, const char* a)
UNUSED(UTOptInSet, const char* a, int32_t b)
UNUSED(UTGetDemographic, const char* a, char* b, size_t* c)
UNUSED(UTSetDemographic, const char* a, const char* b)
UNUSED(UTGetNonDefaultDemographic, const char* a, const char* b, char* c, size_t* d)
UNUSED(UTSetNonDefaultDemographic, const char* a, const char* b, const char* c)
UNUSED(UTSetSerializationState, int32_t a)
