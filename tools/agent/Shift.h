// The work of the agent that holds the lock: it goes through the queue until the end or the first reason to
// stop.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <string_view>
#include <utility>

#include "agent/Folder.h"
#include "agent/Settings.h"
#include "agent/State.h"
#include "agent/Upload.h"

namespace vantra::agent {

constexpr std::wstring_view kStateFile = L"Sendrix2.state";

struct Counts {
  size_t queued = 0;   // found so far
  size_t sent = 0;     // or moved
  size_t refused = 0;  // by the server, and moved to the folder Refused
  size_t skipped = 0;  // gone, in use or unreadable
};

struct Options {
  // Sends even if the server has asked to wait or sending is switched off.
  bool isUrgent = false;
  // Called after each document.
  std::function<void(const Counts&)> progress = [](const Counts&) {};
};

// Names and times of the documents that this process has tried. It tries one again only if it was written
// anew.
using Tried = std::set<std::pair<std::string, uint64_t>>;

class Shift {
 public:
  using Clock = std::chrono::steady_clock;

  Shift(const Folder& folder, const Options& options, Counts& counts, Tried& tried, Clock::time_point end)
      : folder_(folder), options_(options), counts_(counts), tried_(tried), end_(end) {}

  // False when documents wait for another run; Outcome says why.
  [[nodiscard]] bool Work();

  // A description for people.
  [[nodiscard]] const std::string& Outcome() const noexcept { return state_.outcome; }

  // Whether a thread is stuck in a platform call, so the process should end without waiting for it.
  [[nodiscard]] bool IsStuck() const noexcept { return upload_ && upload_->IsStuck(); }

 private:
  bool MayWork();
  bool MaySend();
  bool WorkQueue();
  Taken Pack(const std::string& name, std::string& content, std::string& body);
  bool Send(const std::string& name);
  bool Move(const std::string& name, const std::string& folder);
  bool WaitAfter(const std::string& name, const Reply& reply);
  void Skip(const std::string& name, Taken taken);
  void Settle(const std::string& name, Taken taken, size_t& count, std::string_view word);
  bool Stop(std::string_view why);
  void HoldBudget();
  void SaveState();

  const Folder& folder_;
  const Options& options_;
  Counts& counts_;
  Tried& tried_;
  const Clock::time_point end_;
  bool hasConfig_ = false;
  Settings settings_;
  State state_;
  std::string why_;
  std::unique_ptr<Upload> upload_;
  unsigned failures_ = 0;
  std::minstd_rand random_{std::random_device{}()};
};

}  // namespace vantra::agent
