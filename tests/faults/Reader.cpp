// The checker's eyes: documents by their grammar, and what lies around them.
#include <algorithm>

#include "Checker.h"

namespace vantra::faults {
namespace {

namespace fs = std::filesystem;
using namespace vantra::stage;  // NOLINT: the campaign's own language

// Whether a thread may end between two steps of a call.
bool MayEndAThread(const Plan& plan) {
  return plan.end == End::kKill || Faults()[plan.fault].others != Others::kNone;
}

bool IsReport(const std::string& name) { return name.starts_with("ulog_SkylampOptin"); }

// ulog_<family>_<name>_<user>_<session>[_<index>].<extension>
Document Named(const Path& path) {
  const std::string stem = Utf8(path.stem().native());
  const size_t last = stem.rfind('_') + 1;
  const bool isCrash = stem.size() - last == 36;
  return {.path = path,
          .user = stem.substr(5, 5),
          .index = isCrash ? -1 : std::stoi(stem.substr(last)),
          .records = {}};
}

bool IsLibrarys(const Plan& plan, const std::string& path) {
  const auto isBelow = [&](const char* folder) {
    return path.starts_with("AppData/Tolvex/" + std::string(folder));
  };
  return isBelow("Sendrix2/Logs/ulog_") || isBelow("Sendrix2/Outbox/") || isBelow("Sendrix2/Sendrix2.lock") ||
         isBelow("Sendrix2/Sendrix2.state") || path.starts_with("HKCU " + std::string(kUsage)) ||
         path == "AppData/Tolvex/Sendrix2/Sendrix2.cfg" ||
         (isBelow("Sendrix2/Sendrix2.cfg.") && MayEndAThread(plan)) || (isBelow("Skylamp/") && plan.isLogged);
}

// What the faults themselves make and remove.
bool IsFaults(const Plan& plan, const std::string& path) {
  const bool isLogs = path.find("/Logs") != path.npos && Faults()[plan.fault].begin != nullptr;
  return isLogs || path == "Sendrix2.exe" || path.ends_with("/ballast") ||
         path.find("/Moved/") != path.npos || path.starts_with("AppData/Tolvex/Sendrix2/Sendrix2.cfg/");
}

}  // namespace

void CompareSurroundings(const Plan& plan, const Surroundings& before, Verdict& verdict) {
  Surroundings after = LookAround();
  const auto differ = [&](const std::string& path, const char* how) {
    if (!IsLibrarys(plan, path) && !IsFaults(plan, path)) verdict.faults.push_back(path + how);
  };
  for (const auto& [path, content] : before) {
    const auto found = after.find(path);
    if (found == after.end())
      differ(path, " is gone");
    else if (found->second != content)
      differ(path, " was changed");
    if (found != after.end()) after.erase(found);
  }
  for (const auto& [path, content] : after) differ(path, " was made");
  const Switch status = Faults()[plan.fault].status;
  if (status != Switch::kAny && ReadFile(AgentFolder() / "Sendrix2.cfg") != ConfigText(status)) {
    verdict.faults.push_back("the agent's configuration was changed");
  }
}

std::vector<Document> ReadDocuments(const Plan& plan, Verdict& verdict) {
  const bool maySuffer = plan.end == End::kKill || Faults()[plan.fault].loss == Loss::kRestOfSession;
  const bool mayReportSuffer = maySuffer || MayEndAThread(plan);
  std::vector<Document> documents;
  for (const Path& folder : {Logs(), AgentFolder() / "Moved", AgentFolder() / "Outbox"}) {
    for (const std::string& name : FilesIn(folder)) {
      const Path path = folder / Wide(name);
      // Wine cuts a name at 255 bytes, its end included: such a document is as good as none.
      const bool isWhole = name.ends_with(".tmp") || name.ends_with(".xml") || name.ends_with(".rdy");
      if (!name.starts_with("ulog_") || !isWhole || !fs::is_regular_file(path)) continue;
      const bool isReport = IsReport(name);
      Document document =
          isReport ? Document{.path = path, .user = {}, .index = -1, .records = {}} : Named(path);
      const bool maySmallSuffer = isReport ? mayReportSuffer : maySuffer;
      const bool isCrash = document.index < 0;
      try {
        document.records = WholeRecords(ReadDocument(path));
        verdict.records += document.records.size();
        if (isCrash && !document.IsEnded() && !maySmallSuffer)
          verdict.faults.push_back(name + " is not whole");
      } catch (const std::exception& failure) {
        // A write that fails may cut a record, and a kill keep the library from deleting the document then.
        const bool isCut = name.ends_with(".tmp") && plan.end == End::kKill &&
                           Faults()[plan.fault].loss == Loss::kRestOfSession;
        if (!isCut && (!isCrash || !maySmallSuffer)) verdict.faults.push_back(name + ": " + failure.what());
      }
      if (!isReport) documents.push_back(std::move(document));
    }
  }
  std::ranges::sort(documents, {}, [](const Document& each) { return std::pair(each.user, each.index); });
  return documents;
}

}  // namespace vantra::faults
