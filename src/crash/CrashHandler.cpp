#include "crash/CrashHandler.h"

#include <cstring>

#include "crash/MiniSession.h"
#include "log/Log.h"
#include "settings/OptInPolicy.h"
#include "util/Files.h"
#include "util/GlobalItems.h"
#include "util/Mutex.h"
#include "util/UniqueHandle.h"

namespace vantra::crash::CrashHandler {
namespace {

constexpr size_t kPatchSize = 13;

struct State {
  const session::SessionList* openSessions = nullptr;
  // What the system returned when the filter was installed.
  LPTOP_LEVEL_EXCEPTION_FILTER previousFilter = nullptr;
  // The host's own filter, to put back at unload. A crash that the process survived does not change it.
  LPTOP_LEVEL_EXCEPTION_FILTER originalFilter = nullptr;
  // Null until the entry has been patched.
  BYTE* entry = nullptr;
  BYTE savedBytes[20] = {};
};
constinit State state;

// One set is enough: one thread at a time records a crash.
constinit MiniSessionBuffers buffers = {};

// Repeats the attempt until it succeeds or the time is up.
template <class Attempt>
bool TryFor(ULONGLONG milliseconds, Attempt&& attempt) noexcept {
  const ULONGLONG end = GetTickCount64() + milliseconds;
  while (!attempt()) {
    if (GetTickCount64() >= end) return false;
    Sleep(1);
  }
  return true;
}

// Lets one crashing thread work at a time. Others wait, up to a limit, since the process ends when the first
// thread leaves the filter. A thread whose own crash handling crashes gets no second turn.
class Turn {
 public:
  Turn() noexcept {
    constexpr ULONGLONG kLongestWait = 3000;
    const auto self = static_cast<LONG>(GetCurrentThreadId());
    LONG worker = 0;
    TryFor(kLongestWait, [&] {
      worker = InterlockedCompareExchange(&worker_, self, 0);
      return worker == 0 || worker == self;
    });
    isGiven_ = worker == 0;
  }
  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;
  ~Turn() {
    if (isGiven_) InterlockedExchange(&worker_, 0);
  }

  [[nodiscard]] explicit operator bool() const noexcept { return isGiven_; }

 private:
  static constinit volatile LONG worker_;

  bool isGiven_;
};
constinit volatile LONG Turn::worker_ = 0;

// Keeps other threads out of the sessions while the filter goes through them. The wait is bounded: the thread
// that holds the lock may have crashed in its call.
class ExclusiveSessions {
 public:
  ExclusiveSessions() noexcept : mutex_(util::Mutex::Instance()) {
    constexpr ULONGLONG kLongestWait = 90;
    if (mutex_ == nullptr) return;
    mutex_->SetClosed(true);
    isLocked_ = TryFor(kLongestWait, [this] { return mutex_->TryLock(); });
  }
  ExclusiveSessions(const ExclusiveSessions&) = delete;
  ExclusiveSessions& operator=(const ExclusiveSessions&) = delete;
  ~ExclusiveSessions() {
    if (isLocked_) mutex_->Unlock();
    if (mutex_ != nullptr) mutex_->SetClosed(false);
  }

 private:
  util::Mutex* mutex_;
  bool isLocked_ = false;
};

void Log(std::string_view step, int line) noexcept { log::Info({"..\\CrashHandler", step, line}); }

// Stands in for SetUnhandledExceptionFilter while the patch is in place.
intptr_t WINAPI IgnoreNewFilter() { return 0; }

// mov r11, imm64; jmp r11
void MakePatch(BYTE (&patch)[kPatchSize]) noexcept {
  const auto target = reinterpret_cast<uintptr_t>(&IgnoreNewFilter);
  patch[0] = 0x49;
  patch[1] = 0xBB;
  std::memcpy(patch + 2, &target, sizeof target);
  patch[10] = 0x41;
  patch[11] = 0xFF;
  patch[12] = 0xE3;
}

// Whether the entry already holds the patch of a second copy of the library, loaded by another part of the
// host. That patch protects our filter too. Saving it as the original would later restore a jump into an
// unloaded DLL.
bool IsPatchedByAnother(const BYTE* entry, const BYTE (&patch)[kPatchSize]) noexcept {
  if (std::memcmp(entry, patch, 2) != 0 || std::memcmp(entry + 10, patch + 10, 3) != 0) return false;
  const wchar_t* target = nullptr;
  std::memcpy(&target, entry + 2, sizeof target);
  const auto moduleAt = [](const wchar_t* address) -> HMODULE {
    HMODULE module = nullptr;
    const DWORD flags = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    return GetModuleHandleExW(flags, address, &module) ? module : nullptr;
  };
  const HMODULE other = moduleAt(target);
  return other != nullptr && other != moduleAt(reinterpret_cast<const wchar_t*>(&IgnoreNewFilter)) &&
         GetProcAddress(other, "UTInitialize") != nullptr;
}

// Makes the entry's bytes writable during its lifetime.
class WritableEntry {
 public:
  explicit WritableEntry(BYTE* entry) noexcept
      : entry_(entry), isWritable_(VirtualProtect(entry, kPatchSize, PAGE_EXECUTE_READWRITE, &protection_)) {}
  WritableEntry(const WritableEntry&) = delete;
  WritableEntry& operator=(const WritableEntry&) = delete;
  ~WritableEntry() {
    DWORD ignored = 0;
    if (isWritable_) VirtualProtect(entry_, kPatchSize, protection_, &ignored);
  }

