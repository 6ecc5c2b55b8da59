#include "util/GlobalItems.h"

#include <utility>

namespace vantra::util {
namespace {

constinit GlobalItems* instance = nullptr;
constinit bool processEnding = false;

}  // namespace

constinit bool GlobalItems::released_ = false;

GlobalItems& GlobalItems::Instance() {
  if (instance == nullptr) instance = new GlobalItems;
  return *instance;
}

void GlobalItems::Release(unsigned long reason, void* reserved) {
  if (instance == nullptr) return;
  processEnding = reserved != nullptr;
  if (instance->cleanUp_ != nullptr) instance->cleanUp_(reason, reserved);
  for (auto& object : instance->objects_) object.reset();
  delete std::exchange(instance, nullptr);
  released_ = true;
}

void GlobalItems::Keep(std::unique_ptr<GlobalItem> item) { objects_.push_back(std::move(item)); }

bool GlobalItems::IsProcessEnding() noexcept { return processEnding; }

}  // namespace vantra::util
