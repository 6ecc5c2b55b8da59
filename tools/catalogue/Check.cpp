// check: checks documents against a catalogue.
#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <unordered_map>

#include "Rules.h"
#include "Verb.h"
#include "inspect/Entries.h"
#include "inspect/Output.h"
#include "reader/DocumentReader.h"
#include "reader/Facts.h"
#include "reader/Files.h"
#include "reader/Sessions.h"
#include "reader/Text.h"

namespace vantra::catalogue {
namespace {

using reader::Kind;

// What a finding is about: an event, a group or a value, named by its recorded texts.
struct Subject {
  std::string kind, category, subcategory, name, key;

  // NOLINTNEXTLINE(modernize-use-nullptr): finds a 0 in what the compiler writes
  auto operator<=>(const Subject&) const = default;
};

struct Example {
  uint64_t count = 0;
  std::string file;  // of the first one
  uint64_t offset = 0;
  std::string text;
};

std::string Quoted(std::string_view text) { return "\"" + inspect::Visible(text) + "\""; }

// All findings, equal ones counted.
class Findings {
 public:
  void Add(std::string_view rule, const Subject& subject, const std::string& file, uint64_t offset,
           std::string text = {}) {
    ++count_;
    constexpr size_t kMost = 10'000;  // documents may hold anything
    const std::pair key(std::string(rule), subject);
    if (examples_.size() >= kMost && !examples_.contains(key)) return static_cast<void>(++untold_);
    Example& example = examples_[key];
    if (++example.count == 1) example = {1, file, offset, std::move(text)};
  }
  // Information, not a finding.
  void AddMissing(const Subject& subject) { examples_[{"missing", subject}] = {}; }

  [[nodiscard]] uint64_t Count() const noexcept { return count_; }
  [[nodiscard]] uint64_t Untold() const noexcept { return untold_; }

  void Write(inspect::Output& output, bool isJson) const {
    std::string lines;
    for (const auto& [key, example] : examples_)
      lines.append(isJson ? AsJson(key.first, key.second, example)
                          : AsText(key.first, key.second, example)) += '\n';
    output.Write(lines);
  }

 private:
  static std::string AsJson(const std::string& rule, const Subject& subject, const Example& example) {
    nlohmann::ordered_json json = {{"finding", rule},
                                   {"kind", subject.kind},
                                   {"category", subject.category},
                                   {"subcategory", subject.subcategory},
                                   {"name", subject.name},
                                   {"key", subject.key},
                                   {"count", example.count}};
    if (example.count != 0) {
      json["file"] = example.file;
      json["offset"] = example.offset;
      json["text"] = example.text;
    }
    return json.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
  }
  static std::string AsText(const std::string& rule, const Subject& subject, const Example& example) {
    std::string line = rule + ": " + subject.kind;
    for (const std::string* text : {&subject.category, &subject.subcategory, &subject.name, &subject.key})
      if (!text->empty()) line += " " + Quoted(*text);
    if (example.count == 0) return line;
    if (!example.text.empty()) line += ", " + example.text;
    return line + ", " + std::to_string(example.count) + (example.count == 1 ? " time, " : " times, first ") +
           "at " + inspect::Visible(example.file) + ":" + std::to_string(example.offset);
  }

  std::map<std::pair<std::string, Subject>, Example> examples_;
  uint64_t count_ = 0;
  uint64_t untold_ = 0;
};

std::string Plain(const reader::Text& text) {
  std::string plain;
  if (text.HasValue()) reader::Unescape(text.raw, plain);
  return plain;
}

class Checking {
 public:
  Checking(const Catalogue& catalogue, Findings& findings) : catalogue_(catalogue), findings_(findings) {
    for (const Record& record : catalogue.records)
      records_[{record.isGroup, record.category, record.name}].push_back(&record);
  }

  void Check(const reader::Session& session) {
    groups_.clear();
    for (const reader::Document& document : session.documents) {
      if (!document.isCopy) Check(document);
    }
  }

  void FindMissing() {
    const auto add = [&](const void* declared, const Reasons& reasons, const Subject& subject) {
      const bool isExpired = reasons.until && reasons.until->HasCome(catalogue_.product.version, Today());
      if (!seen_.contains(declared) && !isExpired) findings_.AddMissing(subject);
    };
    for (const Value& value : catalogue_.values)
      add(&value, value.reasons, {"value", "", "", "Session", value.key});
    for (const Record& record : catalogue_.records) {
      Subject subject = SubjectOf(record);
      add(&record, record.reasons, subject);
      if (!seen_.contains(&record)) continue;
      subject.kind = "value";
      for (const Value& value : record.values) {
        subject.key = value.key;
        add(&value, value.reasons, subject);
      }
    }
  }

  [[nodiscard]] uint64_t Documents() const noexcept { return documents_; }
  [[nodiscard]] uint64_t Others() const noexcept { return others_; }
  [[nodiscard]] bool IsAllReadable() const noexcept { return isAllReadable_; }

 private:
  void Check(const reader::Document& document) {
    reader::FileSource file;
    document.PutPath(path_);
    if (!file.Open(document.folder, document.file)) return Complain(file.Error());
    reader_.Open(file);
    const reader::Facts facts = reader::FactsIn(reader_.Beginning());
    const bool isOurs = facts.origin == reader::Origin::Session &&
                        facts.family == catalogue_.product.family && facts.product == catalogue_.product.name;
    ++(isOurs ? documents_ : others_);
    version_ = Version::Parse(facts.version, false);
    for (reader::Piece piece; (piece = reader_.Next()) != reader::Piece::Done;) {
      if (isOurs && piece == reader::Piece::Record) Check(reader_.Current());
    }
    if (!reader_.Error().empty()) Complain(reader_.Error());
  }

