#include <latch>
#include <thread>

#include "Campaign.h"
#include "stage/Host.h"

namespace vantra::faults {
namespace {

struct Session {
  void* handle = nullptr;
  uint32_t group = 0;  // the last one opened
};

int32_t Start(Library& ut, void*& handle, int host, const std::string& name) {
  return ut.StartSession(&handle, FamilyOf(host).c_str(), name.c_str(), "1", "2", "en");
}

// 0 when the call did as it should.
int32_t Make(Library& ut, const Call& call, Session& session, const Plan& plan, int host) {
  const char* const text = call.text.c_str();
  const Fault& fault = FaultOf(plan);
  switch (call.act) {
    case Act::kStart:
      return Start(ut, session.handle, host, NameOf(call.session));
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
void Crash(Library& ut, const Session (&sessions)[kMostSessions], const Plan& plan) {
  const Others others = FaultOf(plan).others;
  const unsigned threads = others == Others::kNone ? 0 : 4;
  std::latch ready(threads + 1);
  const auto act = [&](unsigned thread) {
    const std::string name = "T" + std::to_string(thread);
    void* own[8]{};
    for (void*& each : own) Start(ut, each, 0, name);
    ready.arrive_and_wait();
    if (others == Others::kCrash) {
      std::this_thread::sleep_for(std::chrono::microseconds(thread * (plan.choice % 1000)));
      RaiseException(kCrashCode, 0, 0, nullptr);
    }
    for (;;) {
      if (others == Others::kRecord)
        for (const Session& session : sessions) ut.AddToSession(session.handle, "k", name.c_str());
      for (void*& each : own) each == nullptr ? Start(ut, each, 0, name) : ut.CloseSession(&each);
    }
  };
  ut.GetOptIn();  // a choice that another process has made is known now
  for (unsigned i = 0; i < threads; ++i) std::thread(act, i).detach();
  ready.arrive_and_wait();
  if (others != Others::kCrash) Sleep(plan.choice % 20);
  RaiseException(kCrashCode, 0, 0, nullptr);
}

}  // namespace

void ActAs(uint64_t seed, int host) {
  const Plan plan = PlanOf(seed);
  Journal::Host& journal = Shared<Journal>().hosts[host];
  Library ut;
  ut.Initialize(kUsageKey, plan.isWatched, nullptr);
  if (plan.isPreRelease) ut.SetSerializationState(0);
  Session sessions[kMostSessions];
  for (const Call& call : ScriptOf(plan, host)) {
    Session& session = sessions[call.session];
    ++journal.begun;
    const bool isStart = call.act == Act::kStart, mayStart = !Shared<Journal>().isDisabled;
    const bool isRefused = Make(ut, call, session, plan, host) != 0;
    const uint32_t bit = 1U << call.session;
    if (isStart && isRefused) journal.refused |= bit;
    if (isStart ? !isRefused && !mayStart : isRefused && (journal.refused & bit) == 0) ++journal.unexpected;
    ++journal.returned;
  }
  if (host != 0) return;
  if (plan.end == End::kExit) ExitProcess(0);
  if (plan.end == End::kCrash) Crash(ut, sessions, plan);
}

}  // namespace vantra::faults
