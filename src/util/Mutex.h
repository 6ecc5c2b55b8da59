// The process-wide lock: every exported call holds it from its first action to its last.
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

  // NULL before the static initialisers have run and once unload has begun.
  [[nodiscard]] static Mutex* Instance() noexcept { return instance_; }

  void Lock() noexcept {
    while (isClosed_.load(std::memory_order_relaxed)) [[unlikely]] Sleep(1);
    EnterCriticalSection(&section_);
  }
  // While closed, the lock admits no new waiters, so TryLock succeeds as soon as the present ones are done.
  void SetClosed(bool isClosed) noexcept { isClosed_.store(isClosed, std::memory_order_relaxed); }
  [[nodiscard]] bool TryLock() noexcept { return TryEnterCriticalSection(&section_) != FALSE; }
  void Unlock() noexcept { LeaveCriticalSection(&section_); }

 private:
  struct Initialiser;
  static const Initialiser initialiser_;
  static constinit Mutex* instance_;

  Mutex() noexcept { InitializeCriticalSection(&section_); }

  CRITICAL_SECTION section_;
  std::atomic<bool> isClosed_ = false;
};

// Calls work(context) while the caller holds the lock. If the call is unwound, by a C++ exception, a
// structured exception that the host handles or a longjmp, the lock is released on the way; if it returns,
// the lock is still held.
extern "C" int32_t VantraCallLocked(int32_t (*work)(void* context), void* context);

// Does the work under the lock and returns its result. If there is no lock, does it without.
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
