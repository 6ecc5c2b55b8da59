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

bool PageOrder::IsWelcome(size_t session) const noexcept {
  return waitingBytes_ < most_ || (session == turn_ && !isConsuming_);
}

void PageOrder::Put(size_t session, std::unique_ptr<Page>& page, bool isLast) {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return IsWelcome(session) || error_ != nullptr; });
  if (error_ != nullptr) std::rethrow_exception(error_);
  Result& place = waiting_[session];
  waitingBytes_ += page->Text().size();
  place.pages.push_back(std::move(page));
  place.isComplete = isLast;
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
    for (const auto& page : pages) waitingBytes_ -= page->Text().size();
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
  PageOrder order(std::move(consume), threads);
  std::atomic<size_t> next = 0;
  std::exception_ptr error;
  std::mutex errorMutex;
  const auto run = [&] {
    try {
      const Work work = makeWorker();
      std::unique_ptr<Page> page = order.NewPage();
      for (size_t session = next++; session < sessions; session = next++) {
        Writer writer(order, session, page);
        work(session, writer);
        order.Put(session, page, true);
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
