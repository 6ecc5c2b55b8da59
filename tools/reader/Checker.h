// Checks the documents of a session against the format, record by record.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "reader/DocumentReader.h"
#include "reader/Rules.h"
#include "reader/Sessions.h"

namespace vantra::reader {

struct Finding {
  Rule rule;
  uint64_t offset;        // of the first byte of the record, in the document's decoded text
  std::string_view text;  // the record, or its beginning; views are valid during the call
  // For a wrong number, identifier or time: what was expected, if that is known, and what was found.
  std::string_view expected, found;
};
using OnFinding = std::function<void(const Finding&)>;

// Numbers, groups and times continue from one document to the next: pass a session's documents in order, and
// call Reset between sessions. Not thread-safe.
class Checker {
 public:
  void Reset() noexcept { session_ = {}; }

  // Reads the document, which the reader has just opened, to its end, and calls report with each finding.
  void Check(const Document& document, DocumentReader& reader, const OnFinding& report);

 private:
  using Time = std::array<char, 20>;
  // What earlier records imply for the next one.
  struct Course {
    std::string id;  // the session's; empty until one has been seen
    std::optional<int32_t> index;
    std::optional<int32_t> nextSeq;  // empty after a record that could not be read
    uint32_t lastGroup = 0;
    bool isEveryGroupKnown = false;  // else lastGroup is the largest seen
    Time time{};
    bool isEnded = false;
  };
  // The position in the document. Damaged: its beginning cannot be read, and no record has been found yet.
  enum class Stage : uint8_t { Nothing, Prologue, Damaged, Inside, Closed, Ended, After };

  void Begin(const Document& document);
  void CheckRecord(const Record& record);
  void CheckOrder(const Record& record);
  void CheckStage(Kind kind);
  void CheckNewTime(std::string_view time);
  void CheckGroup(const Record& record);
  void CheckFlaws(uint8_t flaws);
  void CheckEnd();
  void PassMalformed();
  void PassPrologue();
  [[nodiscard]] bool IsNameTrue(const FileName& name) const noexcept;
  void Report(Rule rule, std::string_view expected = {}, std::string_view found = {});

  Course session_;
  Course own_;  // for a document with a numbering of its own
  Course* course_ = nullptr;
  DocumentReader* reader_ = nullptr;
  const OnFinding* report_ = nullptr;
  std::string_view nameSession_;
  Stage stage_ = Stage::Nothing;
  bool isCut_ = false;
};

}  // namespace vantra::reader
