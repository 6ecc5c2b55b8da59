#include "Actor.h"

#include <windows.h>

#include <algorithm>
#include <chrono>
#include <thread>

#include "Faults.h"
#include "stage/Library.h"

namespace vantra::faults {
namespace {

using std::chrono_literals::operator""us;

struct Session {
  void* handle = nullptr;
  uint32_t group = 0;  // the last one opened
};

// 0 when the call did as it should.
int32_t Make(stage::Library& ut, const Call& call, Session& session, const Plan& plan, int host) {
  const char* const text = call.text.c_str();
  const Fault& fault = Faults()[plan.fault];
  switch (call.act) {
    case Act::kStart:
      return ut.StartSession(&session.handle, FamilyOf(host).c_str(), NameOf(call.session).c_str(), "1", "2",
                             "en");
    case Act::kAdd:
      return ut.AddToSession(session.handle, "k", text);
    case Act::kEvent:
      return ut.LogEvent(session.handle, text, "e", "e", nullptr, 0);
    case Act::kGroup:
      return ut.NewDataGroup(session.handle, "g", text, "g", &session.group, nullptr, 0);
    case Act::kAddToGroup:  // which a silent session refuses
      if (session.group == 0) return ut.AddToSession(session.handle, "k", text);
      return ut.AddToGroup(session.handle, session.group, "k", text) != (session.group == UINT32_MAX ? 1 : 0);
    case Act::kClose:
      return ut.CloseSession(&session.handle);
    case Act::kFaultBegins:
      return fault.begin(plan) ? 0 : 1;
    case Act::kFaultEnds:
      if (fault.end != nullptr) fault.end(plan);
  }
  return 0;
}

// Ends the process while other threads do as they are told.
void Crash(stage::Library& ut, const Session (&sessions)[kMostSessions], const Plan& plan) {
  constexpr unsigned kThreads = 4;
  const Others others = Faults()[plan.fault].others;
  std::atomic<unsigned> ready = 0;
  const auto crash = [] { RaiseException(kCrashCode, 0, 0, nullptr); };
  const auto act = [&](unsigned thread) {
    const std::string name = "T" + std::to_string(thread);
    void* own[8]{};
    const auto start = [&](void*& each) {
      ut.StartSession(&each, FamilyOf(0).c_str(), name.c_str(), "1", "2", "en");
    };
    std::ranges::for_each(own, start);
    ++ready;
    while (others == Others::kCrash && ready <= kThreads) std::this_thread::yield();
    if (others == Others::kCrash) std::this_thread::sleep_for(thread * (plan.choice % 1000) * 1us);
    if (others == Others::kCrash) crash();
    for (;;) {
      if (others == Others::kRecord)
        for (const Session& session : sessions) ut.AddToSession(session.handle, "k", name.c_str());
      for (void*& each : own) each == nullptr ? start(each) : static_cast<void>(ut.CloseSession(&each));
    }
  };
  ut.GetOptIn();  // a choice that another process has made is known now
  for (unsigned i = 0; others != Others::kNone && i < kThreads; ++i) std::thread(act, i).detach();
  while (others != Others::kNone && ready < kThreads) std::this_thread::yield();
  if (others != Others::kCrash) Sleep(plan.choice % 20);
  ++ready;
  crash();
}

}  // namespace

void ActAs(uint64_t seed, int host) {
  const Plan plan = PlanOf(seed);
  const std::atomic<bool>& isDisabled = stage::Shared<Journal>().isDisabled;
  Journal::Host& journal = stage::Shared<Journal>().hosts[host];
  stage::Library ut;
  ut.Initialize(kUsageKey, plan.isWatched, nullptr);
  if (plan.isPreRelease) ut.SetSerializationState(0);
  Session sessions[kMostSessions];
  for (const Call& call : ScriptOf(plan, host)) {
    Session& session = sessions[call.session];
    ++journal.begun;
    const bool mayStart = !isDisabled;
    const int32_t result = Make(ut, call, session, plan, host);
    const uint32_t bit = 1u << call.session;
    if (call.act == Act::kStart && result == 0 && !mayStart) ++journal.unexpected;
    if (call.act == Act::kStart && result != 0)
      journal.refused |= bit;
    else if (result != 0 && (journal.refused & bit) == 0)
      ++journal.unexpected;
    ++journal.returned;
  }
  if (host != 0) return;
  if (plan.end == End::kExit) ExitProcess(0);
  if (plan.end == End::kCrash) Crash(ut, sessions, plan);
}

}  // namespace vantra::faults
