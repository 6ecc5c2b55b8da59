#include "api/Mutex.h"

#include <memory>

namespace vantra::api {

constinit Mutex* Mutex::instance_ = nullptr;

struct Mutex::Initialiser {
  Initialiser() noexcept {
    try {
      instance_ = &util::GlobalItems::Instance().Add(std::unique_ptr<Mutex>(new Mutex));
    } catch (...) {
      // Without a lock the calls run unlocked.
    }
  }
};

// Before the loggers, and so before them in the order of deletion.
[[gnu::init_priority(200)]] const Mutex::Initialiser Mutex::initialiser_;

Mutex::~Mutex() {
  instance_ = nullptr;
  DeleteCriticalSection(&section_);
}

}  // namespace vantra::api