  void Check(const reader::Record& record) {
    if (record.kind == Kind::Value) return CheckValue(record);
    const bool isGroup = record.kind == Kind::Group;
    if (!isGroup && record.kind != Kind::Event) return;
    Subject subject{isGroup ? "group" : "event", Plain(record.category), Plain(record.subcategory),
                    Plain(record.name), ""};
    const bool isOwn = IsOwnCategory(subject.category);
    const Record* const declared = isOwn ? nullptr : Find(isGroup, subject);
    if (declared != nullptr) subject = SubjectOf(*declared);
    if (isGroup) groups_[record.group] = {subject, declared};
    if (isOwn) return;
    if (declared == nullptr) return Report("undeclared", subject);
    seen_.insert(declared);
    CheckExpiry(declared->reasons, subject, record);
    if (declared->document.empty() && record.doc != "0") Report("document", subject, "a digest of one");
  }

  void CheckValue(const reader::Record& record) {
    constexpr int32_t kNoGroup = 0;
    constexpr int32_t kSessionGroup = 1;
    if (record.group == kNoGroup) return Report("undeclared", {"value", "", "", "", Plain(record.name)});
    const bool isSession = record.group == kSessionGroup;
    const auto group = groups_.find(record.group);
    if (!isSession && (group == groups_.end() || group->second.declared == nullptr)) return;
    Subject subject = isSession ? Subject{"", "", "", "Session", ""} : group->second.subject;
    subject.kind = "value";
    subject.key = Plain(record.name);
    if (isSession && IsOwnSessionKey(subject.key)) return;
    const std::vector<Value>& values = isSession ? catalogue_.values : group->second.declared->values;
    const auto declared = std::ranges::find(values, subject.key, &Value::key);
    if (declared == values.end()) return Report("undeclared", subject);
    seen_.insert(&*declared);
    const bool isAsGroup = !isSession && declared->reasons.IsUntil(group->second.declared->reasons);
    if (!isAsGroup) CheckExpiry(declared->reasons, subject, record);
    std::string text;
    reader::Unescape(record.value.raw, text);
    if (!IsOfType(catalogue_, *declared, text))
      Report("type", subject, Quoted(text.substr(0, kExample)) + " is no " + catalogue_.TypeName(*declared));
  }

  void CheckExpiry(const Reasons& reasons, const Subject& subject, const reader::Record& record) {
    if (!reasons.until || !reasons.until->HasCome(version_, record.time.substr(0, kDay))) return;
    Report("expired", subject, "declared until " + reasons.until->text);
  }

  [[nodiscard]] Subject SubjectOf(const Record& record) const {
    const std::string subcategory =
        record.choice ? "<" + catalogue_.choices[*record.choice].name + ">" : record.subcategory;
    return {record.isGroup ? "group" : "event", record.category, subcategory, record.name, ""};
  }

  [[nodiscard]] const Record* Find(bool isGroup, const Subject& subject) const {
    const auto found = records_.find({isGroup, subject.category, subject.name});
    if (found == records_.end()) return nullptr;
    const auto same = std::ranges::find_if(found->second, [&](const Record* record) {
      return record->choice ? catalogue_.choices[*record->choice].Has(subject.subcategory)
                            : record->subcategory == subject.subcategory;
    });
    return same == found->second.end() ? nullptr : *same;
  }

  void Report(std::string_view rule, const Subject& subject, std::string text = {}) {
    findings_.Add(rule, subject, path_, reader_.Offset(), std::move(text));
  }
  void Complain(std::string_view reason) {
    isAllReadable_ = false;
    Say("cannot read " + path_ + ": " + std::string(reason));
  }

  static constexpr size_t kDay = 10;      // 2027-01-31
  static constexpr size_t kExample = 60;  // bytes shown of a value

  struct Group {
    Subject subject;
    const Record* declared;
  };

  const Catalogue& catalogue_;
  Findings& findings_;
  std::map<std::tuple<bool, std::string, std::string>, std::vector<const Record*>> records_;
  std::unordered_map<int32_t, Group> groups_;  // of the session
  std::set<const void*> seen_;
  reader::DocumentReader reader_;
  std::string path_;
  std::optional<Version> version_;
  uint64_t documents_ = 0;
  uint64_t others_ = 0;
  bool isAllReadable_ = true;
};

}  // namespace

int RunCheck(const CheckOptions& options) {
  const Catalogue catalogue = Load(options.catalogue);
  bool isAllReadable = true;
  reader::Sessions sessions(options.inputs, [&](std::string_view path, std::string_view reason) {
    isAllReadable = false;
    Say("cannot read " + std::string(path) + ": " + std::string(reason));
  });
  Findings findings;
  Checking checking(catalogue, findings);
  while (sessions.Next()) {
    for (size_t i = 0; i < sessions.Count(); ++i) checking.Check(sessions[i]);
  }
  checking.FindMissing();
  inspect::Output output;
  findings.Write(output, options.isJson);
  if (findings.Untold() != 0) Say(std::to_string(findings.Untold()) + " more findings are not listed");
  if (!options.isJson) {
    Say("documents of the product: " + std::to_string(checking.Documents()) + ", others, left out: " +
        std::to_string(checking.Others()) + ", findings: " + std::to_string(findings.Count()));
  }
  if (!isAllReadable || !checking.IsAllReadable()) return kUnreadable;
  return findings.Count() == 0 ? kDone : kFindings;
}

}  // namespace vantra::catalogue
