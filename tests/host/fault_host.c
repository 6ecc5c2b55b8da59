// A host that survives a fault inside a call, once by __except and once by a longjmp out of a vectored
// handler: other threads must not wait for the lock for ever. Built by clang, since g++ knows no __try.
#include <setjmp.h>
#include <stdbool.h>
#include <stdint.h>
#include <windows.h>

#include "vantra/vantra.h"

static const char* const nowhere = (const char*)16;
static jmp_buf before;

static LONG CALLBACK Leap(EXCEPTION_POINTERS* exception) {
  (void)exception;
  longjmp(before, 1);
}

static DWORD WINAPI Call(void* unused) {
  (void)unused;
  UTGetOptIn();
  return 0;
}

static bool IsLockFree(void) {
  const HANDLE other = CreateThread(NULL, 0, Call, NULL, 0, NULL);
  return WaitForSingleObject(other, 10000) == WAIT_OBJECT_0;
}

// The exit code tells which way of surviving left the lock behind.
int main(void) {
  __try {
    UTInitialize(nowhere, false, NULL);
    return 1;
  } __except (EXCEPTION_EXECUTE_HANDLER) {
  }
  if (!IsLockFree()) TerminateProcess(GetCurrentProcess(), 2);
  AddVectoredExceptionHandler(1, Leap);
  if (setjmp(before) == 0) UTInitialize(nowhere, false, NULL);
  if (!IsLockFree()) TerminateProcess(GetCurrentProcess(), 3);
  return 0;
}
