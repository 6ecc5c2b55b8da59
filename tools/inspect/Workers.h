// Processes sessions on several threads, with results in the order of the sessions nevertheless.
#pragma once

#include <algorithm>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "reader/Sessions.h"

namespace vantra::inspect {

// A piece of a worker's result: text for the output, and sentences for the user.
class Page {
 public:
  Page() : Page(kFull + kRoom) {}
  // With no more room than this.
  explicit Page(size_t capacity)
      : text_(std::make_unique_for_overwrite<char[]>(capacity)), hasRoom_(capacity >= kFull + kRoom) {}

  // So much may be written at the end of a page that is not full.
  static constexpr size_t kRoom = size_t{1} << 20;

  [[nodiscard]] char* End() noexcept { return text_.get() + size_; }
  void Commit(const char* end) noexcept { size_ = static_cast<size_t>(end - text_.get()); }
  void Add(std::string_view text) noexcept { Commit(End() + text.copy(End(), kRoom)); }
  // Assigns what was written since the last part to this label.
  void EndPart(std::string_view label) {
    if (parts.empty() || parts.back().label != label) parts.push_back({std::string(label), 0});
    parts.back().end = size_;
  }
  // For the user, when the page has come to its turn.
  void Say(std::string_view sentence) { sentences_.push_back(std::string(sentence)); }
  [[nodiscard]] bool HasSentences() const noexcept { return !sentences_.empty(); }
  void SaySentences() const;

  [[nodiscard]] std::string_view Text() const noexcept { return {text_.get(), size_}; }
  [[nodiscard]] bool IsEmpty() const noexcept { return size_ == 0 && sentences_.empty(); }
  [[nodiscard]] bool IsSmall() const noexcept { return size_ < kFull / 4; }
  // Whether it can be filled once more. One that a long row has stretched would keep its memory.
  [[nodiscard]] bool IsReusable() const noexcept { return hasRoom_ && size_ < kFull + kFull / 4; }
  // The thread that fills it, in whose processor's cache it is.
  [[nodiscard]] std::thread::id Filler() const noexcept { return filler_; }
  // The same with no more room than it needs. What remains here is to be cleared.
  [[nodiscard]] std::unique_ptr<Page> Pack();
  // What it takes in memory while it waits, about. A page with room may have been full before.
  [[nodiscard]] size_t Cost() const noexcept {
    constexpr size_t kLeast = size_t{1} << 10;
    return hasRoom_ ? std::max(size_, kFull) : size_ + kLeast;
  }
  [[nodiscard]] bool IsFull() const noexcept {
    constexpr size_t kManySentences = 1000;
    return size_ >= kFull || sentences_.size() >= kManySentences;
  }
  void Clear() noexcept;

  // For output that is divided: the labels, and where the text of each ends.
  struct Part {
    std::string label;
    size_t end;
  };
  std::vector<Part> parts;

  // A page stays in the processor's cache until it is written.
  static constexpr size_t kFull = size_t{128} << 10;

 private:
  std::unique_ptr<char[]> text_;
  bool hasRoom_;
  std::thread::id filler_ = std::this_thread::get_id();
  size_t size_ = 0;
  std::vector<std::string> sentences_;
};

// Passes pages from the workers to one consumer, one at a time and in the order of the shares. A worker that
// is far ahead of the others has to wait. Thread-safe.
class PageOrder {
 public:
  using Consume = std::function<void(const Page&)>;

  PageOrder(Consume consume, unsigned threads) : consume_(std::move(consume)), most_(kAhead * threads) {}

  // Takes the page, which may be the share's last, and replaces it by an empty one. Rethrows the consumer's
  // exception, in every worker.
  void Put(size_t share, std::unique_ptr<Page>& page, bool isLast);
  // Waits until all shares before have been consumed. Until the last page of this one is put, no other worker
  // gets that far.
  void AwaitTurn(size_t share);
  // Ends all waiting.
  void Fail(std::exception_ptr error);

 private:
  static constexpr size_t kAhead = size_t{3} << 20;  // bytes that may wait, for each thread

  struct Result {
    std::vector<std::unique_ptr<Page>> pages;
    bool isComplete = false;
  };
  // Whether a page of the share can be taken now.
  [[nodiscard]] bool IsWelcome(size_t share) const noexcept;
  void Drain(std::unique_lock<std::mutex>& lock);

  Consume consume_;
  size_t most_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::map<size_t, Result> waiting_;
  size_t waitingBytes_ = 0;
  std::vector<std::unique_ptr<Page>> spare_;
  size_t turn_ = 0;
  bool isConsuming_ = false;
  std::exception_ptr error_;
};

// The page that a worker is filling.
class Writer {
 public:
  Writer(PageOrder& order, size_t share, std::unique_ptr<Page>& page)
      : order_(order), share_(share), page_(page) {}

  // The page; a new one if it was full.
  [[nodiscard]] Page& Room() {
    if (page_->IsFull()) {
      order_.Put(share_, page_, false);
      hasFilledPages_ = true;
    }
    return *page_;
  }

  [[nodiscard]] bool HasFilledPages() const noexcept { return hasFilledPages_; }

  // From here on, until its work on the share is over, no other worker is here.
  void AwaitTurn() { order_.AwaitTurn(share_); }

 private:
  PageOrder& order_;
  size_t share_;
  std::unique_ptr<Page>& page_;
  bool hasFilledPages_ = false;
};

// Works on sessions, one after the other, in a thread of its own.
class Worker {
 public:
  Worker() = default;
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;
  virtual ~Worker() = default;

  virtual void Work(const reader::Session& session, Writer& writer) = 0;
};
using MakeWorker = std::function<std::unique_ptr<Worker>()>;

// Lets workers, one a thread, work on all sessions in order. Each takes a share at a time: neighbouring
// sessions, largestShare at most, since many are small. Throws what a worker or the consumer has thrown.
constexpr size_t kLargestShare = 16;
void WorkOn(reader::Sessions& sessions, unsigned threads, const MakeWorker& makeWorker,
            const PageOrder::Consume& consume, size_t largestShare = kLargestShare);

}  // namespace vantra::inspect
