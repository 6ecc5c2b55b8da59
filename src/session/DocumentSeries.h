// What becomes of the documents of one session, decided from what it is told. Nothing is asked, written or
// moved here.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vantra::session {

class DocumentSeries {
 public:
  // A document that holds so many bytes of text is split: the session goes on in the next one.
  static constexpr uint64_t kSplitSize = 102'400;

  // What is known when a document has ended.
  struct Standing {
    bool hasAgent;
    bool isDeliveryAllowed;
  };
  enum class Fate { kDelivered, kDeleted };

  // Adds the text of a record to the present document, whether or not it reached the disk.
  void Count(size_t bytes) noexcept { bytes_ += bytes; }
  [[nodiscard]] bool NeedsSplit() const noexcept { return bytes_ >= kSplitSize; }

  // The number in the present document's name.
  [[nodiscard]] int32_t Index() const noexcept { return index_; }
  // Whether the present name was that of a deleted document, which somebody may have held open.
  [[nodiscard]] bool IsNameUsed() const noexcept { return isNameUsed_; }

  // Ends the present document. When it is deleted, with all others of its folder, the next one has its name
  // and its count, so that the next record splits again.
  Fate End(const Standing& standing) noexcept {
    isNameUsed_ = !standing.hasAgent || !standing.isDeliveryAllowed;
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
