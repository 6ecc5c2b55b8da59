#include "Workers.h"

#include <algorithm>
#include <atomic>
#include <thread>
#include <utility>

namespace vantra::inspect {

void Page::Clear() noexcept {
  size_ = 0;
  parts.clear();
  sentences.clear();
}

std::unique_ptr<Page> PageOrder::NewPage() { return std::make_unique<Page>(); }

void PageOrder::Fail(std::exception_ptr error) {
  const std::lock_guard lock(mutex_);
  if (error_ == nullptr) error_ = std::move(error);
  changed_.notify_all();
}

void PageOrder::Put(size_t item, std::unique_ptr<Page>& page, bool isLast) {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return item == turn_ || waitingPages_ < most_ || error_ != nullptr; });
  if (error_ != nullptr) std::rethrow_exception(error_);
  Item& place = waiting_[item];
  place.pages.push_back(std::move(page));
  place.isComplete = isLast;
  ++waitingPages_;
  Drain(lock);
  page = spare_.empty() ? NewPage() : std::move(spare_.back());
  if (!spare_.empty()) spare_.pop_back();
  page->Clear();
}

// Hands on what has come to its turn. One thread does so at a time, and the others go on meanwhile.
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
    waitingPages_ -= pages.size();
    std::ranges::move(pages, std::back_inserter(spare_));
    if (isComplete) {
      waiting_.erase(turn_);
      ++turn_;
    }
    changed_.notify_all();
    if (error_ != nullptr) std::rethrow_exception(error_);
  }
  isConsuming_ = false;
}

void WorkOn(size_t sessions, unsigned threads, const std::function<Work()>& makeWorker,
            PageOrder::Consume consume) {
  // Several sessions are one item, when there are many: pages are then handed on when they are worth it.
  constexpr size_t kMost = 16;
  constexpr size_t kItemsOfThread = 8;
  const size_t together = std::clamp<size_t>(sessions / (threads * kItemsOfThread), 1, kMost);
  PageOrder order(std::move(consume), threads);
  std::atomic<size_t> next = 0;
  std::exception_ptr error;
  std::mutex errorMutex;
  const auto run = [&] {
    try {
      const Work work = makeWorker();
      std::unique_ptr<Page> page = order.NewPage();
      for (size_t item = next++; item * together < sessions; item = next++) {
        Writer writer(order, item, page);
        const size_t end = std::min(sessions, (item + 1) * together);
        for (size_t session = item * together; session < end; ++session) work(session, writer);
        order.Put(item, page, true);
      }
    } catch (...) {
      const std::lock_guard lock(errorMutex);
      if (error == nullptr) error = std::current_exception();
      order.Fail(error);
    }
  };
  std::vector<std::jthread> others;
  for (unsigned i = 1; i < threads; ++i) others.emplace_back(run);
  run();
  others.clear();
  if (error != nullptr) std::rethrow_exception(error);
}

}  // namespace vantra::inspect
