#include "Actor.h"

#include <windows.h>

#include "Faults.h"
#include "stage/Library.h"

namespace vantra::faults {
namespace {

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
      fault.end(plan);
  }
  return 0;
}

}  // namespace

void ActAs(uint64_t seed, int host) {
  const Plan plan = PlanOf(seed);
  Journal::Host& journal = stage::Shared<Journal>().hosts[host];
  stage::Library ut;
  ut.Initialize(kUsageKey, plan.isWatched, nullptr);
  if (plan.isPreRelease) ut.SetSerializationState(0);
  Session sessions[kMostSessions];
  for (const Call& call : ScriptOf(plan, host)) {
    Session& session = sessions[call.session];
    ++journal.begun;
    const int32_t result = Make(ut, call, session, plan, host);
    const uint32_t bit = 1u << call.session;
    if (call.act == Act::kStart && result != 0)
      journal.refused |= bit;
    else if (result != 0 && (journal.refused & bit) == 0)
      ++journal.unexpected;
    ++journal.returned;
  }
  if (host != 0) return;
  if (plan.end == End::kExit) ExitProcess(0);
  if (plan.end == End::kCrash) RaiseException(EXCEPTION_ACCESS_VIOLATION, 0, 0, nullptr);
}

}  // namespace vantra::faults
