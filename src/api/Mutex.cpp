#include "api/Mutex.h"

#include <memory>

namespace vantra::api {

Mutex* CreateMutexItem() noexcept {
  try {
    return &util::GlobalItems::Instance().Add(std::unique_ptr<Mutex>(new Mutex));
  } catch (...) {
    return nullptr;
  }
}

namespace {

constinit Mutex* instance = nullptr;

struct Initialiser {
  Initialiser() noexcept { instance = CreateMutexItem(); }
};

// Before the loggers, and so before them in the order of deletion.
[[gnu::init_priority(200)]] const Initialiser initialiser;

}  // namespace

Mutex::~Mutex() {
  instance = nullptr;
  DeleteCriticalSection(&section_);
}

Mutex* Mutex::Instance() noexcept { return instance; }

}  // namespace vantra::api
