// Texts that end where readable memory ends, so that any read beyond them is seen.
#pragma once

#include <cstdlib>
#include <string_view>

#ifdef _WIN32
#include <windows.h>
#else
#include <sys/mman.h>
#endif

// A copy of the text, good until the eighth call from here.
inline const char* AtPageEnd(std::string_view text) {
  constexpr size_t kRoom = 1 << 20;
  static char* rooms[8];
  static size_t next = 0;
  char*& room = rooms[next++ % 8];
  if (room == nullptr) {
#ifdef _WIN32
    void* const pages = VirtualAlloc(nullptr, 2 * kRoom, MEM_RESERVE, PAGE_NOACCESS);
    room = static_cast<char*>(VirtualAlloc(pages, kRoom, MEM_COMMIT, PAGE_READWRITE));
#else
    void* const pages = mmap(nullptr, 2 * kRoom, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    room = static_cast<char*>(mprotect(pages, kRoom, PROT_READ | PROT_WRITE) == 0 ? pages : nullptr);
#endif
  }
  if (room == nullptr || text.size() > kRoom) std::abort();
  char* const start = room + kRoom - text.size();
  text.copy(start, text.size());
  return start;
}
