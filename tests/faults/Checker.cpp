#include <algorithm>

#include "Campaign.h"

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

// One session of a host, and the judge of it.
struct Session {
  const Plan& plan;
  const int host, session;
  const Made made;
  const std::vector<Call>& script;
  Verdict& verdict;
  const size_t begun, returned;
  const bool isRefused;

  const Fault& fault = FaultOf(plan);
  const size_t start = Find(Act::kStart), close = Find(Act::kClose), ends = Find(Act::kFaultEnds),
               begins = fault.begin == nullptr || host != 0 ? 0 : Find(Act::kFaultBegins);
  const bool isStruck =
      start <= ends && begins != kNever && (begins <= close || fault.loss == Loss::kEverything);
  const Loss loss = isStruck ? fault.loss : Loss::kNothing;
  std::vector<const Document*> documents = {}, crashes = {};
  bool isMissing = false, isMissingInside = false;  // a record; one that others follow

  void Judge(const std::vector<Document>& all) {
    for (const Document& each : all) {
      if (each.user == FamilyOf(host) + "_" + NameOf(session))
        (each.index < 0 ? crashes : documents).push_back(&each);
    }
    JudgeStart();
    if (start == kNever || isRefused) return;
    JudgeRecords();
    JudgeCrash();
    const bool isNameless = made == Made::kNoNames && documents.empty();
    if (loss == Loss::kNothing && !isNameless && start < returned) JudgeShape();
  }

 private:
  [[nodiscard]] size_t Find(Act act) const {
    const auto fits = [&](const Call& call) {
      return call.act == act && (call.session == session || act >= Act::kFaultBegins);
    };
    const auto found = std::find_if(script.begin(), script.begin() + static_cast<ptrdiff_t>(begun), fits);
    const auto at = static_cast<size_t>(found - script.begin());
    return at == begun ? kNever : at;
  }
  void Complain(bool isWrong, const std::string& what) {
    if (isWrong) verdict.faults.push_back(FamilyOf(host) + " " + NameOf(session) + ": " + what);
  }

  void JudgeStart() {
    Complain(made == Made::kRefuses && !documents.empty(), "bytes where nothing may be recorded");
    if (start >= returned) return;
    const bool isWithdrawn = fault.loss == Loss::kEverything;
    const bool isUnsure = made == Made::kMayRefuse || (isWithdrawn && host != 0);
    const bool mustRefuse = made == Made::kRefuses || (isWithdrawn && host == 0 && start > begins);
    Complain(!isUnsure && isRefused != mustRefuse, isRefused ? "refused" : "started where it may not");
    Complain(isRefused && !documents.empty(), "refused, and recorded");
  }

