// Where the measurements happen: a profile, a registry and a folder of their own, and the library in it.
#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>

#include "stage/Library.h"

namespace vantra::bench {

namespace fs = std::filesystem;

// Made once; gone with the process. Sending is off, so that no agent is ever started.
class World {
 public:
  World();
  ~World();
  World(const World&) = delete;
  World& operator=(const World&) = delete;

  [[nodiscard]] const fs::path& Folder() const { return folder_; }
  [[nodiscard]] fs::path AgentFolder() const { return folder_ / "AppData" / "Tolvex" / "Sendrix2"; }
  [[nodiscard]] fs::path Logs() const { return AgentFolder() / "Logs"; }
  void SetObfuscation(bool on) const;
  // Removes what no session has open.
  void EmptyLogs() const;

 private:
  fs::path folder_;
  std::wstring keyName_;
};

// The loaded library, used by a host whose user has opted in.
class Library : public stage::Library {
 public:
  explicit Library(const World& world, bool withLog = false);

  [[nodiscard]] void* Start() const;

  // Calls to the C runtime's malloc by the library since the last question.
  [[nodiscard]] size_t Allocations() const;

  // While one lives, the platform reports too little free space for a session to record.
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

// A file opened as the library opens a document.
[[nodiscard]] HANDLE OpenLikeADocument(const fs::path& path);

[[nodiscard]] int64_t Now();        // in nanoseconds, of some clock
[[nodiscard]] size_t UsedMemory();  // of the process, in bytes

}  // namespace vantra::bench
