/**
 * Vantra: a usage-telemetry recording library for desktop applications on 64-bit Windows.
 *
 * A host declares its usage key once, starts a session, adds values, logs events, fills data groups and
 * closes the session. Each call appends one record to an XML usage document in the user's Logs folder; the
 * record is on its way to the disk when the call returns. A finished document belongs to the transport agent
 * Sendrix2.exe, which the library starts and never waits for. The library opens no network connection.
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
 * What holds for every function:
 *
 * - Text is UTF-8, NUL-terminated, read during the call and never kept; lengths are in bytes. A control
 *   character other than tab and line breaks, bytes that are no UTF-8, or a cut inside a character make the
 *   whole document unreadable as XML.
 * - The result is 0 for success and 1 for failure unless the function says otherwise. A failure harms
 *   nothing: a host may ignore every result. Nothing is thrown, and the thread's last-error value carries
 *   no information.
 * - Any thread may call at any time; calls are serialised by one lock inside the process. But call from no
 *   DllMain, TLS callback or destructor of a thread_local object: they can deadlock with a start.
 * - Text beyond a limit is cut to the limit and the call goes on; a cut or a refusal inside a session is
 *   itself recorded in the document, as a "ValidationErrors" group (NULL is refused without one).
 * - "Identifier" means: at most 128 bytes of ASCII letters, digits and '_', beginning with a letter. Other
 *   bytes become '_', and a text that does not begin with a letter gets the prefix "SK_".
 * - Without consent no session starts, and every other session call then fails for want of one. When consent
 *   is taken back while a session is open, in this process or another, every file of the Logs folder is
 *   deleted as its document ends.
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
 * Declares the host. Call it once, before UTStartSession; a later call replaces what an earlier one set and
 * leaves open sessions alone.
 *
 * @param pcUsagekey     Names the product's settings under the user's registry key
 *                       Software\Tolvex\CommonFiles\Usage. At most 64 bytes (longer is cut); NULL, empty, or
 *                       a backslash anywhere is refused, and then nothing is changed.
 * @param crashHandling  When true, each successful UTStartSession makes sure that a crash of this process is
 *                       recorded (or, without consent, that the documents are deleted). The previous
 *                       unhandled-exception filter is not called any more, and later calls of
 *                       SetUnhandledExceptionFilter have no effect until the library is unloaded.
 * @param agentFolder    Folder of Sendrix2.exe; a relative one counts from the folder that is current now.
 *                       NULL keeps the present choice (at first: none). Without a usable one the agent is
 *                       looked for beside the host's executable, then in the folder that the registry value
 *                       Agent names.
 * @return 0, or 1 when the usage key is refused.
 */
int32_t UTInitialize(const char* pcUsagekey, bool crashHandling, const char* agentFolder);

/**
 * Starts a session and its first document. Several sessions may be open at once.
 *
 * Refused, in this order, when a required text is NULL or empty, the agent's configuration says "Disabled" or
 * "Hibernate", no valid usage key was declared, the agent is not installed, a group policy forbids recording,
 * or the user has not consented. An opt-in of 1 is consent; no choice (-1) is consent only while the release
 * state is 0 (see UTSetSerializationState). A refused start leaves no document of a session; that the user's
 * choice for this product has changed is still reported, in a small document of its own without the user's
 * identifier.
 *
 * A session that can no longer write (disk full, write error) falls silent: its calls go on as if it could,
 * and record nothing.
 *
 * @param session         Receives the handle, or NULL on failure. NULL is refused.
 * @param pcAppFamily     Required; at most 512 bytes. Becomes part of the file name, as does pcAppName: a
 *                        character that file names cannot hold leaves the session without documents.
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
 * @param session  A handle from UTStartSession; anything else gives 1.
 * @param pcKey    An identifier; NULL or empty is refused.
 * @param pcValue  At most 512 bytes; NULL or empty is recorded as "NOVALUE".
 * @return 0, or 1 when refused.
 */
int32_t UTAddToSession(void* session, const char* pcKey, const char* pcValue);

/**
 * Records that something happened.
 *
 * @param session        A handle from UTStartSession; anything else gives 1.
 * @param pcCategory     At most 128 bytes; NULL or empty is recorded as "NOVALUE". So for the next two.
 * @param pcSubCategory  At most 128 bytes.
 * @param pcEventName    At most 128 bytes.
 * @param docId          Names the document that the event concerns, or NULL for none ("0"). The text itself
 *                       is not recorded: only a digest of it, salted with the user's identifier, is.
 * @param docIdLength    Bytes of docId that count; those from its first NUL on never do. Above 0x7fffffff is
 *                       refused. Ignored when docId is NULL.
 * @return 0, or 1 when refused.
 */
int32_t UTLogEvent(void* session, const char* pcCategory, const char* pcSubCategory, const char* pcEventName,
                   const char* docId, uint32_t docIdLength);

