// Records a crash of the host, and keeps the filter that does so in place.
//
// Everything reached from the filter is written for a dying process: no registry, no shell, memory that was
// there before the crash. Other threads may still run: the filter takes the lock if it gets it soon, and else
// works on the sessions as they stand.
#pragma once

#include "session/UsageSession.h"
#include "util/Windows.h"

namespace vantra::crash::CrashHandler {

// Installs the filter and protects it, unless that is done. The list is read at a crash, and must live until
// the library is unloaded; unloading undoes everything. Always true.
bool SetCrashHandler(const session::SessionList& openSessions);

// Records the crash, or without consent deletes the documents. Always EXCEPTION_CONTINUE_SEARCH: the process
// dies as it would have, and the filter that was there before is not called.
LONG WINAPI CustomUnhandledExceptionFilter(EXCEPTION_POINTERS* exception) noexcept;

// One crash document for each open session that has none yet.
void LogCrashInfo(const EXCEPTION_POINTERS* exception);

// Silences the sessions and deletes every file of their folder.
void DeleteLogs();

// Overwrites the entry of SetUnhandledExceptionFilter, so that nobody replaces the filter. Nonzero on
// success.
int PreventSetUnhandledExceptionFilter();

// Puts the entry back as it was. False only when its memory cannot be made writable.
bool RecoverSetUnhandledExceptionFilter();

}  // namespace vantra::crash::CrashHandler
