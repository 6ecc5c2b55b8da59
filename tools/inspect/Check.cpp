// check: checks documents against the format, record by record.
#include <atomic>
#include <nlohmann/json.hpp>
#include <thread>

#include "Entries.h"
#include "Output.h"
#include "Verb.h"
#include "Workers.h"
#include "reader/Checker.h"
#include "reader/Files.h"

namespace vantra::inspect {
namespace {

using reader::Document;
using reader::Finding;

struct Options {
  Inputs inputs;
  Threads threads;
  bool isJson = false;
};

struct Counts {
  std::atomic<uint64_t> findings = 0;
  std::atomic<bool> isAllReadable = true;
};

// ", expected 37, found 35".
std::string WordsOf(const Finding& finding) {
  std::string words;
  if (!finding.expected.empty()) words.append(", expected ").append(finding.expected);
  if (!finding.found.empty()) words.append(", found ").append(Visible(finding.found));
  return words;
}

std::string LineOf(const std::string& path, const Finding& finding, bool isJson) {
  const reader::RuleText rule = TextOf(finding.rule);
  if (!isJson) {
    return Visible(path)
        .append(":")
        .append(std::to_string(finding.offset))
        .append(": ")
        .append(rule.name)
        .append(": ")
        .append(rule.sentence)
        .append(WordsOf(finding))
        .append("\n");
  }
  nlohmann::ordered_json json;
  json["file"] = path;
  json["offset"] = finding.offset;
  json["rule"] = rule.name;
  json["message"] = rule.sentence;
  if (!finding.expected.empty()) json["expected"] = finding.expected;
  if (!finding.found.empty()) json["found"] = finding.found;
  return json.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

class Checking final : public Worker {
 public:
  Checking(bool isJson, Counts& counts) : isJson_(isJson), counts_(counts) {}

  void Work(const reader::Session& session, Writer& writer) override {
    checker_.Reset();
    for (const Document& document : session.documents) Check(document, writer);
  }

 private:
  void Check(const Document& document, Writer& writer) {
    document.PutPath(path_);
    const bool isOpen = file_.Open(document.folder, document.file);
    if (isOpen) {
      reader_.Open(file_);
      checker_.Check(document, reader_, [&](const Finding& finding) {
        ++counts_.findings;
        writer.Room().Add(LineOf(path_, finding, isJson_));
      });
    }
    const std::string_view error = isOpen ? reader_.Error() : file_.Error();
    if (error.empty()) return;
    counts_.isAllReadable = false;
    writer.Room().Say(Unreadable(path_, error));
  }

  bool isJson_;
  Counts& counts_;
  reader::DocumentReader reader_;
  reader::Checker checker_;
  reader::FileSource file_;
  std::string path_;
};

int RunCheck(Options& options) {
  reader::Sessions sessions = options.inputs.Find();
  Counts counts;
  Output output;
  const auto makeWorker = [&] { return std::make_unique<Checking>(options.isJson, counts); };
  WorkOn(sessions, options.threads.Count(), makeWorker, [&](const Page& page) {
    output.Write(page.Text());
    page.SaySentences();
  });
  if (!options.isJson) {
    Say(Counted(sessions.DocumentCount(), "document") + " checked, " + Counted(counts.findings, "finding"));
  }
  if (!options.inputs.IsAllReadable() || !counts.isAllReadable) return kUnreadable;
  return counts.findings == 0 ? kDone : kFindings;
}

}  // namespace

void AddCheck(CLI::App& app, Run& chosen) {
  const auto options = std::make_shared<Options>();
  CLI::App* const verb = app.add_subcommand("check", "Hold documents against the format, record by record");
  options->inputs.AddTo(*verb);
  options->threads.AddTo(*verb);
  verb->add_flag("--json", options->isJson, "One JSON object a line");
  verb->callback([options, &chosen] { chosen = [options] { return RunCheck(*options); }; });
}

}  // namespace vantra::inspect
