#include "Workers.h"

#include <algorithm>
#include <thread>
#include <utility>

#include "Verb.h"

namespace vantra::inspect {

void Page::Clear() noexcept {
  size_ = 0;
  parts.clear();
  sentences_.clear();
}

std::unique_ptr<Page> Page::Pack() {
  auto packed = std::make_unique<Page>(size_);
  packed->Commit(packed->End() + Text().copy(packed->End(), size_));
  packed->parts = std::exchange(parts, {});
  packed->sentences_ = std::exchange(sentences_, {});
  return packed;
}

void Page::SaySentences() const {
  for (const std::string& sentence : sentences_) inspect::Say(sentence);
}

void PageOrder::AwaitTurn(size_t share) {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return (share == turn_ && !isConsuming_) || error_ != nullptr; });
  if (error_ != nullptr) std::rethrow_exception(error_);
}

void PageOrder::Fail(std::exception_ptr error) {
  const std::lock_guard lock(mutex_);
  if (error_ == nullptr) error_ = std::move(error);
  changed_.notify_all();
}

bool PageOrder::IsWelcome(size_t share) const noexcept {
  return waitingBytes_ < most_ || (share == turn_ && !isConsuming_);
}

void PageOrder::Put(size_t share, std::unique_ptr<Page>& page, bool isLast) {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return IsWelcome(share) || error_ != nullptr; });
  if (error_ != nullptr) std::rethrow_exception(error_);
  Result& place = waiting_[share];
  // While it waits, a small page takes no more room than it needs.
  const bool isWaiting = isConsuming_ || share != turn_;
  if (!page->IsEmpty()) {
    place.pages.push_back(isWaiting && page->IsSmall() ? page->Pack() : std::move(page));
    waitingBytes_ += place.pages.back()->Cost();
  }
  place.isComplete = isLast;
  Drain(lock);
  const auto own = std::ranges::find(spare_, std::this_thread::get_id(), &Page::Filler);
  if (page == nullptr && own != spare_.end()) {
    page = std::move(*own);
    spare_.erase(own);
  }
  if (page == nullptr) page = std::make_unique<Page>();
  page->Clear();
}

// Passes on the pages whose turn has come. Only one thread does so at a time; the others continue meanwhile.
void PageOrder::Drain(std::unique_lock<std::mutex>& lock) {
  if (isConsuming_) return;
  isConsuming_ = true;
  for (auto first = waiting_.find(turn_); first != waiting_.end(); first = waiting_.find(turn_)) {
    std::vector<std::unique_ptr<Page>> pages = std::exchange(first->second.pages, {});
    const bool isComplete = first->second.isComplete;
    if (pages.empty() && !isComplete) break;
    lock.unlock();
    try {
      for (const auto& page : pages) consume_(*page);
    } catch (...) {
      Fail(std::current_exception());
    }
    lock.lock();
    for (auto& page : pages) {
      waitingBytes_ -= page->Cost();
      if (page->IsReusable() && spare_.size() < most_ / Page::kFull / 2) spare_.push_back(std::move(page));
    }
    if (isComplete) {
      waiting_.erase(turn_);
      ++turn_;
    }
    changed_.notify_all();
    if (error_ != nullptr) std::rethrow_exception(error_);
  }
  isConsuming_ = false;
}

namespace {

// Neighbouring sessions, and their place in the order.
struct Share {
  size_t place, first, end;
};

// Divides sessions into shares. Thread-safe.
class Shares {
 public:
  Shares(size_t sessions, unsigned threads) : sessions_(sessions), threads_(threads) {}

  // The next one, of so many sessions at most; without any when there are none left.
  [[nodiscard]] Share Take(size_t size) {
    // Near the end they are smaller, so that no thread is left with much when the others have finished.
    constexpr size_t kForEach = 4;
    const std::lock_guard lock(mutex_);
    const size_t first = next_;
    const size_t fair = (sessions_ - first + kForEach * threads_ - 1) / (kForEach * threads_);
    next_ += std::min(size, fair);
    return {place_++, first, next_};
  }

 private:
  std::mutex mutex_;
  const size_t sessions_;
  const unsigned threads_;
  size_t place_ = 0;
  size_t next_ = 0;
};

// The sessions of one lot.
void WorkOnLot(const reader::Sessions& sessions, unsigned threads, const MakeWorker& makeWorker,
               const PageOrder::Consume& consume, size_t largestShare) {
  PageOrder order(consume, threads);
  Shares shares(sessions.Count(), threads);
  std::exception_ptr error;
  std::mutex errorMutex;
  const auto run = [&] {
    try {
      const std::unique_ptr<Worker> worker = makeWorker();
      auto page = std::make_unique<Page>();
      size_t size = 1;
      for (Share share = shares.Take(size); share.first != share.end; share = shares.Take(size)) {
        Writer writer(order, share.place, page);
        for (size_t i = share.first; i < share.end; ++i) worker->Work(sessions[i], writer);
        // A share should fill a page, and not many, for these would have to wait.
        if (writer.HasFilledPages()) size = std::max<size_t>(size / 2, 1);
        if (!writer.HasFilledPages() && page->IsSmall()) size = std::min(size * 2, largestShare);
        order.Put(share.place, page, true);
      }
    } catch (...) {
      const std::lock_guard lock(errorMutex);
      if (error == nullptr) error = std::current_exception();
      order.Fail(error);
    }
  };
  std::vector<std::jthread> others;
  for (unsigned i = 1; i < std::min<size_t>(threads, sessions.Count()); ++i) others.emplace_back(run);
  run();
  others.clear();
  if (error != nullptr) std::rethrow_exception(error);
}

}  // namespace

void WorkOn(reader::Sessions& sessions, unsigned threads, const MakeWorker& makeWorker,
            const PageOrder::Consume& consume, size_t largestShare) {
  while (sessions.Next()) WorkOnLot(sessions, threads, makeWorker, consume, largestShare);
}

}  // namespace vantra::inspect
