// The list that owns every process-wide object until the library is unloaded.
#pragma once

#include <memory>
#include <utility>
#include <vector>

namespace vantra::util {

// Base of every process-wide object. Destructors run under the loader lock, so they must neither log nor
// wait.
class GlobalItem {
 public:
  GlobalItem() = default;
  GlobalItem(const GlobalItem&) = delete;
  GlobalItem& operator=(const GlobalItem&) = delete;
  virtual ~GlobalItem() = default;
};

class GlobalItems {
 public:
  // Called first at unload, with the module entry point's reason and reserved arguments.
  using CleanUp = void (*)(unsigned long reason, void* reserved);

  // The process's list, created on first use.
  static GlobalItems& Instance();

  // Runs the clean-up routine, then deletes all objects in the order of their registration, then the list.
  // Does nothing when there is no list. If the routine throws, the list stays as it was.
  static void Release(unsigned long reason, void* reserved);

  // True once Release has run: the process-wide objects are gone and must not be created again.
  static bool AreReleased() noexcept { return released_; }

  // True when Release runs because the process ends, in which case other threads are gone and other modules
  // may be; false when only the library is unloaded.
  static bool IsProcessEnding() noexcept;

  // Takes ownership. The reference is valid until unload.
  template <class Item>
  Item& Add(std::unique_ptr<Item> item) {
    Item& kept = *item;
    Keep(std::move(item));
    return kept;
  }

  void SetCleanUp(CleanUp routine) noexcept { cleanUp_ = routine; }

 private:
  GlobalItems() = default;
  void Keep(std::unique_ptr<GlobalItem> item);

  static constinit bool released_;

  std::vector<std::unique_ptr<GlobalItem>> objects_;
  CleanUp cleanUp_ = nullptr;
};

// Base of a class with a single, process-wide object, created on first use. A class with a private
// constructor declares OneOf its friend.
template <class Item>
class OneOf : public GlobalItem {
 public:
  // The object, created if necessary.
  static Item& Instance() {
    if (instance_ == nullptr) Create();
    return *instance_;
  }

  // NULL before the first use and after unload.
  [[nodiscard]] static Item* Existing() noexcept { return instance_; }

  // Creates an object that needs arguments. None may exist yet.
  template <class... Arguments>
  [[gnu::noinline]] static Item& Create(Arguments&&... arguments) {
    std::unique_ptr<Item> item(new Item(std::forward<Arguments>(arguments)...));
    instance_ = &GlobalItems::Instance().Add(std::move(item));
    return *instance_;
  }

  ~OneOf() override { instance_ = nullptr; }

 private:
  static inline constinit Item* instance_ = nullptr;
};

}  // namespace vantra::util
