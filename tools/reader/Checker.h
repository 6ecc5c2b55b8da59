// Holds the documents of a session against the format, record by record.
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
  std::string_view text;  // the record, or its beginning; good during the call
};
using Told = std::function<void(const Finding&)>;

// Numbers, groups and times go on from one document to the next: give those of a session in order, and begin
// the next session with Reset.
class Checker {
 public:
  void Reset() noexcept { session_ = {}; }

  // The document, which the reader has just opened, to its end.
  void Check(const Document& document, DocumentReader& reader, const Told& tell);

 private:
  using Time = std::array<char, 20>;
  // What the records before tell about the next one.
  struct Course {
    std::string id;  // of the session; empty while none has been seen
    std::optional<int32_t> index;
    std::optional<int32_t> nextSeq;  // nothing when a record before could not be read
    uint32_t lastGroup = 0;
    bool isEveryGroupKnown = false;  // up to the last one; else it is the largest number seen
    Time time{};
    bool isEnded = false;
  };
  // How far the document is. One whose beginning cannot be read is damaged until a record has been.
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
  void Tell(Rule rule);

  Course session_;
  Course own_;  // of a document that is numbered for itself
  Course* course_ = nullptr;
  DocumentReader* reader_ = nullptr;
  const Told* tell_ = nullptr;
  std::string_view nameSession_;
  Stage stage_ = Stage::Nothing;
  bool isCut_ = false;
};

}  // namespace vantra::reader
