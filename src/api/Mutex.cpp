#include "api/Mutex.h"

#include <memory>

namespace vantra::api {

Mutex* CreateMutexItem() { return &util::GlobalItems::Instance().Add(std::unique_ptr<Mutex>(new Mutex)); }

namespace {

Mutex* instance = CreateMutexItem();

}  // namespace

Mutex::~Mutex() {
  instance = nullptr;
  DeleteCriticalSection(&section_);
}

Mutex* Mutex::Instance() noexcept { return instance; }

}  // namespace vantra::api
