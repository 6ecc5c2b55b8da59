#include "Checker.h"

#include <algorithm>

namespace vantra::faults {
namespace {

using stage::Record;

constexpr size_t kNever = SIZE_MAX;

// The text of a host's call in a record; empty when the record is the library's own.
std::string HostsText(const Record& record) {
  const std::string text = record.element == "EventRec"   ? record["category"]
                           : record.element == "NewGroup" ? record["subcategory"]
                                                          : record["data"];
  return text.starts_with('@') ? text : std::string();
}

// Judges one session of a host.
class SessionJudge {
 public:
  SessionJudge(const Plan& plan, int host, int session, Made made, const Journal::Host& journal,
               const std::vector<Call>& script, Verdict& verdict)
      : plan_(plan),
        fault_(Faults()[plan.fault]),
        host_(host),
        session_(session),
        made_(made),
        begun_(journal.begun),
        returned_(journal.returned),
        isRefused_((journal.refused >> session & 1) != 0),
        script_(script),
        verdict_(verdict) {
    for (size_t i = 0; i < begun_; ++i) {
      const Call& call = script[i];
      if (call.act == Act::kFaultBegins) begins_ = i;
      if (call.act == Act::kFaultEnds) ends_ = i;
      if (call.session != session) continue;
      if (call.act == Act::kStart) start_ = i;
      if (call.act == Act::kClose) close_ = i;
    }
    if (fault_.begin == nullptr || host != 0) begins_ = 0;
    const bool isStruck =
        start_ <= ends_ && (begins_ <= close_ || fault_.loss == Loss::kEverything) && begins_ != kNever;
    loss_ = isStruck ? fault_.loss : Loss::kNothing;
  }

  void Judge(const std::vector<Document>& all) {
    const std::string user = FamilyOf(host_) + "_" + NameOf(session_);
    for (const Document& each : all) {
      if (each.user == user) (each.index < 0 ? crashes_ : documents_).push_back(&each);
    }
    JudgeStart();
    if (start_ == kNever || isRefused_) return;
    JudgeRecords();
    JudgeCrash();
    if (loss_ == Loss::kNothing && !isNameless_ && start_ < returned_) JudgeShape();
  }

 private:
  void Complain(const std::string& what) {
    verdict_.faults.push_back(FamilyOf(host_) + " " + NameOf(session_) + ": " + what);
  }
  [[nodiscard]] bool IsInFlight() const { return begun_ != returned_; }

  void JudgeStart() {
    if (made_ == Made::kRefuses && !documents_.empty()) Complain("bytes where nothing may be recorded");
    if (start_ == kNever || start_ >= returned_) return;
    const bool isLate = fault_.loss == Loss::kEverything && host_ == 0 && start_ > begins_;
    const bool isUnsure = made_ == Made::kMayRefuse || (fault_.loss == Loss::kEverything && host_ != 0);
    if (!isUnsure && isRefused_ != (made_ == Made::kRefuses || isLate)) {
      Complain(isRefused_ ? "refused" : "started where it may not");
    }
    if (isRefused_ && !documents_.empty()) Complain("refused, and recorded");
  }

  // Each record is what its call said, in order, and takes a number of its own.
  void JudgeRecords() {
    std::vector<size_t> wanted;
    for (size_t i = 0; i < begun_; ++i) {
      const Call& call = script_[i];
      if (call.session == session_ && call.act >= Act::kAdd && call.act <= Act::kAddToGroup)
        wanted.push_back(i);
    }
    size_t next = 0;
    int64_t seq = -1;
    int64_t textSeq = -1;  // of the last record of the host's
    std::string group = "1";
    for (const Document* document : documents_) {
      for (const Record& record : document->records) {
        if (record.element == "/") continue;
        const int64_t number = std::stoll("0" + record["seq"]);
        if (number <= seq) return Complain("number " + record["seq"] + " comes again or late");
        if (loss_ == Loss::kNothing && number != seq + 1)
          Complain("numbers are missing before " + record["seq"]);
        seq = number;
        const std::string text = HostsText(record);
        if (text.empty()) continue;
        const size_t from = next;
        while (next < wanted.size() && script_[wanted[next]].text != text) Miss(wanted[next++]);
        if (next == wanted.size()) return Complain("not recorded by the host, or twice, or late: " + text);
        if (static_cast<int64_t>(next - from) >= number - textSeq)
          Complain("missing without a gap before " + text);
        textSeq = number;
        if (loss_ == Loss::kEverything && host_ == 0 && document->IsFinal() && wanted[next] > begins_)
          Complain("finished without consent: " + text);
        const Call& call = script_[wanted[next++]];
        if (call.act == Act::kGroup) group = record["group"];
        const bool isOfGroup = call.act == Act::kAddToGroup && loss_ == Loss::kNothing;
        if (isOfGroup && record["group"] != group) Complain("in another group: " + text);
        hasMissedBefore_ |= isMissing_;
      }
    }
    while (next < wanted.size()) Miss(wanted[next++]);
    isNameless_ = made_ == Made::kNoNames && documents_.empty();
    if (loss_ == Loss::kRestOfSession && isMissing_ && !IsInFlight()) JudgeSilence();
  }