  // Each record is what its call said, in order, and takes a number of its own.
  void JudgeRecords() {
    std::vector<size_t> wanted;
    for (size_t i = 0; i < begun; ++i) {
      const Act act = script[i].act;
      if (script[i].session == session && act >= Act::kAdd && act <= Act::kAddToGroup) wanted.push_back(i);
    }
    size_t next = 0;
    int64_t seq = -1, textSeq = -1;  // of the last record, and of the last of the host's
    for (const Document* document : documents) {
      for (const Record& record : document->records) {
        if (record.element == "/") continue;
        const int64_t number = std::stoll("0" + record["seq"]);
        if (number <= seq) return Complain(true, "number " + record["seq"] + " comes again or late");
        Complain(loss == Loss::kNothing && number != seq + 1, "numbers are missing before " + record["seq"]);
        seq = number;
        const std::string text = HostsText(record);
        if (text.empty()) continue;
        const size_t from = next;
        while (next < wanted.size() && script[wanted[next]].text != text) Miss(wanted[next++]);
        if (next == wanted.size())
          return Complain(true, "not recorded by the host, or twice, or late: " + text);
        Complain(static_cast<int64_t>(next - from) >= number - textSeq,
                 "missing without a gap before " + text);
        Complain(loss == Loss::kEverything && host == 0 && document->IsFinal() && wanted[next] > begins,
                 "finished without consent: " + text);
        textSeq = number;
        ++next;
        isMissingInside |= isMissing;
      }
    }
    while (next < wanted.size()) Miss(wanted[next++]);
    if (loss != Loss::kRestOfSession || !isMissing || begun != returned) return;
    Complain(isMissingInside, "goes on after a failed write");
    Complain(!std::ranges::all_of(documents, &Document::IsEnded), "a document is left after a failed write");
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

  void JudgeCrash() {
    const bool isCrashed = host == 0 && plan.end == End::kCrash && plan.isWatched && close == kNever;
    Complain(!isCrashed && !crashes.empty(), "a crash that was none");
    if (!isCrashed || loss != Loss::kNothing || made != Made::kAllows) return;
    if (crashes.size() != 1)
      return Complain(true, std::to_string(crashes.size()) + " documents of its crash");
    std::string values;
    for (const Record& record : crashes[0]->records) {
      if (record.element == "DataRec" && record["name"] != "UserID") values += record["data"] + " ";
    }
    const std::string wanted = "Skylamp AppCrash Crash " + NameOf(session) + " " + FamilyOf(host) + " ";
    Complain(values != wanted, "its crash tells " + values);
  }

  // Whole documents, one after the other, of which only the last may be open.
  void JudgeShape() {
    const bool isClosed = close < returned, mayBeOpen = fault.hindersFinish, isInFlight = begun != returned;
    std::string shape;  // a letter for each opening and closing, in order
    int optIns = 0;
    for (size_t i = 0; i < documents.size(); ++i) {
      const Document& document = *documents[i];
      const bool mustBeFinal = (isClosed || i + 1 != documents.size()) && !mayBeOpen;
      Complain(document.index != static_cast<int>(i), "documents are missing or double");
      Complain(mustBeFinal && !document.IsFinal(),
               "a document is open that is not the last, or after its close");
      for (const Record& record : document.records) {
        if (record.element == "/" || record.element.ends_with("Session")) shape += record.element[0];
        if (record["name"] == "OptedIn") optIns += record["data"] != "FALSE";
      }
    }
    std::string wanted = "S";
    while (wanted.size() < shape.size() && shape.compare(wanted.size(), 3, "S/R") == 0) wanted += "S/R";
    if (isClosed) wanted += "E/";
    // The last record may fill the document, whose successor is then empty.
    Complain(shape != wanted && shape != wanted + "S/R" && !isInFlight,
             "documents begin and end as " + shape);
    Complain(isClosed && optIns != 1, "no consent is recorded at its end");
    Complain(close == kNever && !isInFlight && (documents.empty() || documents.back()->IsFinal()),
             "not closed, and no document is open");
  }
};

// When the last session of the only host was closed after consent or agent had gone, or has crashed with it,
// nothing is left.
bool MustBeEmpty(const Plan& plan, const Journal::Host& journal, const std::vector<Call>& script) {
  if (FaultOf(plan).loss != Loss::kEverything || plan.hosts != 1 || journal.returned != script.size())
    return false;
  const auto begins = std::ranges::find(script, Act::kFaultBegins, &Call::act);
  const auto count = [&](auto from, auto to, Act act) {
    return std::count_if(from, to, [&](const Call& call) {
      return call.act == act && (journal.refused >> call.session & 1) == 0;
    });
  };
  const auto open = count(script.begin(), begins, Act::kStart) - count(script.begin(), begins, Act::kClose);
  const bool isCrashed = begins != script.end() && FaultOf(plan).others != Others::kNone;
  return open != 0 && (isCrashed || open == count(begins, script.end(), Act::kClose));
}

}  // namespace

void JudgeHost(const Plan& plan, int host, Made made, const Journal::Host& journal,
               const std::vector<Document>& documents, Verdict& verdict) {
  const std::vector<Call> script = ScriptOf(plan, host);
  for (int i = 0; i < kMostSessions; ++i) {
    const bool isRefused = (journal.refused >> i & 1) != 0;
    Session{plan, host, i, made, script, verdict, journal.begun, journal.returned, isRefused}.Judge(
        documents);
  }
  if (journal.unexpected != 0)
    verdict.faults.push_back(FamilyOf(host) + ": " + std::to_string(journal.unexpected) + " calls failed");
  if (MustBeEmpty(plan, journal, script) && !documents.empty())
    verdict.faults.emplace_back("documents outlive the consent");
}

}  // namespace vantra::faults
