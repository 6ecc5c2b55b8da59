// The inspector's reader holds the documents against their format. This says which of its rules a fault may
// break, and judges what no reader can know: whether each record whose call has returned is there once, in
// order and whole, or lost by a rule, and what has become of its document.
#include <algorithm>

#include "Campaign.h"
#include "stage/Document.h"

namespace vantra::faults {
namespace {

constexpr size_t kNever = SIZE_MAX;

// The text of a host's call in a record; empty when the record is the library's own.
std::string HostsText(const Record& record) {
  const std::string text = record.element == "EventRec"   ? record["category"]
                           : record.element == "NewGroup" ? record["subcategory"]
                                                          : record["data"];
  return text.starts_with('@') ? text : std::string();
}

// Whether a thread may end between two steps of a call.
bool MayEndAThread(const Plan& plan) {
  return plan.end == End::kKill || FaultOf(plan).others != Others::kNone;
}

// One session of a host, and the judge of it.
struct Session {
  const Plan& plan;
  const int host, session;
  const Made made;
  const std::vector<Call>& script;
  const Journal::Host& journal;
  Lines& faults;

  const size_t begun = journal.begun, returned = journal.returned;
  const bool isRefused = (journal.refused >> session & 1) != 0;
  const Fault& fault = FaultOf(plan);
  const size_t start = Find(Act::kStart), close = Find(Act::kClose), ends = Find(Act::kFaultEnds),
               begins = fault.begin == nullptr || host != 0 ? 0 : Find(Act::kFaultBegins);
  const bool isClosed = close < returned;
  const bool isStruck =
      start <= ends && begins != kNever && (begins <= close || fault.loss == Loss::kEverything);
  const Loss loss = isStruck ? fault.loss : Loss::kNothing;
  std::vector<const Document*> documents = {}, crashes = {};
  bool isMissing = false;  // a record

  void Judge(const std::vector<Document>& all) {
    const std::string beginning = "ulog_" + FamilyOf(host) + "_" + NameOf(session) + "_";
    for (const Document& each : all) {
      const bool isFaults = loss == Loss::kWhileItLasts && each.records.empty() && each.IsOpen();
      if (each.name.starts_with(beginning) && !isFaults) (each.index ? documents : crashes).push_back(&each);
    }
    JudgeStart();
    if (start == kNever || isRefused) return;
    JudgeRecords();
    JudgeFormat();
    JudgeCrash();
    const bool isNameless = made == Made::kNoNames && documents.empty();
    if (loss == Loss::kNothing && !isNameless && start < returned) JudgeDocuments();
  }

 private:
  // The first such call that has begun.
  [[nodiscard]] size_t Find(Act act) const {
    for (size_t i = 0; i < begun; ++i)
      if (script[i].act == act && (script[i].session == session || act >= Act::kFaultBegins)) return i;
    return kNever;
  }
  void Complain(bool isWrong, const std::string& what) {
    if (isWrong) faults.push_back(FamilyOf(host) + " " + NameOf(session) + ": " + what);
  }

  void JudgeStart() {
    Complain((isRefused || made == Made::kRefuses) && !documents.empty(), "recorded where nothing may be");
    const bool isWithdrawn = fault.loss == Loss::kEverything;
    if (start >= returned || made == Made::kMayRefuse || (isWithdrawn && host != 0)) return;
    const bool mustRefuse = made == Made::kRefuses || (isWithdrawn && start > begins);
    Complain(isRefused != mustRefuse, isRefused ? "refused" : "started where it may not");
  }

  // Each record is what its call said, in order, and takes a number of its own.
  void JudgeRecords() {
    std::vector<size_t> wanted;
    for (size_t i = 0; i < begun; ++i)
      if (script[i].session == session && !script[i].text.empty()) wanted.push_back(i);
    size_t next = 0;
    int64_t last = -1;  // number of a record of the host's
    for (const Document* document : documents) {
      for (const Record& record : document->records) {
        const std::string text = HostsText(record);
        if (text.empty()) continue;
        const size_t from = next;
        while (next < wanted.size() && script[wanted[next]].text != text) Miss(wanted[next++]);
        if (next == wanted.size())
          return Complain(true, "not recorded by the host, or twice, or late: " + text);
        const int64_t number = std::stoll(record["seq"]);
        Complain(static_cast<int64_t>(next - from) >= number - last, "missing without a gap before " + text);
        Complain(loss == Loss::kRestOfSession && isMissing, "goes on after a failed write: " + text);
        Complain(loss == Loss::kEverything && host == 0 && document->IsFinal() && wanted[next] > begins,
                 "finished without consent: " + text);
        last = number;
        ++next;
      }
    }
    while (next < wanted.size()) Miss(wanted[next++]);
  }

  // The record of a call is not there; one that has not returned has not promised it.
  void Miss(size_t call) {
    if (call >= returned) return;
    const bool isLawful = loss == Loss::kEverything || loss == Loss::kRestOfSession ||
                          (loss == Loss::kWhileItLasts && call >= begins && call <= ends) ||
                          (made == Made::kNoNames && documents.empty());
    Complain(!isLawful, "lost: " + script[call].text);
    isMissing = true;
  }

  // Only the last document may be open, and none after a failed write. Lost records can be the beginning of a
  // document and those that open groups.
  void JudgeFormat() {
    const bool isSilenced = loss == Loss::kRestOfSession && isMissing && begun == returned;
    const bool mayBeCut = loss == Loss::kRestOfSession && plan.end == End::kKill;
    for (const Document* document : documents) {
      for (const auto& [rule, text] : document->findings) {
        const bool isOfLoss = rule == "gap" || rule == "no-prologue" || rule == "group";
        const bool isLawful =
            rule == "open" ? document == documents.back() && !isClosed && !isSilenced
                           : (loss == Loss::kWhileItLasts && isOfLoss) || (mayBeCut && !document->IsFinal());
        Complain(!isLawful, text);
      }
    }
  }

