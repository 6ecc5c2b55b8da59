// A fast path for values, events and groups. Each is like the one before it but for a few texts, so it is
// compared with what is expected instead of being parsed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "reader/Grammar.h"
#include "reader/Record.h"

namespace vantra::reader {

class QuickRecords {
 public:
  explicit QuickRecords(Records& records) noexcept;

  // Reads the value, event or group at this place if it has the expected form and number, with the same
  // result as Parse. Null otherwise, which says nothing about the text. The text must be followed by kPadding
  // NUL bytes.
  [[nodiscard]] const Record* Read(const char* at) noexcept;

  // Updates the expectations from a record that was parsed in full.
  void Learn(const Record& record) noexcept;

 private:
  // Up to 64 expected bytes, with a bit of need for each.
  struct Pattern {
    alignas(16) char bytes[64] = {};
    uint64_t need = 0;
    uint32_t size = 0;

    void Set(std::string_view text) noexcept;
  };

  [[nodiscard]] const Record* ReadValue(const char* at) noexcept;
  [[nodiscard]] const Record* ReadEvent(const char* at) noexcept;
  [[nodiscard]] const Record* ReadGroup(const char* at) noexcept;
  [[nodiscard]] const char* PassTime(const char* at, Record& record) noexcept;
  [[nodiscard]] const Record* Finish(const char* start, const char* at, Record& record) noexcept;
  [[nodiscard]] bool AdoptTime(const char* time) noexcept;
  [[nodiscard]] bool AdoptValueHead(const char* at) noexcept;
  void SetTime(const char* time) noexcept;
  void SetSeq(int32_t seq) noexcept;
  void SetValueGroup(int32_t group) noexcept;
  void SetNextGroup(int32_t group) noexcept;
  void LearnGroup(int32_t group) noexcept;
  void CountSeq() noexcept;

  Record& value_;
  Record& event_;
  Record& group_;

  int32_t seq_ = 0;  // the expected one
  int32_t valueGroup_ = 0;
  int32_t nextGroup_ = 0;
  Pattern valueHead_;  // <DataRec time="TIME" group="GROUP" name="
  Pattern time_;       // " time="TIME
  Pattern groupTail_;  // " group="GROUP" doc="
  Pattern seqTail_;    // " seq="SEQ" />
};

}  // namespace vantra::reader
