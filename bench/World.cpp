#include "World.h"

#include <psapi.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <stdexcept>

#include "session/UsageSession.h"

namespace vantra::bench {
namespace {

using stage::Overwrite;

constexpr char kUsage[] = "VantraBench";

std::atomic<size_t> allocations{0};

void* CountedMalloc(size_t size) {
  ++allocations;
  return std::malloc(size);
}

BOOL WINAPI ReportFullDisk(LPCWSTR, PULARGE_INTEGER available, PULARGE_INTEGER, PULARGE_INTEGER) {
  available->QuadPart = session::kLeastFreeSpace;
  return TRUE;
}

unsigned char* FreeSpaceEntry() {
  return reinterpret_cast<unsigned char*>(
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA("kernel32"), "GetDiskFreeSpaceExW")));
}

fs::path OwnFolder() {
  wchar_t path[MAX_PATH];
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  return fs::path(path).parent_path();
}

// Switches the log on; needed only while the library is loaded.
fs::path SwitchFile() { return OwnFolder() / "SKLog.config"; }

fs::path ReadyToLoad(bool withLog) {
  if (withLog) std::ofstream(SwitchFile()) << "append=0\n";
  return LibraryPath();
}

}  // namespace

World::World() : testkit::World(kUsage) {}

void World::SetObfuscation(bool on) const {
  stage::SetValue(stage::kUsage, "obfuscate", on ? "sz:1" : "sz:0");
}

void World::EmptyLogs() const {
  std::error_code ignored;
  for (const auto& entry : fs::directory_iterator(Logs())) fs::remove(entry.path(), ignored);
}

Library::Library(const World& world, bool withLog) : stage::Library(ReadyToLoad(withLog)) {
  fs::remove(SwitchFile());
  Replace("malloc", &CountedMalloc);
  Initialize(kUsage, false, world.Folder().string().c_str());
  SetOptIn(1);
}

void* Library::Start() const {
  void* session = nullptr;
  if (StartSession(&session, "Acme", "Draw", "3.1", "412", "en-US") != 0) {
    throw std::runtime_error("no session starts");
  }
  return session;
}

size_t Library::Allocations() const { return allocations.exchange(0); }

Library::FullDisk::FullDisk() {
  // mov rax, address; jmp rax
  unsigned char jump[sizeof saved_] = {0x48, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xE0};
  auto* const target = &ReportFullDisk;
  std::memcpy(jump + 2, &target, sizeof target);
  std::memcpy(saved_, FreeSpaceEntry(), sizeof saved_);
  Overwrite(FreeSpaceEntry(), jump, sizeof jump);
}

Library::FullDisk::~FullDisk() { Overwrite(FreeSpaceEntry(), saved_, sizeof saved_); }

fs::path LibraryPath() { return OwnFolder() / "Vantra.dll"; }

HANDLE OpenLikeADocument(const fs::path& path) {
  return CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_ALWAYS,
                     FILE_ATTRIBUTE_NORMAL, nullptr);
}

int64_t Now() {
  static const int64_t frequency = [] {
    LARGE_INTEGER value;
    QueryPerformanceFrequency(&value);
    return value.QuadPart;
  }();
  LARGE_INTEGER ticks;
  QueryPerformanceCounter(&ticks);
  return static_cast<int64_t>(static_cast<double>(ticks.QuadPart) * (1e9 / static_cast<double>(frequency)));
}

size_t UsedMemory() {
  PROCESS_MEMORY_COUNTERS counters{};
  GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
  return counters.WorkingSetSize;
}

}  // namespace vantra::bench
