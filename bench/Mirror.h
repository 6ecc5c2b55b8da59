// The platform calls that a start, a close and a split must make, in the same order and with nothing between
// them. Like the library, it does not repeat queries whose results cannot change during a process.
#pragma once

#include "World.h"

namespace vantra::bench {

class Mirror {
 public:
  explicit Mirror(const World& world);

  // A session's start and close. Each record is one write, of the record's size.
  void StartAndClose();

  // A split: finishes the file and opens the next one.
  void Roll(HANDLE& file);

  [[nodiscard]] HANDLE OpenNext();

 private:
  void CheckConfiguration();
  void ReadOptIn(const wchar_t* subkey);
  void QueryValue(const wchar_t* subkey, const wchar_t* name);
  void WriteHeader(HANDLE file);
  void Finish(HANDLE file);

  std::wstring agent_;
  std::wstring agentFolder_;
  std::wstring logs_;
  std::wstring config_;
  std::wstring current_;
  int index_ = 0;
};

}  // namespace vantra::bench
