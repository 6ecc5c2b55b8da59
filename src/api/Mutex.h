// The one lock of the process: every exported call holds it from its first action to its last.
#pragma once

#include "util/GlobalItems.h"
#include "util/Windows.h"

namespace vantra::api {

class Mutex : public util::GlobalItem {
 public:
  ~Mutex() override;

  // NULL before the static initialisers and after unload has begun.
  [[nodiscard]] static Mutex* Instance() noexcept { return instance_; }

  void Lock() noexcept { EnterCriticalSection(&section_); }
  void Unlock() noexcept { LeaveCriticalSection(&section_); }

 private:
  struct Initialiser;
  static const Initialiser initialiser_;
  static constinit Mutex* instance_;

  Mutex() noexcept { InitializeCriticalSection(&section_); }

  CRITICAL_SECTION section_;
};

// Holds the lock for a scope; without a lock there is nothing to hold.
class MutexScope {
 public:
  MutexScope() noexcept : mutex_(Mutex::Instance()) {
    if (mutex_ != nullptr) mutex_->Lock();
  }
  MutexScope(const MutexScope&) = delete;
  MutexScope& operator=(const MutexScope&) = delete;
  ~MutexScope() {
    if (mutex_ != nullptr) mutex_->Unlock();
  }

 private:
  Mutex* mutex_;
};

}  // namespace vantra::api