  // A call that has returned, and whose record is not there.
  void Miss(size_t call) {
    if (call >= returned_) return;
    const bool isLawful = loss_ == Loss::kEverything || loss_ == Loss::kRestOfSession ||
                          (loss_ == Loss::kWhileItLasts && call >= begins_ && call <= ends_) ||
                          (made_ == Made::kNoNames && documents_.empty());
    if (!isLawful) Complain("lost: " + script_[call].text);
    ++verdict_.lost;
    isMissing_ = true;
  }

  // Nothing follows a failed write, and the document it happened in is gone.
  void JudgeSilence() {
    if (hasMissedBefore_) Complain("goes on after a failed write");
    for (const Document* document : documents_) {
      if (!document->IsEnded()) Complain("a document is left after a failed write");
    }
  }

  void JudgeCrash() {
    const bool isCrashed = host_ == 0 && plan_.end == End::kCrash && plan_.isWatched && close_ == kNever;
    if (!isCrashed && !crashes_.empty()) Complain("a crash that was none");
    if (!isCrashed || loss_ != Loss::kNothing || made_ != Made::kAllows) return;
    if (crashes_.size() != 1) return Complain(std::to_string(crashes_.size()) + " documents of its crash");
    std::string values;
    for (const Record& record : crashes_[0]->records) {
      if (record.element == "DataRec" && record["name"] != "UserID") values += record["data"] + " ";
    }
    if (values != "Skylamp AppCrash Crash " + NameOf(session_) + " " + FamilyOf(host_) + " ") {
      Complain("its crash tells " + values);
    }
  }

  // Whole documents, one after the other, of which only the last may be open.
  void JudgeShape() {
    const bool isClosed = close_ < returned_;
    std::string shape;  // a letter for each opening and closing, in order
    int optIns = 0;
    for (size_t i = 0; i < documents_.size(); ++i) {
      const Document& document = *documents_[i];
      const bool isLast = i + 1 == documents_.size();
      if (document.index != static_cast<int>(i)) Complain("documents are missing or double");
      if (!isLast && !document.IsFinal() && !fault_.hindersFinish)
        Complain("an open document that is not the last");
      if (isClosed && !document.IsFinal() && !fault_.hindersFinish)
        Complain("closed, and a document is open");
      for (const Record& record : document.records) {
        if (record.element == "/" || record.element.ends_with("Session")) shape += record.element[0];
        if (record["name"] == "OptedIn") optIns += record["data"] != "FALSE";
      }
    }
    std::string wanted = "S";
    while (wanted.size() < shape.size() && shape.compare(wanted.size(), 3, "S/R") == 0) wanted += "S/R";
    if (isClosed) wanted += "E/";
    // The last record may fill the document, whose successor is then empty.
    if (shape != wanted && shape != wanted + "S/R" && !IsInFlight())
      Complain("documents begin and end as " + shape);
    if (isClosed && optIns != 1) Complain("no consent is recorded at its end");
    if (close_ == kNever && !IsInFlight() && (documents_.empty() || documents_.back()->IsFinal())) {
      Complain("not closed, and no document is open");
    }
  }

  const Plan& plan_;
  const Fault& fault_;
  const int host_;
  const int session_;
  const Made made_;
  const size_t begun_;
  const size_t returned_;
  const bool isRefused_;
  const std::vector<Call>& script_;
  Verdict& verdict_;
  size_t begins_ = kNever;
  size_t ends_ = kNever;
  size_t start_ = kNever;
  size_t close_ = kNever;
  Loss loss_ = Loss::kNothing;
  std::vector<const Document*> documents_;
  std::vector<const Document*> crashes_;
  bool isNameless_ = false;
  bool isMissing_ = false;
  bool hasMissedBefore_ = false;
};

// When the last session of the only host was closed after consent or agent had gone, or has crashed with it,
// nothing is left.
void JudgeDeletion(const Plan& plan, const Journal::Host& journal, const std::vector<Call>& script,
                   const std::vector<Document>& documents, Verdict& verdict) {
  if (Faults()[plan.fault].loss != Loss::kEverything || plan.hosts != 1 || journal.returned != script.size())
    return;
  const auto isAct = [](Act act) { return [act](const Call& call) { return call.act == act; }; };
  const auto begins = std::ranges::find_if(script, isAct(Act::kFaultBegins));
  const auto started = [&](auto from, auto to, Act act) {
    return std::count_if(from, to, [&](const Call& call) {
      return call.act == act && (journal.refused >> call.session & 1) == 0;
    });
  };
  const auto open =
      started(script.begin(), begins, Act::kStart) - started(script.begin(), begins, Act::kClose);
  const auto closed = started(begins, script.end(), Act::kClose);
  const bool isLast =
      open == closed || (begins != script.end() && Faults()[plan.fault].others != Others::kNone);
  if (open != 0 && isLast && !documents.empty()) verdict.faults.push_back("documents outlive the consent");
}

}  // namespace

void JudgeHost(const Plan& plan, int host, Made made, const Journal::Host& journal,
               const std::vector<Document>& documents, Verdict& verdict) {
  const std::vector<Call> script = ScriptOf(plan, host);
  for (int session = 0; session < kMostSessions; ++session) {
    SessionJudge(plan, host, session, made, journal, script, verdict).Judge(documents);
  }
  if (journal.unexpected != 0) {
    verdict.faults.push_back(FamilyOf(host) + ": " + std::to_string(journal.unexpected) + " calls failed");
  }
  JudgeDeletion(plan, journal, script, documents, verdict);
}

}  // namespace vantra::faults
