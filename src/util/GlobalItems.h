// The list that owns every process-wide object from its creation until the library is unloaded.
#pragma once

#include <memory>
#include <utility>
#include <vector>

namespace vantra::util {

// Base of every process-wide object. Destructors run under the loader lock: they neither log nor wait.
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

  // The one list, created on first use.
  static GlobalItems& Instance();

  // Runs the clean-up routine, deletes everything in the order of registration, then the list itself.
  // Does nothing when there is no list. After an exception from the routine the list stays as it was.
  static void Release(unsigned long reason, void* reserved);

  // True once Release has run: what the process-wide objects were is no more, and nothing makes them anew.
  static bool AreReleased() noexcept { return released_; }

  // True while Release runs because the process ends (other threads are gone, other modules may be too),
  // false while it runs because the library alone is unloaded.
  static bool IsProcessEnding() noexcept;

  // The list takes ownership; the returned reference lives until unload.
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

// Base of a class whose one object is made on first use. A class with a private constructor is its friend.
template <class Item>
class OneOf : public GlobalItem {
 public:
  // Made when it is not there yet.
  static Item& Instance() {
    if (instance_ == nullptr) Create();
    return *instance_;
  }

  // NULL before the first use and after unload.
  [[nodiscard]] static Item* Existing() noexcept { return instance_; }

  // For an object that needs arguments. There must be none yet.
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
