// Many threads, and a library that comes and goes.
#include <windows.h>
// After windows.h.
#include <tlhelp32.h>
#include <wincrypt.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <thread>

#include "HostTest.h"

namespace vantra::test {
namespace {

constexpr int kThreads = 10;

// Threads that share a session, each with one of its own besides: long enough for several splits of the
// shared one. That all records are there in order, and numbers and groups without gaps, each document of the
// case shows.
TEST_F(HostTest, Threads) {
  constexpr int kValues = 300;
  RunHost([](Library& ut) {
    void* shared = ut.Open();
    const auto act = [&](int thread) {
      const std::string product = "Thread" + std::to_string(thread);
      void* own = nullptr;
      EXPECT_EQ(ut.StartSession(&own, "Acme", product.c_str(), "3.1", nullptr, nullptr), 0);
      for (int i = 0; i < kValues; ++i) {
        uint32_t group = 0;
        EXPECT_EQ(ut.AddToSession(shared, product.c_str(), std::to_string(i).c_str()), 0);
        ut.NewDataGroup(own, product.c_str(), "g", "Group", &group, nullptr, 0);
        EXPECT_EQ(group, 7u + static_cast<uint32_t>(i));
      }
      EXPECT_EQ(ut.CloseSession(&own), 0);
    };
    std::vector<std::jthread> threads;
    for (int i = 0; i < kThreads; ++i) threads.emplace_back(act, i);
    threads.clear();
    EXPECT_EQ(ut.CloseSession(&shared), 0);
  });
  std::map<std::string, int> values, groups;
  for (const std::string& name : Documents()) {
    for (const Record& record : Records(ReadDocument(Logs() / name))) {
      if (record["name"].starts_with("Thread")) {
        EXPECT_EQ(record["data"], std::to_string(values[record["name"]]++));
      }
      if (record["category"].starts_with("Thread")) ++groups[record["category"]];
    }
  }
  EXPECT_EQ(values.size(), size_t{kThreads});
  for (const auto& [thread, count] : values)
    EXPECT_TRUE(count == kValues && groups[thread] == kValues) << thread;
}

// The process's handles, as (value, may be inherited). Wine counts none of them.
std::vector<std::pair<size_t, bool>> Handles() {
  std::vector<std::pair<size_t, bool>> handles;
  for (size_t handle = 4; handle < 8192; handle += 4) {
    DWORD flags = 0;
    if (GetHandleInformation(reinterpret_cast<HANDLE>(handle), &flags))
      handles.emplace_back(handle, (flags & HANDLE_FLAG_INHERIT) != 0);
  }
  return handles;
}

ptrdiff_t CountThreads() {
  const HANDLE all = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
  THREADENTRY32 thread{.dwSize = sizeof thread};
  ptrdiff_t count = 0;
  for (BOOL isOne = Thread32First(all, &thread); isOne; isOne = Thread32Next(all, &thread))
    count += thread.th32OwnerProcessID == GetCurrentProcessId();
  CloseHandle(all);
  return count;
}

// Bytes that the library has from the C runtime, and its hash objects.
std::atomic<ptrdiff_t> bytes;
void* Count(void* block) { return bytes += static_cast<ptrdiff_t>(_msize(block)), block; }
void* Allocate(size_t size) { return Count(std::malloc(size)); }
void* AllocateZeros(size_t count, size_t size) { return Count(std::calloc(count, size)); }
void Free(void* block) {
  if (block != nullptr) bytes -= static_cast<ptrdiff_t>(_msize(block));
  std::free(block);
}

BOOL WINAPI CreateHash(HCRYPTPROV provider, ALG_ID kind, HCRYPTKEY key, DWORD flags, HCRYPTHASH* hash) {
  return ++bytes, CryptCreateHash(provider, kind, key, flags, hash);
}
BOOL WINAPI DestroyHash(HCRYPTHASH hash) { return --bytes, CryptDestroyHash(hash); }

struct CountedLibrary : Library {
  CountedLibrary() {
    Replace("malloc", &Allocate), Replace("calloc", &AllocateZeros), Replace("free", &Free);
    Replace("CryptCreateHash", &CreateHash), Replace("CryptDestroyHash", &DestroyHash);
  }
};

TEST_F(HostTest, LoadingWritesNothing) {
  const Surroundings before = LookAround();
  RunHost([](Library&) {});
  EXPECT_TRUE(LookAround() == before);
}

// A library that has been unloaded leaves nothing behind: no handle, no thread, no memory.
TEST_F(HostTest, LoadAndUnload) {
  // Each start looks whether the process of the other file lives.
  WriteFile(AgentFolder() / ("Sendrix2.cfg." + std::to_string(GetCurrentProcessId()) + ".tmp"), "ours");
  RunHost([] {
    // What else the library loads would come and go with it, slowly.
    for (const wchar_t* name : {L"shell32", L"ole32", L"user32", L"version", L"ieframe"}) LoadLibraryW(name);
    size_t handles = 0;
    ptrdiff_t threads = 0;
    CountedLibrary();
    const ptrdiff_t loading = bytes.exchange(0);
    for (int i = 0; i < 30; ++i) {
      if (i == 6) handles = Handles().size(), threads = CountThreads();
      EXPECT_EQ(bytes.exchange(0), i == 0 ? 0 : loading);
      WriteFile(AgentFolder() / "Sendrix2.cfg", "#");
      CountedLibrary ut;
      ut.Initialize("MyProduct", true, nullptr);
      ut.SetOptIn(i % 3 == 0 ? 0 : 1);
      ut.SetDemographic("Age", "5");
      void* session = nullptr;
      if (ut.StartSession(&session, "Acme", "Draw", "3.1", nullptr, nullptr) != 0) continue;
      EXPECT_EQ(ut.LogEvent(session, "a", "b", "c", "document", 8), 0);
      // A text that is cut is recorded whole, and no longer kept.
      const ptrdiff_t before = bytes;
      EXPECT_EQ(ut.AddToSession(session, std::string(1 << 20, 'x').c_str(), "value"), 0);
      EXPECT_LT(bytes - before, 1 << 16);
      EXPECT_EQ(ut.CloseSession(&session), 0);
    }
    EXPECT_EQ(Handles().size(), handles);
    EXPECT_EQ(CountThreads(), threads);
    EXPECT_EQ(GetModuleHandleW(L"Vantra.dll"), nullptr);
  });
}

// A program that the host starts gets nothing that the library holds: it would keep the document from its
// name.
TEST_F(HostTest, NothingIsInherited) {
  SwitchLogOn();
  RunHost([](Library& ut) {
    const auto inheritable = [] {
      return std::ranges::count(Handles(), true, &std::pair<size_t, bool>::second);
    };
    const auto before = inheritable();
    EXPECT_NE(ut.Open(), nullptr);
    EXPECT_EQ(inheritable(), before);
  });
}

// At the end of a process others may still call, when the library has nothing any more.
TEST_F(HostTest, CallsAfterTheEnd) {
  RunHost([](Library& ut) {
    EXPECT_NE(ut.Open(), nullptr);
    auto* const base = reinterpret_cast<char*>(GetModuleHandleW(L"Vantra.dll"));
    const auto* const header =
        reinterpret_cast<IMAGE_NT_HEADERS*>(base + reinterpret_cast<IMAGE_DOS_HEADER*>(base)->e_lfanew);
    reinterpret_cast<BOOL(WINAPI*)(void*, DWORD, void*)>(base + header->OptionalHeader.AddressOfEntryPoint)(
        base, DLL_PROCESS_DETACH, base);
    EXPECT_EQ(ut.OptInGet("MyProduct"), -1);
    EXPECT_EQ(ut.SetDemographic("Age", "7"), 1);
    TerminateProcess(GetCurrentProcess(), HasFailure());
  });
}

}  // namespace
}  // namespace vantra::test
