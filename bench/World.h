// The environment of the measurements: a profile, a registry and a folder of their own, and the library in
// it.
#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>

#include "stage/Host.h"

namespace vantra::bench {

namespace fs = std::filesystem;

// The test kit's: nothing is sent, so no agent is started. Create one per process; it is removed on
// destruction.
class World : public testkit::World {
 public:
  World();

  [[nodiscard]] fs::path AgentFolder() const { return Logs().parent_path(); }
  void SetObfuscation(bool on) const;
  // Deletes the files that no session has open.
  void EmptyLogs() const;
};

// The loaded library in a host whose user has opted in.
class Library : public stage::Library {
 public:
  explicit Library(const World& world, bool withLog = false);

  [[nodiscard]] void* Start() const;

  // The library's calls of malloc since the last call of this.
  [[nodiscard]] size_t Allocations() const;

  // During its lifetime the platform reports too little free space for a session to record.
  class FullDisk;
};

class Library::FullDisk {
 public:
  FullDisk();
  ~FullDisk();
  FullDisk(const FullDisk&) = delete;
  FullDisk& operator=(const FullDisk&) = delete;

 private:
  unsigned char saved_[12];
};

[[nodiscard]] fs::path LibraryPath();

// Opens a file as the library opens a document.
[[nodiscard]] HANDLE OpenLikeADocument(const fs::path& path);

[[nodiscard]] int64_t Now();        // in nanoseconds, from an arbitrary origin
[[nodiscard]] size_t UsedMemory();  // of the process, in bytes

}  // namespace vantra::bench
