// The platform calls that a start, a close and a rollover are told to make, in their order, with nothing
// between them. What cannot change while a process lives is not asked again, here as in the library.
#pragma once

#include "World.h"

namespace vantra::bench {

class Mirror {
 public:
  explicit Mirror(const World& world);

  // A session's start and close. Records are written with one write each, of the size they have.
  void StartAndClose();

  // Between the last write of a full document and the first of the next: what finishing and opening take.
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
