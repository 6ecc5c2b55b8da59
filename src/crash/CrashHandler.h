// Records a crash of the host, and keeps the filter that does so in place.
//
// The filter's code runs in a dying process: it uses neither the registry nor the shell, and no memory beyond
// what existed before the crash. Other threads may still run: the filter takes the lock if it can within a
// bounded wait, and otherwise uses the sessions as they stand.
#pragma once

#include "session/UsageSession.h"
#include "util/Windows.h"

namespace vantra::crash::CrashHandler {

// Installs and protects the filter, unless that is already done. The filter reads the list at a crash, so the
// list must live until the library is unloaded; unloading undoes everything. Always true.
bool SetCrashHandler(const session::SessionList& openSessions);

// Records the crash or, without consent, deletes the documents. Always EXCEPTION_CONTINUE_SEARCH: the process
// dies as it would have. The filter that was there before is not called.
LONG WINAPI CustomUnhandledExceptionFilter(EXCEPTION_POINTERS* exception) noexcept;

// Writes a crash document for each open session that has none yet.
void LogCrashInfo(const EXCEPTION_POINTERS* exception);

// Silences all sessions and deletes every file of their folder.
void DeleteLogs();

// Overwrites the entry of SetUnhandledExceptionFilter with a jump to a function that does nothing, so that
// the filter cannot be replaced. Nonzero on success; 0 also when another copy of the library has done so
// already.
int PreventSetUnhandledExceptionFilter();

// Restores the entry's original bytes. False only when its memory cannot be made writable.
bool RecoverSetUnhandledExceptionFilter();

}  // namespace vantra::crash::CrashHandler
