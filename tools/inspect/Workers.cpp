#include "Workers.h"

#include <algorithm>
#include <atomic>
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

void PageOrder::AwaitTurn(size_t session) {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return (session == turn_ && !isConsuming_) || error_ != nullptr; });
  if (error_ != nullptr) std::rethrow_exception(error_);
}

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
  waitingBytes_ += page->Cost();
  // While it waits, a small page takes no more room than it needs.
  const bool isWaiting = isConsuming_ || session != turn_;
  place.pages.push_back(isWaiting && page->IsSmall() ? page->Pack() : std::move(page));
  place.isComplete = isLast;
  Drain(lock);
  if (page == nullptr && !spare_.empty()) {
    page = std::move(spare_.back());
    spare_.pop_back();
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
      if (page->HasRoom() && spare_.size() < kMostSpare) spare_.push_back(std::move(page));
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

// The sessions of one lot.
void WorkOnLot(const reader::Sessions& sessions, unsigned threads, const MakeWorker& makeWorker,
               const PageOrder::Consume& consume) {
  PageOrder order(consume, threads);
  std::atomic<size_t> next = 0;
  std::exception_ptr error;
  std::mutex errorMutex;
  const auto run = [&] {
    try {
      const std::unique_ptr<Worker> worker = makeWorker();
      auto page = std::make_unique<Page>();
      for (size_t session = next++; session < sessions.Count(); session = next++) {
        Writer writer(order, session, page);
        worker->Work(sessions[session], writer);
        order.Put(session, page, true);
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
            const PageOrder::Consume& consume) {
  while (sessions.Next()) WorkOnLot(sessions, threads, makeWorker, consume);
}

}  // namespace vantra::inspect
