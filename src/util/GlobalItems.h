// The list that owns every process-wide object from its creation until the library is unloaded.
#pragma once

#include <memory>
#include <string>
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
    objects_.push_back(std::move(item));
    return kept;
  }
  std::string& Add(std::string text);
  std::wstring& Add(std::wstring text);

  void SetCleanUp(CleanUp routine) noexcept { cleanUp_ = routine; }

 private:
  GlobalItems() = default;

  static constinit bool released_;

  std::vector<std::unique_ptr<GlobalItem>> objects_;
  std::vector<std::unique_ptr<std::string>> narrowTexts_;
  std::vector<std::unique_ptr<std::wstring>> wideTexts_;
  CleanUp cleanUp_ = nullptr;
};

}  // namespace vantra::util
