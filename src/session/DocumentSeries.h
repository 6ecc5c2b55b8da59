// Decides when a session's document is split and what becomes of each document. Pure: the facts are passed
// in, and the caller carries the decision out.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vantra::session {

class DocumentSeries {
 public:
  // A document is split once its text reaches this many bytes; the session continues in the next one.
  static constexpr uint64_t kSplitSize = 102'400;

  // The facts on which the fate of an ended document depends.
  struct Conditions {
    bool hasAgent;
    bool isDeliveryAllowed;
  };
  enum class Fate { kDelivered, kDeleted };

  // Adds a record's bytes to the current document, whether or not they reached the disk.
  void Count(size_t bytes) noexcept { bytes_ += bytes; }
  [[nodiscard]] bool NeedsSplit() const noexcept { return bytes_ >= kSplitSize; }

  // The number in the current document's name.
  [[nodiscard]] int32_t Index() const noexcept { return index_; }
  // Whether the previous document had the current name too and was deleted: its file may still exist if
  // somebody holds it open.
  [[nodiscard]] bool IsNameUsed() const noexcept { return isNameUsed_; }

  // Ends the current document. If it is deleted, with all other files of its folder, the next document takes
  // over its name and its byte count, so that it splits at its next record.
  Fate End(const Conditions& conditions) noexcept {
    isNameUsed_ = !conditions.hasAgent || !conditions.isDeliveryAllowed;
    if (isNameUsed_) return Fate::kDeleted;
    ++index_;
    bytes_ = 0;
    return Fate::kDelivered;
  }

 private:
  uint64_t bytes_ = 0;
  int32_t index_ = 0;
  bool isNameUsed_ = false;
};

}  // namespace vantra::session
