// The one lock of the process: every exported call holds it from its first action to its last.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "util/GlobalItems.h"
#include "util/Windows.h"

namespace vantra::util {

class Mutex : public GlobalItem {
 public:
  ~Mutex() override;

  // NULL before the static initialisers and after unload has begun.
  [[nodiscard]] static Mutex* Instance() noexcept { return instance_; }

  void Lock() noexcept {
    while (isShut_.load(std::memory_order_relaxed)) [[unlikely]] Sleep(1);
    EnterCriticalSection(&section_);
  }
  // While it is shut, nobody begins to wait for the lock: who tries gets it as soon as those before are
  // through.
  void Shut(bool isShut) noexcept { isShut_.store(isShut, std::memory_order_relaxed); }
  [[nodiscard]] bool TryLock() noexcept { return TryEnterCriticalSection(&section_) != FALSE; }
  void Unlock() noexcept { LeaveCriticalSection(&section_); }

 private:
  struct Initialiser;
  static const Initialiser initialiser_;
  static constinit Mutex* instance_;

  Mutex() noexcept { InitializeCriticalSection(&section_); }

  CRITICAL_SECTION section_;
  std::atomic<bool> isShut_ = false;
};

// Calls work(context). Whatever unwinds the call, a C++ exception, a structured one that the host handles or
// a longjmp, leaves the lock on its way; a call that returns does not.
extern "C" int32_t VantraCallLocked(int32_t (*work)(void* context), void* context);

// The result of the work, done while the lock is held. Without a lock the work is done all the same.
template <class Work>
int32_t WithLock(Work& work) {
  Mutex* const mutex = Mutex::Instance();
  if (mutex == nullptr) return work();
  mutex->Lock();
  const int32_t result =
      VantraCallLocked([](void* context) { return (*static_cast<Work*>(context))(); }, std::addressof(work));
  mutex->Unlock();
  return result;
}

}  // namespace vantra::util
