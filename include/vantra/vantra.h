/**
 * Vantra: a usage-telemetry recording library for desktop applications on 64-bit Windows.
 *
 * A host declares its usage key once, starts a session, adds values, logs events, fills data groups and
 * closes the session. Each call appends one record to an XML usage document in the user's Logs folder. When
 * the call returns, the operating system has the record, so a crash of the host does not lose it. Finished
 * documents belong to the transport agent Sendrix2.exe, which the library starts and never waits for. The
 * library opens no network connection.
 *
 * Life cycle:
 *
 *     void* session = NULL;
 *     UTInitialize("MyProduct", true, NULL);          // once, before everything else
 *     if (UTGetOptIn() == -1) UTSetOptIn(askUser());  // consent is the user's
 *     if (UTStartSession(&session, "Acme", "Draw", "3.1", "412", "en-US") == 0) {
 *         uint32_t group = 0;
 *         UTAddToSession(session, "Theme", "dark");
 *         UTLogEvent(session, "File", "Menu", "Save", "C:\\plans\\house.dwg", 18);
 *         UTNewDataGroup(session, "Drawing", "Size", "Shapes", &group, NULL, 0);
 *         UTAddToGroup(session, group, "Circles", "17");
 *         UTCloseSession(&session);
 *     }
 *
 * Rules for all functions:
 *
 * - Text is UTF-8 and NUL-terminated; lengths are in bytes. Pointers are used only during the call. A control
 *   character other than tab and line breaks, bytes that are not UTF-8, or a cut inside a character make the
 *   whole document unreadable as XML.
 * - The result is 0 for success and 1 for failure unless the function says otherwise. A failure harms
 *   nothing: a host may ignore every result. Nothing is thrown, and the thread's last-error value carries
 *   no information.
 * - Any thread may call at any time; one lock in the process serialises all calls. But do not call from
 *   DllMain, a TLS callback or the destructor of a thread_local object: such a call can deadlock with a
 *   session start.
 * - Text beyond a limit is cut to the limit, and the call goes on. In a session, a cut or a refusal is itself
 *   recorded in the document, as a "ValidationErrors" group; only the refusal of NULL is not.
 * - "Identifier" means at most 128 bytes of ASCII letters, digits and '_', beginning with a letter. Other
 *   bytes become '_', and a text that does not begin with a letter gets the prefix "SK_".
 * - Without consent no session starts, so all session calls fail. When the user withdraws consent while a
 *   session is open, in this process or another, every file of the Logs folder is deleted at the end of the
 *   session's current document.
 * - With a file SKLog.config beside the host's executable, calls, refusals and failures are logged in
 *   %APPDATA%\Tolvex\Skylamp\SKLog-Vantra.txt.
 *
 * Do not unload the library while a call is running. Sessions still open at unload are abandoned, not
 * finished.
 */
#ifndef VANTRA_VANTRA_H
#define VANTRA_VANTRA_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Declares the host. Call it once, before UTStartSession. A later call replaces what an earlier one set, but
 * does not affect open sessions.
 *
 * @param pcUsagekey     Names the product's settings under the user's registry key
 *                       Software\Tolvex\CommonFiles\Usage. At most 64 bytes (longer is cut). NULL, empty text
 *                       and text with a backslash are refused, and then nothing is changed.
 * @param crashHandling  When true, each successful UTStartSession makes sure that a crash of this process is
 *                       recorded (or, without consent, that the documents are deleted). The previous
 *                       unhandled-exception filter is no longer called, and later calls of
 *                       SetUnhandledExceptionFilter have no effect until the library is unloaded.
 * @param agentFolder    Folder of Sendrix2.exe; a relative one is resolved against the current folder now.
 *                       NULL keeps the previous choice (at first: none). If Sendrix2.exe is not there, it is
 *                       looked for beside the host's executable and in the other places that
 *                       docs/deployment.md lists.
 * @return 0, or 1 when the usage key is refused.
 */
int32_t UTInitialize(const char* pcUsagekey, bool crashHandling, const char* agentFolder);

