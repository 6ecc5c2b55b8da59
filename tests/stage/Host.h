// Hosts: processes that load Vantra.dll and act, each in the world of its case. A host is a copy of the
// program that starts it, whose main must begin with RunAsHost.
#pragma once

#include <chrono>
#include <cstring>
#include <memory>
#include <optional>
#include <type_traits>

#include "stage/Library.h"

namespace vantra::stage {

// In a process that LaunchHost has started, does what it was started for; the exit code then, 1 after an
// exception. Nothing in every other process.
[[nodiscard]] std::optional<int> RunAsHost(int count, char** arguments);

// A host process, with the agents that it started. Ends with them when this goes out of scope.
class Host {
 public:
  struct Handles;

  explicit Host(std::unique_ptr<Handles> handles);
  Host(Host&&) noexcept;
  ~Host();

  void Kill();
  [[nodiscard]] bool HasEnded() const;
  // Waits until the host and all that it started have ended; the host's exit code, or the exception's after a
  // crash. Throws when they have not ended in time, and kills them.
  uint32_t Wait(std::chrono::seconds limit = std::chrono::minutes(2));

 private:
  std::unique_ptr<Handles> handles_;
};

// Starts host.exe, which calls body with a copy of the bytes at state.
[[nodiscard]] Host LaunchHost(void (*body)(const void* state), const void* state, size_t size);

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
  return LaunchHost(&CallHostBody<Body>, &body, sizeof body);
}

}  // namespace vantra::stage
