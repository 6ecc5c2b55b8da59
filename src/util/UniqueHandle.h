// Move-only owners of platform handles. Each knows its own invalid value and how to close a handle.
#pragma once

#include <utility>

#include "util/Windows.h"

namespace vantra::util {

// Policy provides Type, Invalid() and Close(Type); Close is called for valid handles only.
template <class Policy>
class UniqueHandle {
 public:
  using Type = typename Policy::Type;

  UniqueHandle() noexcept = default;
  explicit UniqueHandle(Type handle) noexcept : handle_(handle) {}
  UniqueHandle(UniqueHandle&& other) noexcept : handle_(other.Release()) {}
  UniqueHandle& operator=(UniqueHandle&& other) noexcept {
    if (this != &other) Reset(other.Release());
    return *this;
  }
  ~UniqueHandle() { Reset(); }

  [[nodiscard]] Type Get() const noexcept { return handle_; }
  [[nodiscard]] explicit operator bool() const noexcept { return handle_ != Policy::Invalid(); }
  [[nodiscard]] Type Release() noexcept { return std::exchange(handle_, Policy::Invalid()); }

  void Reset(Type handle = Policy::Invalid()) noexcept {
    const Type old = std::exchange(handle_, handle);
    if (old != Policy::Invalid()) Policy::Close(old);
  }

 private:
  Type handle_ = Policy::Invalid();
};

struct FilePolicy {
  using Type = HANDLE;
  static Type Invalid() noexcept { return INVALID_HANDLE_VALUE; }
  static void Close(Type handle) noexcept { CloseHandle(handle); }
};

struct KernelObjectPolicy {
  using Type = HANDLE;
  static Type Invalid() noexcept { return nullptr; }
  static void Close(Type handle) noexcept { CloseHandle(handle); }
};

struct FindPolicy {
  using Type = HANDLE;
  static Type Invalid() noexcept { return INVALID_HANDLE_VALUE; }
  static void Close(Type handle) noexcept { FindClose(handle); }
};

struct ModulePolicy {
  using Type = HMODULE;
  static Type Invalid() noexcept { return nullptr; }
  static void Close(Type module) noexcept { FreeLibrary(module); }
};

using UniqueFile = UniqueHandle<FilePolicy>;
using UniqueKernelObject = UniqueHandle<KernelObjectPolicy>;
using UniqueFind = UniqueHandle<FindPolicy>;
using UniqueModule = UniqueHandle<ModulePolicy>;

}  // namespace vantra::util