/**
 * Starts a session and its first document. Several sessions may be open at once.
 *
 * Refused, checked in this order, when a required text is NULL or empty, the agent's configuration says
 * "Disabled" or "Hibernate", no valid usage key was declared, the agent is not installed, a group policy
 * forbids recording, or the user has not consented. An opt-in of 1 is consent; no choice (-1) is consent only
 * while the release state is 0 (see UTSetSerializationState). A refused start writes no session document. If
 * consent was refused, a change of the user's choice for this product is still reported, in a small document
 * without the user's identifier.
 *
 * A session that cannot write (10 MiB or less free at its start, a write error later) falls silent: its
 * calls return as before but record nothing.
 *
 * @param session         Receives the handle, or NULL on failure. NULL is refused.
 * @param pcAppFamily     Required; at most 512 bytes. Becomes part of file names, as does pcAppName: with a
 *                        character that file names cannot hold, the session has no documents.
 * @param pcAppName       Required; at most 512 bytes.
 * @param pcAppversion    Required; at most 512 bytes.
 * @param pcAppbuild      May be NULL or empty ("NOVALUE"); at most 512 bytes.
 * @param pcApplanguage   May be NULL or empty ("NOVALUE"); at most 512 bytes.
 * @return 0, or 1 when refused. The handle is owned by the library and valid until UTCloseSession.
 */
int32_t UTStartSession(void** session, const char* pcAppFamily, const char* pcAppName,
                       const char* pcAppversion, const char* pcAppbuild, const char* pcApplanguage);

/**
 * Adds a value to the session's own group (group 1, the "Session" block).
 *
 * @param session  An open session's handle; anything else is refused.
 * @param pcKey    An identifier; NULL or empty is refused.
 * @param pcValue  At most 512 bytes; NULL or empty is recorded as "NOVALUE".
 * @return 0, or 1 when refused.
 */
int32_t UTAddToSession(void* session, const char* pcKey, const char* pcValue);

/**
 * Records an event: that something happened.
 *
 * @param session        An open session's handle; anything else is refused.
 * @param pcCategory     At most 128 bytes; NULL or empty is recorded as "NOVALUE".
 * @param pcSubCategory  As pcCategory.
 * @param pcEventName    As pcCategory.
 * @param docId          Names the document that the event concerns, or NULL for none ("0"). The text itself
 *                       is not recorded, only a digest of it, salted with the user's identifier.
 * @param docIdLength    Length of docId in bytes; docId also ends at its first NUL. Above 0x7fffffff is
 *                       refused. Ignored when docId is NULL.
 * @return 0, or 1 when refused.
 */
int32_t UTLogEvent(void* session, const char* pcCategory, const char* pcSubCategory, const char* pcEventName,
                   const char* docId, uint32_t docIdLength);

/**
 * Opens a data group, to be filled with UTAddToGroup. Groups are not closed.
 *
 * @param session        An open session's handle; anything else is refused.
 * @param pcCategory     An identifier; NULL or empty is refused.
 * @param pcSubCategory  At most 128 bytes; NULL or empty is recorded as "NOVALUE".
 * @param pcGroupName    An identifier; NULL or empty is refused.
 * @param groupId        Receives the group's number within the session; 0xffffffff, which UTAddToGroup
 *                       refuses, when the session has fallen silent. Unchanged on failure. May be NULL.
 * @param docId          As for UTLogEvent.
 * @param docIdLength    As for UTLogEvent.
 * @return 0, or 1 when refused.
 */
int32_t UTNewDataGroup(void* session, const char* pcCategory, const char* pcSubCategory,
                       const char* pcGroupName, uint32_t* groupId, const char* docId, uint32_t docIdLength);

/**
 * Adds a value to a data group.
 *
 * @param session  An open session's handle; anything else is refused.
 * @param groupId  A number from UTNewDataGroup of the same session. A number that names no group is refused
 *                 and recorded as an "SK_INVALID_GROUPID" error.
 * @param pcKey    An identifier; NULL or empty is refused.
 * @param pcValue  At most 512 bytes; NULL or empty is recorded as "NOVALUE".
 * @return 0, or 1 when refused.
 */
