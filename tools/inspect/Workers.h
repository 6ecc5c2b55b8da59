// Sessions worked on by several threads, with results in the order of the sessions all the same.
#pragma once

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
#include <vector>

namespace vantra::inspect {

// A part of what is made of sessions: text for the output, and sentences for the user.
class Page {
 public:
  // So much may be written at the end of a page that is not full.
  static constexpr size_t kRoom = size_t{1} << 20;

  [[nodiscard]] char* End() noexcept { return text_.get() + size_; }
  void Commit(const char* end) noexcept { size_ = static_cast<size_t>(end - text_.get()); }
  void Add(std::string_view text) noexcept { Commit(End() + text.copy(End(), kRoom)); }
  // What was written since the last part belongs to this one.
  void EndPart(std::string_view label) {
    if (parts.empty() || parts.back().label != label) parts.push_back({std::string(label), 0});
    parts.back().end = size_;
  }
  void Say(std::string_view sentence) { sentences.push_back(std::string(sentence)); }

  [[nodiscard]] std::string_view Text() const noexcept { return {text_.get(), size_}; }
  [[nodiscard]] bool IsFull() const noexcept {
    constexpr size_t kManySentences = 1000;
    return size_ >= kFull || sentences.size() >= kManySentences;
  }
  void Clear() noexcept;

  // Where the text goes when it is divided: each part with its label, up to the given end.
  struct Part {
    std::string label;
    size_t end;
  };
  std::vector<Part> parts;
  std::vector<std::string> sentences;

 private:
  static constexpr size_t kFull = size_t{1024} << 10;

  std::unique_ptr<char[]> text_ = std::make_unique_for_overwrite<char[]>(kFull + kRoom);
  size_t size_ = 0;
};

// Pages on their way from the workers to one consumer, which gets them one at a time and in the order of the
// sessions. A worker that is far ahead of the others waits.
class PageOrder {
 public:
  using Consume = std::function<void(const Page&)>;

  PageOrder(Consume consume, unsigned threads) : consume_(std::move(consume)), most_(kAhead * threads) {}

  // Takes the page, the last one of the session or not, and leaves an empty one in its place. Throws what the
  // consumer has thrown, to every worker.
  void Put(size_t session, std::unique_ptr<Page>& page, bool isLast);
  [[nodiscard]] std::unique_ptr<Page> NewPage();
  // Ends all waiting.
  void Fail(std::exception_ptr error);

 private:
  static constexpr size_t kAhead = size_t{3} << 20;  // bytes that wait, for each thread

  struct Result {
    std::vector<std::unique_ptr<Page>> pages;
    bool isComplete = false;
  };
  // Whether a page of the session may wait, or need not.
  [[nodiscard]] bool IsWelcome(size_t session) const noexcept;
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
  Writer(PageOrder& order, size_t session, std::unique_ptr<Page>& page)
      : order_(order), session_(session), page_(page) {}

  // A page with room.
  [[nodiscard]] Page& Room() {
    if (page_->IsFull()) order_.Put(session_, page_, false);
    return *page_;
  }

 private:
  PageOrder& order_;
  size_t session_;
  std::unique_ptr<Page>& page_;
};

// What one thread does with a session, by its index.
using Work = std::function<void(size_t session, Writer& writer)>;

// Lets each of the threads make its own worker, and all of them work on the sessions in order. Throws what a
// worker or the consumer has thrown.
void WorkOn(size_t sessions, unsigned threads, const std::function<Work()>& makeWorker,
            PageOrder::Consume consume);

}  // namespace vantra::inspect