  [[nodiscard]] explicit operator bool() const noexcept { return isWritable_; }
  [[nodiscard]] bool Write(const BYTE* bytes) const noexcept {
    return WriteProcessMemory(GetCurrentProcess(), entry_, bytes, kPatchSize, nullptr) != FALSE;
  }

 private:
  BYTE* entry_;
  DWORD protection_ = 0;
  bool isWritable_;
};

// Runs at unload: no pointer into the library may remain, neither in the entry nor as the process's filter.
void Undo(unsigned long /*reason*/, void* /*reserved*/) {
  if (state.entry != nullptr) RecoverSetUnhandledExceptionFilter();
  const auto found = SetUnhandledExceptionFilter(state.originalFilter);
  if (found != nullptr && found != CustomUnhandledExceptionFilter) SetUnhandledExceptionFilter(found);
}

}  // namespace

bool SetCrashHandler(const session::SessionList& openSessions) {
  Log("CrashHandler::SetCrashHandler", 58);
  state.openSessions = &openSessions;
  if (state.previousFilter != nullptr) return true;

  state.previousFilter = SetUnhandledExceptionFilter(CustomUnhandledExceptionFilter);
  if (state.previousFilter != nullptr && state.previousFilter != CustomUnhandledExceptionFilter) {
    state.originalFilter = state.previousFilter;
  }
  util::GlobalItems::Instance().SetCleanUp(Undo);
  PreventSetUnhandledExceptionFilter();
  Log("CrashHandler::SetUnhandledExceptionFilter", 70);
  return true;
}

int PreventSetUnhandledExceptionFilter() {
  Log("PreventSetUnhandledExceptionFilter() - Enter", 82);
  const util::UniqueModule kernel(LoadLibraryA("kernel32.dll"));
  if (!kernel) {
    Log("PreventSetUnhandledExceptionFilter() - return 1", 87);
    return 0;
  }
  auto* const entry = reinterpret_cast<BYTE*>(
      reinterpret_cast<void*>(GetProcAddress(kernel.Get(), "SetUnhandledExceptionFilter")));
  if (entry == nullptr) {
    Log("PreventSetUnhandledExceptionFilter() - return 2", 94);
    return 0;
  }
  int written = 0;
  {
    const WritableEntry writable(entry);
    if (!writable) {
      Log("PreventSetUnhandledExceptionFilter() - return 3", 103);
      return 0;
    }
    BYTE patch[kPatchSize];
    MakePatch(patch);
    // On later calls our patch, or a hook over it, is in place: keep the bytes saved first.
    if (!IsPatchedByAnother(entry, patch)) {
      if (state.entry == nullptr) std::memcpy(state.savedBytes, entry, kPatchSize);
      written = writable.Write(patch);
      if (written != 0) state.entry = entry;
    }
  }
  Log("PreventSetUnhandledExceptionFilter() - Exit", 118);
  return written;
}

bool RecoverSetUnhandledExceptionFilter() {
  Log("RecoverSetUnhandledExceptionFilter() - Enter", 128);
  Log("RecoverSetUnhandledExceptionFilter() - Jmp Size 13", 129);
  if (state.entry != nullptr) {
    Log("RecoverSetUnhandledExceptionFilter() - Org Entry Address is Valid", 132);
    const WritableEntry writable(state.entry);
    if (!writable) {
      Log("RecoverSetUnhandledExceptionFilter() - return 1", 138);
      return false;
    }
    static_cast<void>(writable.Write(state.savedBytes));
  }
  Log("RecoverSetUnhandledExceptionFilter() - Exit", 147);
  return true;
}

LONG WINAPI CustomUnhandledExceptionFilter(EXCEPTION_POINTERS* exception) noexcept {
  Log("CrashHandler::CustomUnhandledExceptionFilter", 158);
  if (const Turn turn; turn) {
    const ExclusiveSessions exclusive;
    try {
      if (settings::OptInPolicy::Instance().IsConsentGiven()) {
        LogCrashInfo(exception);
      } else {
        DeleteLogs();
      }
    } catch (...) {
      // The process is dying; whatever could be recorded has been.
    }
  }
  SetUnhandledExceptionFilter(nullptr);
  state.previousFilter = nullptr;
  return EXCEPTION_CONTINUE_SEARCH;
}

void LogCrashInfo(const EXCEPTION_POINTERS* exception) {
  constexpr std::string_view kStep = "CrashHandler::LogCrashInfo";
  Log(kStep, 183);
  if (exception == nullptr) return;
  Log(kStep, 189);
  const std::string& user = settings::OptInPolicy::Instance().KnownUserIdentifier();
  for (session::UsageSession* open : *state.openSessions) {
    Log(kStep, 194);
    if (!open->ClaimCrashDocument()) continue;
    const session::ProductTexts product = open->Product();
    MiniSession crash({.first = product.family, .second = product.name, .third = open->Id(), .user = user},
                      open->File().Obfuscated(), open->File().Folder(), buffers);
    crash.CreateCrashFile();
  }
}

void DeleteLogs() {
  Log("CrashHandler::DeleteLogs", 216);
  // All sessions are silenced before anything is deleted: another thread would create its file again.
  const std::wstring* folder = nullptr;
  for (session::UsageSession* open : *state.openSessions) {
    if (folder == nullptr && open->File().IsFolderKnown()) folder = &open->File().Folder();
    open->Silence();
  }
  if (folder != nullptr) util::DeleteMatching(*folder, L"*.*");
}

}  // namespace vantra::crash::CrashHandler