int32_t UTAddToGroup(void* session, uint32_t groupId, const char* pcKey, const char* pcValue);

/**
 * Records the opt-in state, ends the session, gives its document the final name (.xml, or .rdy when
 * obfuscated) and starts the agent when sending is on. If the user has withdrawn consent, for the declared
 * usage key or for the one that the session was started with, or the agent is gone, every file of the Logs
 * folder is deleted instead.
 *
 * @param session  Address of a handle, which becomes NULL on success. NULL, and a handle of no open session,
 *                 are refused, and nothing is changed.
 * @return 0, or 1 when refused.
 */
int32_t UTCloseSession(void** session);

/**
 * Reads the user's choice for the declared usage key.
 *
 * @return 1 opted in, 0 opted out, -1 no choice yet or no usage key declared.
 */
int32_t UTGetOptIn(void);

/**
 * Stores the user's choice for the declared usage key; the first call also stores its time. The choice
 * decides whether later sessions start, and whether the documents of open sessions are delivered or deleted.
 *
 * @param value  1 opted in, 0 opted out; -1 deletes the choice and all demographic values of the product.
 * @return 0, or 1 for any other value, without a declared usage key, or when the registry refuses.
 */
int32_t UTSetOptIn(int32_t value);

/**
 * Reads the user's choice for any usage key.
 *
 * @param pcUsagekey  As for UTInitialize.
 * @return As for UTGetOptIn; -1 also when the key is refused.
 */
int32_t UTOptInGet(const char* pcUsagekey);

/**
 * Stores the user's choice for any usage key.
 *
 * @param pcUsagekey  As for UTInitialize.
 * @param value       As for UTSetOptIn; checked before the key.
 * @return 0, or 1 when the value or the key is refused, or when the registry refuses.
 */
int32_t UTOptInSet(const char* pcUsagekey, int32_t value);

/**
 * Reads a demographic value of the user from the common store, which all products share.
 *
 * @param pcKey   Name of the value, at most 64 bytes (longer is cut); NULL or empty is refused. A backslash
 *                is part of the name.
 * @param buffer  Receives the value, NUL-terminated, and cut if it does not fit. NULL is refused. Unchanged
 *                on failure.
 * @param size    In: size of buffer in bytes. With 0 the call succeeds and writes only a NUL, so buffer must
 *                hold one byte even then. Out: bytes written, the NUL included; unchanged if it was 0, and on
 *                failure. NULL is refused.
 * @return 0, or 1 when refused or no such value is stored.
 */
int32_t UTGetDemographic(const char* pcKey, char* buffer, size_t* size);

/**
 * Stores a demographic value of the user in the common store. Values stored there are not recorded.
 *
 * @param pcKey    As for UTGetDemographic.
 * @param pcValue  At most 128 bytes (longer is cut); NULL or empty is stored as "NOVALUE".
 * @return 0, or 1 when refused or the registry refuses.
 */
int32_t UTSetDemographic(const char* pcKey, const char* pcValue);

/**
 * Reads a demographic value from the store of a subkey.
 *
 * @param pcSubkey  Usually a usage key; NULL or empty means the common store.
 * @param pcKey     As for UTGetDemographic, and so for buffer, size and the result.
 */
int32_t UTGetNonDefaultDemographic(const char* pcSubkey, const char* pcKey, char* buffer, size_t* size);

/**
 * Stores a demographic value in the store of a subkey. Values in the store of the declared usage key are
 * recorded in the "Demographics" block of every session.
 *
 * @param pcSubkey  Usually a usage key; NULL or empty means the common store.
 * @param pcKey     As for UTSetDemographic, and so for pcValue and the result.
 */
int32_t UTSetNonDefaultDemographic(const char* pcSubkey, const char* pcKey, const char* pcValue);

/**
 * Declares the host's release state: 0 pre-release, 1 trial, 2 serialized (the initial state), 3 shared
 * component. In state 0 a user who has not chosen yet counts as consenting. Other numbers are ignored.
 *
 * @return Always 0.
 */
int32_t UTSetSerializationState(int32_t state);

#ifdef __cplusplus
}
#endif

#endif