  void JudgeCrash() {
    const bool isCrashed = host == 0 && plan.end == End::kCrash && plan.isWatched && close == kNever;
    Complain(!isCrashed && !crashes.empty(), "a crash that was none");
    if (!isCrashed || loss != Loss::kNothing || made != Made::kAllows) return;
    std::string values;
    for (const Document* crash : crashes) {
      for (const Record& record : crash->records)
        if (record.element == "DataRec" && record["name"] != "UserID") values += record["data"] + " ";
    }
    const std::string wanted = "Skylamp AppCrash Crash " + NameOf(session) + " " + FamilyOf(host) + " ";
    Complain(values != wanted, "its crash tells " + values);
  }

  // All are there, and have their final names but for the one in use.
  void JudgeDocuments() {
    const bool isInUse = close == kNever && begun == returned;
    int starts = 0, consents = 0;
    for (size_t i = 0; i < documents.size(); ++i) {
      const Document& document = *documents[i];
      const bool mustBeFinal = (isClosed || i + 1 != documents.size()) && !fault.hindersFinish;
      Complain(document.index != static_cast<int>(i), "documents are missing or double");
      Complain(mustBeFinal && !document.IsFinal(), "not finished: " + document.name);
      for (const Record& record : document.records) {
        starts += record.element == "StartSession";
        consents += record["name"] == "OptedIn" && record["data"] != "FALSE";
      }
    }
    Complain(isInUse && (documents.empty() || documents.back()->IsFinal()), "no document is open");
    Complain(starts != 1 || (isClosed && consents != 1), "no start, or no consent at its end");
  }
};

// After the last session of the only host was closed without consent or agent, or has crashed, nothing is
// left.
bool MustBeEmpty(const std::vector<Session>& sessions) {
  bool wasOpen = false, isOpen = false;
  for (const Session& each : sessions) {
    if (each.isRefused || each.start > each.begins || each.close < each.begins) continue;
    wasOpen = true;
    isOpen |= each.close == kNever;
  }
  return wasOpen && (!isOpen || sessions[0].fault.others != Others::kNone);
}

// What belongs to no session of the scripts: documents of crashes and of changed opt-ins, each written at one
// go, which a kill or a full disk may cut, and those of the threads that go on through a crash.
void JudgeOthers(const Plan& plan, const std::vector<Document>& documents, Lines& faults) {
  for (const Document& document : documents) {
    const bool isReport = document.name.starts_with("ulog_SkylampOptin");
    const bool isThreads = document.name.starts_with("ulog_F0_T");
    const bool mayBeCut = plan.end == End::kKill || FaultOf(plan).loss == Loss::kRestOfSession ||
                          (isReport && MayEndAThread(plan));
    if (document.index ? !isThreads : mayBeCut) continue;
    for (const auto& [rule, text] : document.findings)
      if (!document.index || rule != "open") faults.push_back(text);
  }
}

}  // namespace

Lines Judge(const Plan& plan, Made made) {
  Lines faults;
  const std::vector<Document> documents =
      ReadDocuments({Logs(), AgentFolder() / "Moved", AgentFolder() / "Outbox"});
  JudgeOthers(plan, documents, faults);
  for (int host = 0; host < plan.hosts; ++host) {
    const Journal::Host& journal = Shared<Journal>().hosts[host];
    const std::vector<Call> script = ScriptOf(plan, host);
    std::vector<Session> sessions;
    for (int i = 0; i < kMostSessions; ++i)
      sessions.emplace_back(plan, host, i, made, script, journal, faults).Judge(documents);
    if (journal.unexpected != 0)
      faults.push_back(FamilyOf(host) + ": " + std::to_string(journal.unexpected) + " calls failed");
    const bool isAlone = plan.hosts == 1 && journal.returned == script.size();
    const bool isEmpty = std::ranges::none_of(documents, [](auto& each) { return each.index.has_value(); });
    if (isAlone && FaultOf(plan).loss == Loss::kEverything && MustBeEmpty(sessions) && !isEmpty)
      faults.emplace_back("documents outlive the consent");
  }
  return faults;
}

Surroundings Bystanders(const Plan& plan) {
  const Fault& fault = FaultOf(plan);
  const auto mayDiffer = [&](const auto& each) {
    const std::string_view path = each.first;
    const auto isBelow = [&](const char* end) {
      return path.starts_with("AppData/Tolvex/Sendrix2/" + std::string(end));
    };
    const bool isConfig = path.ends_with("/Sendrix2.cfg") || isBelow("Sendrix2.cfg/");
    return path.starts_with(kUsage) || isBelow("Logs/ulog_") || isBelow("Outbox/") ||
           isBelow("Sendrix2.lock") || isBelow("Sendrix2.state") || (isConfig && fault.isInConfig) ||
           (isBelow("Sendrix2.cfg.") && MayEndAThread(plan)) ||
           (path.starts_with("AppData/Tolvex/Skylamp/") && plan.isLogged) ||
           (fault.loss == Loss::kWhileItLasts && (isBelow("Logs") || isBelow("Moved/"))) ||
           isBelow("Logs/ballast") || (fault.loss == Loss::kEverything && path == "Sendrix2.exe");
  };
  Surroundings found = LookAround();
  std::erase_if(found, mayDiffer);
  return found;
}

}  // namespace vantra::faults
