#include "agent/Shift.h"

#include <algorithm>
#include <new>
#include <optional>
#include <thread>
#include <variant>
#include <vector>

#include "agent/Answer.h"
#include "agent/Gzip.h"
#include "agent/Log.h"
#include "agent/Queue.h"
#include "agent/Schedule.h"
#include "settings/OptInPolicy.h"
#include "settings/UsageSettings.h"
#include "util/Clock.h"
#include "util/Text.h"

namespace vantra::agent {
namespace {

using std::chrono::seconds;

constexpr seconds kAbandonedAge = std::chrono::minutes(10);

bool IsAllowed() { return settings::OptInPolicy::IsAllowedByGroupPolicy(); }

void AppendCount(std::string& text, size_t count, std::string_view word) {
  if (count != 0) text.append(text.empty() ? "" : ", ").append(word).append(std::to_string(count));
}

}  // namespace

bool Shift::Work() {
  state_ = ParseState(folder_.ReadOwn(kStateFile).value_or(std::string()));
  bool isDone = MayWork();
  if (isDone) {
    if (const size_t count = folder_.FinishAbandoned(kAbandonedAge, IsAllowed); count != 0)
      Log().Info("Finished what was abandoned", std::to_string(count));
    HoldBudget();
    isDone = MaySend() && WorkQueue();
    HoldBudget();
  }
  if (!isDone && folder_.ListFinished().empty()) {
    isDone = true;
    why_.clear();
  }
  if (!isDone) Log().Warning(why_, "Documents wait");
  SaveState();
  return isDone;
}

bool Shift::MayWork() {
  if (!IsAllowed()) return Stop("the administrator forbids the recording of usage data");
  if (!options_.isUrgent && !settings::IsSendAllowed()) return Stop("the value send in the registry is 0");
  const auto config = folder_.ReadConfig(hasConfig_);
  if (!config) return Stop("Sendrix2.cfg cannot be read");
  settings_ = ReadSettings(*config);
  return true;
}

bool Shift::MaySend() {
  if (const auto* const none = std::get_if<NoTarget>(&settings_.target)) return Stop(none->why);
  const int64_t left = state_.notBefore - util::UtcSeconds();
  const bool mustWait = left > 0 && left <= kLongestRetryAfter.count() && state_.url == settings_.url;
  return !mustWait || options_.isUrgent || Stop("the server has asked to wait");
}

bool Shift::WorkQueue() {
  const Target& target = std::get<Target>(settings_.target);
  std::vector<Document> documents = folder_.ListFinished();
  std::erase_if(state_.last, [&](const std::string& name) {
    return std::ranges::find(documents, name, &Document::name) == documents.end();
  });
  Order(documents, state_.last);
  std::erase_if(documents,
                [&](const Document& each) { return !tried_.emplace(each.name, each.written).second; });
  counts_.queued += documents.size();
  if (target.scheme != Scheme::kFile) upload_ = std::make_unique<Upload>(target, settings_.authorization);
  for (const Document& each : documents) {
    if (Clock::now() >= end_) return Stop("the time of a run is over");
    const bool goesOn = upload_ ? Send(each.name) : Move(each.name, target.path);
    options_.progress(counts_);
    if (!goesOn) return false;
  }
  return why_.empty();
}

// A document too large for memory fails without ending the run.
Taken Shift::Pack(const std::string& name, std::string& content, std::string& body) try {
  const Taken taken = folder_.Read(name, content);
  if (taken == Taken::kDone) body = Gzip(content);
  return taken == Taken::kDone && body.empty() ? Taken::kFailed : taken;
} catch (const std::bad_alloc&) {
  return Taken::kFailed;
}

// Sends the document, repeating until there is an answer about it. False when the run ends.
bool Shift::Send(const std::string& name) {
  for (;;) {
    if (!IsAllowed()) return Stop("the administrator forbids the recording of usage data");
    std::string content;
    std::string body;
    if (const Taken taken = Pack(name, content, body); taken != Taken::kDone) {
      Skip(name, taken);
      return true;
    }
    const Reply reply = upload_->Put(name, std::move(body));
    switch (MeaningOf(reply)) {
      case Meaning::kStored:
        Settle(name, folder_.Delete(name, content), counts_.sent, "Sent");
        return true;
      case Meaning::kRefused:
        Log().Warning("Refused: " + Explain(reply), name);
        Settle(name, folder_.PutAside(name, content), counts_.refused, "Put aside");
        return true;
      case Meaning::kMisconfigured:
        return Stop(Explain(reply));
      case Meaning::kTryAgain:
        if (!WaitAfter(name, reply)) return Stop(Explain(reply));
    }
  }
}

bool Shift::Move(const std::string& name, const std::string& folder) {
  if (!IsAllowed()) return Stop("the administrator forbids the recording of usage data");
  const Taken taken = folder_.MoveTo(name, util::FromUtf8(folder));
  if (taken == Taken::kFailed && !Folder::CanWrite(util::FromUtf8(folder)))
    return Stop("the folder in url takes no document");
  taken == Taken::kDone ? Settle(name, taken, counts_.sent, "Moved") : Skip(name, taken);
  return true;
}

// False when the run ends.
bool Shift::WaitAfter(const std::string& name, const Reply& reply) {
  const int64_t now = util::UtcSeconds();
  const auto retryAfter = ParseRetryAfter(reply.retryAfter, now);
  if (retryAfter) {
    state_.url = settings_.url;
    state_.notBefore = now + retryAfter->count();
    SaveState();
  }
  const auto left = std::chrono::duration_cast<seconds>(end_ - Clock::now());
  const double random = std::uniform_real_distribution<>()(random_);
  const auto pause = PauseAfter(++failures_, settings_, retryAfter, random, left);
  if (pause && !upload_->IsStuck()) {
    Log().Info("To be repeated: " + Explain(reply), name);
    std::this_thread::sleep_for(*pause);
    return true;
  }
  if (reply.status == 0 && reply.wasConnected) {
    std::erase(state_.last, name);
    state_.last.push_back(name);
  }
  return false;
}

void Shift::Skip(const std::string& name, Taken taken) {
  constexpr std::string_view kWords[] = {"", "Gone", "In use", "Not to be read or taken"};
  ++counts_.skipped;
  Log().Info(kWords[static_cast<size_t>(taken)], name);
}

// Counts a document that the server has accepted or refused. Its file may still be there: replaced meanwhile,
// or in use.
void Shift::Settle(const std::string& name, Taken taken, size_t& count, std::string_view word) {
  failures_ = 0;
  state_.notBefore = 0;
  std::erase(state_.last, name);
  ++count;
  if (taken == Taken::kFailed) Stop("a document that the server has had cannot be deleted");
  Log().Info(taken == Taken::kDone || taken == Taken::kGone ? word : "Still there", name);
}

bool Shift::Stop(std::string_view why) {
  why_ = why;
  return false;
}

// Without a configuration there is no limit to enforce.
void Shift::HoldBudget() {
  if (!hasConfig_ || !IsAllowed()) return;
  const size_t count = folder_.HoldBudget(settings_.maxDiskSpace);
  if (count != 0) Log().Warning("Deleted for want of space", std::to_string(count));
}

void Shift::SaveState() {
  std::string counts;
  AppendCount(counts, counts_.sent, "sent ");
  AppendCount(counts, counts_.refused, "refused ");
  AppendCount(counts, counts_.skipped, "in use or gone ");
  state_.ended = util::UtcSeconds();
  state_.outcome = counts.empty() && why_.empty() ? "nothing to send" : counts;
  if (!why_.empty()) state_.outcome.append(counts.empty() ? "waits: " : "; waits: ").append(why_);
  static_cast<void>(folder_.WriteOwn(kStateFile, FormatState(state_)));
}

}  // namespace vantra::agent