/**
 * Opens a data group, to be filled with UTAddToGroup. A group needs no closing.
 *
 * @param session        A handle from UTStartSession; anything else gives 1.
 * @param pcCategory     An identifier; NULL or empty is refused.
 * @param pcSubCategory  At most 128 bytes; NULL or empty is recorded as "NOVALUE".
 * @param pcGroupName    An identifier; NULL or empty is refused.
 * @param groupId        Receives the group's number within the session; 0xffffffff when the session has
 *                       fallen silent. Untouched on failure. May be NULL: the group is recorded all the same.
 * @param docId          As for UTLogEvent.
 * @param docIdLength    As for UTLogEvent.
 * @return 0, or 1 when refused.
 */
int32_t UTNewDataGroup(void* session, const char* pcCategory, const char* pcSubCategory,
                       const char* pcGroupName, uint32_t* groupId, const char* docId, uint32_t docIdLength);

/**
 * Adds a value to a data group.
 *
 * @param session  A handle from UTStartSession; anything else gives 1.
 * @param groupId  A number from UTNewDataGroup of the same session; a number that names no group is refused
 *                 and recorded as an "SK_INVALID_GROUPID" error.
 * @param pcKey    An identifier; NULL or empty is refused.
 * @param pcValue  At most 512 bytes; NULL or empty is recorded as "NOVALUE".
 * @return 0, or 1 when refused.
 */
int32_t UTAddToGroup(void* session, uint32_t groupId, const char* pcKey, const char* pcValue);

/**
 * Records the opt-in state, ends the session, gives its document the final name (.xml, or .rdy when
 * obfuscated) and starts the agent when sending is on. When the user has withdrawn consent, for the declared
 * usage key or the one that the session was started with, or the agent is gone, every file of the Logs folder
 * is deleted instead.
 *
 * @param session  Address of a handle; the handle becomes NULL on success. NULL, or a handle that names no
 *                 open session, gives 1 and changes nothing.
 * @return 0 or 1.
 */
int32_t UTCloseSession(void** session);

/**
 * Reads the user's choice for the declared usage key.
 *
 * @return 1 opted in, 0 opted out, -1 no choice yet, or no usage key declared.
 */
int32_t UTGetOptIn(void);

/**
 * Stores the user's choice for the declared usage key, and the time of the first such call, which later ones
 * keep. The choice decides about later session starts, and about what becomes of the documents of open
 * sessions.
 *
 * @param value  1 opted in, 0 opted out, -1 forget the choice and all demographic values of the product.
 * @return 0, or 1 for another value, without a declared usage key, or when the registry refuses.
 */
int32_t UTSetOptIn(int32_t value);

/**
 * UTGetOptIn for a usage key of the caller's choice.
 *
 * @param pcUsagekey  As for UTInitialize.
 * @return 1, 0 or -1; -1 also when the key is refused.
 */
int32_t UTOptInGet(const char* pcUsagekey);

/**
 * UTSetOptIn for a usage key of the caller's choice. The value is checked before the key.
 *
 * @param pcUsagekey  As for UTInitialize.
 * @param value       As for UTSetOptIn.
 * @return 0 or 1.
 */
int32_t UTOptInSet(const char* pcUsagekey, int32_t value);

/**
 * Reads a demographic value of the user from the common store (not a product's).
 *
 * @param pcKey   Name of the value, at most 64 bytes (longer is cut); NULL or empty is refused. A backslash
 *                is part of the name.
 * @param buffer  Receives the value, always NUL-terminated, cut to the size when it is longer. NULL is
 *                refused.
 * @param size    In: bytes in buffer; at 0 only a NUL is written, so buffer must hold one byte even then.
 *                Out: bytes written with the NUL; left alone at 0 and on failure. NULL is refused.
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
 * UTGetDemographic for the values under a subkey.
 *
 * @param pcSubkey  Usually a usage key; NULL or empty means the common store.
 */
int32_t UTGetNonDefaultDemographic(const char* pcSubkey, const char* pcKey, char* buffer, size_t* size);

/**
 * UTSetDemographic for the values under a subkey. Those under the declared usage key are recorded in the
 * "Demographics" block of every session.
 *
 * @param pcSubkey  Usually a usage key; NULL or empty means the common store.
 */
int32_t UTSetNonDefaultDemographic(const char* pcSubkey, const char* pcKey, const char* pcValue);

/**
 * Declares the host's release state: 0 pre-release, 1 trial, 2 serialized (the state at load), 3 shared
 * component. In state 0 a user who has not chosen yet counts as consenting. Other numbers are ignored.
 *
 * @return 0.
 */
int32_t UTSetSerializationState(int32_t state);

#ifdef __cplusplus
}
#endif

#endif
