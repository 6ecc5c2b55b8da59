// Hosts: processes that load Vantra.dll and act, each in the world of its case. A host is a copy of the
// program that starts it, whose main must begin with RunAsHost.
#pragma once

#include <chrono>
#include <cstring>
#include <memory>
#include <optional>
#include <type_traits>

#include "stage/World.h"
#include "vantra/functions.hpp"

namespace vantra::stage {

// The functions of a Vantra.dll that is loaded as long as this lives.
class Library : public vantra::detail::Functions {
 public:
  // Throws when it does not load or lacks one of them.
  explicit Library(const Path& file = CaseFolder() / "Vantra.dll");
  ~Library() { FreeLibrary(module_); }
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  // A session of a user who has opted in: family "Acme", name "Draw" unless told otherwise. Throws when a
  // call fails.
  [[nodiscard]] void* Open(const char* family = "Acme", const char* name = "Draw");

  // Makes the library call another function than the one of that name, which it imports.
  template <class Function>
  void Replace(const char* name, Function* by) {
    ReplaceImport(name, reinterpret_cast<void*>(by));
  }

 private:
  void ReplaceImport(const char* name, void* by);

  HMODULE module_;
};

// Writes to memory that is protected, as code is.
void Overwrite(void* at, const void* bytes, size_t size);

// In a process that LaunchHost has started, does what it was started for; the exit code then, 1 after an
// exception. Nothing in every other process.
[[nodiscard]] std::optional<int> RunAsHost(int count, char** arguments);

// A host process, with the agents that it started. Ends with them when this goes out of scope.
class Host {
 public:
  // host.exe calls body with a copy of the bytes at state.
  Host(void (*body)(const void* state), const void* state, size_t size);
  Host(Host&&) noexcept = default;
  ~Host() { TerminateJobObject(job_.get(), 1); }

  void Kill() { TerminateProcess(process_.get(), 1); }
  [[nodiscard]] bool HasEnded() const { return WaitForSingleObject(process_.get(), 0) == WAIT_OBJECT_0; }
  // Waits until the host and all that it started have ended; the host's exit code, or the exception's after a
  // crash. Throws when they have not ended in time, and kills them.
  uint32_t Wait(std::chrono::seconds limit = std::chrono::minutes(4));

 private:
  struct CloseAny {
    void operator()(HANDLE handle) const { CloseHandle(handle); }
  };
  std::unique_ptr<void, CloseAny> process_, job_;
};

template <class Body>
void CallHostBody(const void* state) {
  alignas(Body) std::byte copy[sizeof(Body)];
  std::memcpy(copy, state, sizeof copy);
  const Body& body = *reinterpret_cast<const Body*>(copy);
  if constexpr (std::is_invocable_v<Body, Library&>) {
    Library ut;
    body(ut);
  } else {
    body();
  }
}

// Starts a host that runs body(Library&), or body() when it loads the library itself. Captures go to the
// other process as bytes: by value only, numbers, literals and structs of them.
template <class Body>
[[nodiscard]] Host StartHost(Body body) {
  static_assert(std::is_trivially_copyable_v<Body>, "the host is another process");
  return {&CallHostBody<Body>, &body, sizeof body};
}

}  // namespace vantra::stage
