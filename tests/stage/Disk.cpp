#include <windows.h>

#include "stage/World.h"

namespace vantra::stage {
namespace {

// Numbers of the system's calls on x86-64.
enum Call : int64_t {
  kOpen = 2,
  kClose = 3,
  kSigAction = 13,
  kIoctl = 16,
  kSetLimit = 160,
  kMount = 165,
  kUnmount = 166
};

const void* Number(uint64_t number) { return reinterpret_cast<const void*>(number); }

// Negative on failure. Crashes elsewhere than below Wine.
int64_t System(Call call, const void* first, const void* second = nullptr, const void* third = nullptr,
               const void* fourth = nullptr, const void* fifth = nullptr) {
  int64_t result = call;
  register const void* r10 asm("r10") = fourth;
  register const void* r8 asm("r8") = fifth;
  asm volatile("syscall"
               : "+a"(result)
               : "D"(first), "S"(second), "d"(third), "r"(r10), "r"(r8)
               : "rcx", "r11", "memory");
  return result;
}

// What Wine calls the file below; nothing when this is not Wine.
const char* Below(const Path& path) {
  using UnixPath = char* (*)(const wchar_t*);
  static const auto unixPath = reinterpret_cast<UnixPath>(
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "wine_get_unix_file_name")));
  return unixPath == nullptr ? nullptr : unixPath(path.c_str());
}

}  // namespace

bool LimitFiles(uint64_t bytes) {
  constexpr uint64_t kFileSizeLimit = 1, kLimitSignal = 25;
  const uint64_t ignore[4] = {1}, limits[2] = {bytes, ~uint64_t{0}};
  return Below(CaseFolder()) != nullptr &&
         System(kSigAction, Number(kLimitSignal), ignore, nullptr, Number(8)) == 0 &&
         System(kSetLimit, Number(kFileSizeLimit), limits) == 0;
}

bool MountVolume(const Path& folder, uint64_t bytes) {
  const std::string option = "size=" + std::to_string(bytes);
  const char* const below = Below(folder);
  return below != nullptr && System(kMount, "tmpfs", below, "tmpfs", nullptr, option.c_str()) == 0;
}

bool Unmount(const Path& folder) {
  constexpr uint64_t kAtOnce = 2;
  const char* const below = Below(folder);
  return below != nullptr && System(kUnmount, below, Number(kAtOnce)) == 0;
}

bool SetWritable(const Path& folder, bool isWritable) {
  constexpr uint64_t kSetFlags = 0x40086602, kImmutable = 0x10;
  const char* const below = Below(folder);
  if (below == nullptr) return false;
  const int64_t file = System(kOpen, below, nullptr);
  const uint64_t flags = isWritable ? 0 : kImmutable;
  const bool isSet =
      file >= 0 && System(kIoctl, Number(static_cast<uint64_t>(file)), Number(kSetFlags), &flags) == 0;
  System(kClose, Number(static_cast<uint64_t>(file)));
  return isSet;
}

}  // namespace vantra::stage
