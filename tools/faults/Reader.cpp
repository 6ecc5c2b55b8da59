// The checker's eyes: documents by their grammar, and what lies around them.
#include <algorithm>

#include "Checker.h"

namespace vantra::faults {
namespace {

namespace fs = std::filesystem;
using namespace vantra::stage;  // NOLINT: the campaign's own language

constexpr std::string_view kPrologue =
    "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n\n<UsageDoc version=\"0.5.4\">\n";
constexpr std::string_view kEndTag = "</UsageDoc>\n";
constexpr std::string_view kRecordEnd = " />\n";

// A record whose values have everything escaped that has to be.
bool IsWellFormed(std::string_view record) {
  bool isValue = false;
  for (size_t i = 0; i < record.size(); ++i) {
    const char c = record[i];
    if (c == '"') {
      isValue = !isValue;
    } else if (isValue ? c == '<' || c == '>' || c == '\'' || c == '\\' || (c == '&' && record[i + 1] != '#')
                       : (c == '<') != (i == 0)) {
      return false;
    }
  }
  return !isValue;
}

// Throws at what is no record.
std::vector<Record> Scan(std::string_view text) {
  std::vector<Record> records;
  const bool hasPrologue = text.starts_with(kPrologue);
  if (hasPrologue) text.remove_prefix(kPrologue.size());
  while (!text.empty()) {
    if (text.starts_with(kEndTag)) {
      records.push_back({.session = {}, .element = "/", .attributes = {}});
      text.remove_prefix(kEndTag.size());
      continue;
    }
    const size_t end = text.find(kRecordEnd);
    const std::string_view record = text.substr(0, end == text.npos ? end : end + kRecordEnd.size());
    const std::vector<Record> one = end == text.npos ? std::vector<Record>() : Records(record);
    if (one.size() != 1 || (one[0].element != "ResumeSession" && !IsWellFormed(record))) {
      throw std::runtime_error("no record: " + std::string(record.substr(0, 200)));
    }
    const bool isOpening = one[0].element == "StartSession" || one[0].element == "ResumeSession";
    if (isOpening != (hasPrologue && records.empty()))
      throw std::runtime_error("a beginning where none should be");
    records.push_back(one[0]);
    text.remove_prefix(record.size());
  }
  return records;
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
    return path.starts_with("AppData\\Tolvex\\" + std::string(folder));
  };
  const std::string name = path.substr(path.rfind('\\') + 1);
  const bool isDocument = isBelow("Sendrix2\\Logs\\ulog_") || isBelow("Sendrix2\\Outbox\\ulog_");
  const bool isAgents = isBelow("Sendrix2\\Sendrix2.lock") || isBelow("Sendrix2\\Sendrix2.state");
  return isDocument || isAgents || path == "AppData\\Tolvex\\Sendrix2\\Sendrix2.cfg" ||
         (isBelow("Sendrix2\\Sendrix2.cfg.") && plan.end == End::kKill) ||
         (isBelow("Skylamp\\SKLog-Vantra.txt") && plan.isLogged);
}

// What the faults themselves make and remove.
bool IsFaults(const std::string& path) {
  return path == "Sendrix2.exe" || path.ends_with("\\Logs") || path.ends_with("\\ballast") ||
         path.starts_with("AppData\\Tolvex\\Sendrix2\\Sendrix2.cfg\\");
}

}  // namespace

Surroundings LookAround() {
  Surroundings found;
  for (const auto& entry : fs::recursive_directory_iterator(CaseFolder())) {
    if (!entry.is_regular_file()) continue;
    std::string path = Utf8(entry.path().lexically_relative(CaseFolder()).native());
    constexpr std::string_view kMoved = "\\Sendrix2\\Moved\\";
    if (const size_t moved = path.find(kMoved); moved != path.npos)
      path.replace(moved, kMoved.size(), "\\Sendrix2\\Logs\\");
    const bool isSmall = entry.file_size() < 100;
    found[path] = isSmall ? ReadFile(entry.path()) : std::to_string(entry.file_size());
  }
  for (const Hive hive : {Hive::kUser, Hive::kMachine}) {
    for (const std::string& line : ListValues(hive, "")) {
      const bool isLibrarys = hive == Hive::kUser && line.starts_with(kUsage);
      const bool isPlatforms = line.find("\\Microsoft\\Windows") != line.npos;  // its shell keeps notes there
      if (!isLibrarys && !isPlatforms) found["registry: " + line.substr(0, line.find('='))] = line;
    }
  }
  return found;
}

void CompareSurroundings(const Plan& plan, const Surroundings& before, Verdict& verdict) {
  Surroundings after = LookAround();
  const auto differ = [&](const std::string& path, const char* how) {
    if (!IsLibrarys(plan, path) && !IsFaults(path)) verdict.faults.push_back(path + how);
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
  const bool isBroken = std::string_view(Faults()[plan.fault].name) == "configuration broken";
  if (!isBroken && ReadFile(AgentFolder() / "Sendrix2.cfg") != ActiveConfig()) {
    verdict.faults.push_back("the agent's configuration was changed");
  }
}

std::vector<Document> ReadDocuments(const Plan& plan, Verdict& verdict) {
  const bool maySuffer = plan.end == End::kKill || Faults()[plan.fault].loss == Loss::kRestOfSession;
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
      const bool isCrash = document.index < 0;
      try {
        document.records = Scan(ReadDocument(path));
        verdict.records += document.records.size();
        if (isCrash && !document.IsEnded() && !maySuffer) verdict.faults.push_back(name + " is not whole");
      } catch (const std::exception& failure) {
        if (!isCrash || !maySuffer) verdict.faults.push_back(name + ": " + failure.what());
      }
      if (!isReport) documents.push_back(std::move(document));
    }
  }
  std::ranges::sort(documents, {}, [](const Document& each) { return std::pair(each.user, each.index); });
  return documents;
}

}  // namespace vantra::faults
