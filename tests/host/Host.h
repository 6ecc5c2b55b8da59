// Hosts: processes that load Vantra.dll and act, each in the world of its test case.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <memory>
#include <string_view>
#include <type_traits>

#include "Case.h"
#include "vantra/vantra.h"

namespace vantra::test {

// The exports of a Vantra.dll that is loaded as long as this lives.
class Library {
 public:
  explicit Library(const char* file = "Vantra.dll");  // beside host.exe
  ~Library();
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

 private:
  void* module_;

  struct Export {
    void* address;
    template <class F>
    operator F*() const {  // NOLINT: converts to the type that the member declares
      return reinterpret_cast<F*>(address);
    }
  };
  [[nodiscard]] Export Find(const char* name) const;

 public:
  decltype(&::UTInitialize) Initialize = Find("UTInitialize");
  decltype(&::UTStartSession) StartSession = Find("UTStartSession");
  decltype(&::UTAddToSession) AddToSession = Find("UTAddToSession");
  decltype(&::UTLogEvent) LogEvent = Find("UTLogEvent");
  decltype(&::UTNewDataGroup) NewDataGroup = Find("UTNewDataGroup");
  decltype(&::UTAddToGroup) AddToGroup = Find("UTAddToGroup");
  decltype(&::UTCloseSession) CloseSession = Find("UTCloseSession");
  decltype(&::UTGetOptIn) GetOptIn = Find("UTGetOptIn");
  decltype(&::UTSetOptIn) SetOptIn = Find("UTSetOptIn");
  decltype(&::UTOptInGet) OptInGet = Find("UTOptInGet");
  decltype(&::UTOptInSet) OptInSet = Find("UTOptInSet");
  decltype(&::UTGetDemographic) GetDemographic = Find("UTGetDemographic");
  decltype(&::UTSetDemographic) SetDemographic = Find("UTSetDemographic");
  decltype(&::UTGetNonDefaultDemographic) GetNonDefaultDemographic = Find("UTGetNonDefaultDemographic");
  decltype(&::UTSetNonDefaultDemographic) SetNonDefaultDemographic = Find("UTSetNonDefaultDemographic");
  decltype(&::UTSetSerializationState) SetSerializationState = Find("UTSetSerializationState");

  // A session of a user who has opted in: family "Acme", name "Draw" unless told otherwise.
  [[nodiscard]] void* Open(const char* family = "Acme", const char* name = "Draw");
};

// Adds values to the session until the text in its open file, the only one, has so many bytes exactly.
void FillTo(Library& ut, void* session, size_t bytes);

// A host process, with the agents that it started. Ends with them when this goes out of scope.
class Host {
 public:
  struct Handles;

  explicit Host(std::unique_ptr<Handles> handles);
  Host(Host&&) noexcept;
  ~Host();

  void Kill();
  // Waits until the host and all that it started have ended; the host's exit code, or the exception's after a
  // crash. One that has not ended in time is killed and fails the test.
  uint32_t Wait(std::chrono::seconds limit = std::chrono::minutes(2));

 private:
  std::unique_ptr<Handles> handles_;
};

// Starts host.exe, which calls body with a copy of the bytes at state and ends with 0, or with 1 when an
// assertion failed.
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

// Runs a host to its end, which must be a good one.
template <class Body>
void RunHost(Body body) {
  EXPECT_EQ(StartHost(body).Wait(), 0u);
}

class HostTest : public testing::Test {
 protected:
  HostTest() { EnterNewCase(); }
  ~HostTest() override { LeaveCase(); }
};

// A HostTest once for each row of a table. Rows have a name.
template <class Row>
class HostTable : public HostTest, public testing::WithParamInterface<Row> {};

inline constexpr auto kRowName = [](const auto& row) { return std::string(row.param.test); };

}  // namespace vantra::test
