// The checker's eyes: documents by their grammar, and what lies around them. It reads by itself, so that a
// mistake of the inspector's reader cannot hide one of the library's.
#include <algorithm>
#include <stdexcept>

#include "Campaign.h"

namespace vantra::faults {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kMarker = "R-M$ke#$vQPo5lupadix";
constexpr std::string_view kPrologue =
    "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n\n<UsageDoc version=\"0.5.4\">\n";
constexpr std::string_view kEndTag = "</UsageDoc>\n", kRecordEnd = " />\n";

void Require(bool holds, const std::string& what) {
  if (!holds) throw std::runtime_error(what);
}

// An open .tmp may begin with the marker or not.
std::string Decoded(const Path& path) {
  std::string text = ReadFile(path);
  const bool isObfuscated = text.starts_with(kMarker);
  Require(path.extension() == ".tmp" || isObfuscated == (path.extension() == ".rdy"),
          "not what its name says");
  if (!isObfuscated) return text;
  text.erase(0, kMarker.size());
  for (char& c : text) {
    if (c >= '!' && c <= '~') c = static_cast<char>('!' + (c - '!' + 47) % 94);
  }
  return text;
}

// Each record, with "/" for each end tag.
std::vector<Record> WholeRecords(std::string_view text) {
  std::vector<Record> records;
  const bool hasPrologue = text.starts_with(kPrologue);
  if (hasPrologue) text.remove_prefix(kPrologue.size());
  while (!text.empty()) {
    if (text.starts_with(kEndTag)) {
      records.push_back({.session = {}, .element = "/", .group = {}, .attributes = {}});
      text.remove_prefix(kEndTag.size());
      continue;
    }
    const size_t end = text.find(kRecordEnd);
    const std::string_view record = text.substr(0, end == text.npos ? end : end + kRecordEnd.size());
    const std::vector<Record> one = end == text.npos ? std::vector<Record>() : Records(record);
    Require(one.size() == 1 && record.rfind('<') == 0, "no record: " + std::string(record.substr(0, 200)));
    const bool isOpening = one[0].element == "StartSession" || one[0].element == "ResumeSession";
    Require(isOpening == (hasPrologue && records.empty()), "a beginning where none should be");
    records.push_back(one[0]);
    text.remove_prefix(record.size());
  }
  return records;
}

// ulog_<family>_<name>_<user>_<session>[_<index>].<extension>
Document Named(const Path& path) {
  const std::string stem = Utf8(path.stem().native());
  const std::string last = stem.substr(stem.rfind('_') + 1);
  return {path, stem.substr(5, 5), last.size() == 36 ? -1 : std::stoi(last), {}};
}

// Whether a thread may end between two steps of a call.
bool MayEndAThread(const Plan& plan) {
  return plan.end == End::kKill || FaultOf(plan).others != Others::kNone;
}

// What the library writes, and what the faults themselves make and remove.
bool MayDiffer(const Plan& plan, const std::string& path) {
  const auto isBelow = [&](const char* folder) {
    return path.starts_with("AppData/Tolvex/" + std::string(folder));
  };
  const bool isLibrarys = isBelow("Sendrix2/Logs/ulog_") || isBelow("Sendrix2/Outbox/") ||
                          isBelow("Sendrix2/Sendrix2.lock") || isBelow("Sendrix2/Sendrix2.state") ||
                          path.starts_with(kUsage) || path == "AppData/Tolvex/Sendrix2/Sendrix2.cfg" ||
                          (isBelow("Sendrix2/Sendrix2.cfg.") && MayEndAThread(plan)) ||
                          (isBelow("Skylamp/") && plan.isLogged);
  const bool isLogs = path.find("/Logs") != path.npos && FaultOf(plan).begin != nullptr;
  return isLibrarys || isLogs || path == "Sendrix2.exe" || path.ends_with("/ballast") ||
         path.find("/Moved/") != path.npos || isBelow("Sendrix2/Sendrix2.cfg/");
}

}  // namespace

void CompareSurroundings(const Plan& plan, const Surroundings& before, Verdict& verdict) {
  const Surroundings after = LookAround();
  const auto compare = [&](const Surroundings& all, const Surroundings& others, const char* how) {
    for (const auto& [path, content] : all) {
      const auto other = others.find(path);
      if (other == others.end() || other->second != content) {
        if (!MayDiffer(plan, path)) verdict.faults.push_back(path + how);
      }
    }
  };
  compare(before, after, " is gone or was changed");
  compare(after, before, " is new or was changed");
  const Switch status = FaultOf(plan).status;
  if (status != Switch::kAny && ReadFile(AgentFolder() / "Sendrix2.cfg") != ConfigText(status))
    verdict.faults.emplace_back("the agent's configuration was changed");
}

std::vector<Document> ReadDocuments(const Plan& plan, Verdict& verdict) {
  const bool isFailing = FaultOf(plan).loss == Loss::kRestOfSession;
  std::vector<Document> documents;
  for (const Path& folder : {Logs(), AgentFolder() / "Moved", AgentFolder() / "Outbox"}) {
    for (const std::string& name : FilesIn(folder)) {
      const Path path = folder / Wide(name);
      // Wine cuts a name at 255 bytes, its end included: such a document is as good as none.
      const bool isWhole = name.ends_with(".tmp") || name.ends_with(".xml") || name.ends_with(".rdy");
      if (!name.starts_with("ulog_") || !isWhole || !fs::is_regular_file(path)) continue;
      const bool isReport = name.starts_with("ulog_SkylampOptin");
      Document document = isReport ? Document{path, {}, -1, {}} : Named(path);
      // Written at one go, which a kill or a full disk may cut.
      const bool isSmall = document.index < 0;
      const bool mayBeCut = plan.end == End::kKill || isFailing || (isReport && MayEndAThread(plan));
      try {
        document.records = WholeRecords(Decoded(path));
        verdict.records += document.records.size();
        Require(!isSmall || document.IsEnded() || mayBeCut, "not whole");
      } catch (const std::exception& failure) {
        // A write that fails may cut a record, and a kill keep the library from deleting the document then.
        const bool isCut = name.ends_with(".tmp") && plan.end == End::kKill && isFailing;
        if (!isCut && !(isSmall && mayBeCut)) verdict.faults.push_back(name + ": " + failure.what());
      }
      if (!isReport) documents.push_back(std::move(document));
    }
  }
  std::ranges::sort(documents, {}, [](const Document& each) { return std::pair(each.user, each.index); });
  return documents;
}

}  // namespace vantra::faults
