// check: documents held against the format, record by record.
#include <atomic>
#include <nlohmann/json.hpp>
#include <thread>

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

std::string LineOf(const std::string& path, const Finding& finding, bool isJson) {
  const reader::RuleText rule = TextOf(finding.rule);
  if (!isJson) {
    return std::string(path)
        .append(":")
        .append(std::to_string(finding.offset))
        .append(": ")
        .append(rule.name)
        .append(": ")
        .append(rule.sentence)
        .append("\n");
  }
  nlohmann::ordered_json json;
  json["file"] = path;
  json["offset"] = finding.offset;
  json["rule"] = rule.name;
  json["message"] = rule.sentence;
  return json.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

class Worker {
 public:
  Worker(const reader::Sessions& sessions, bool isJson, Counts& counts)
      : sessions_(sessions), isJson_(isJson), counts_(counts) {}

  void operator()(size_t index, Writer& writer) {
    checker_.Reset();
    for (const Document& document : sessions_[index].documents) Check(document, writer);
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

  const reader::Sessions& sessions_;
  bool isJson_;
  Counts& counts_;
  reader::DocumentReader reader_;
  reader::Checker checker_;
  reader::FileSource file_;
  std::string path_;
};

int RunCheck(Options& options) {
  const reader::Sessions sessions = options.inputs.Find();
  Counts counts;
  Output output;
  WorkOn(
      sessions.Count(), options.threads.Count(),
      [&] {
        const auto worker = std::make_shared<Worker>(sessions, options.isJson, counts);
        return [worker](size_t session, Writer& writer) { (*worker)(session, writer); };
      },
      [&](const Page& page) {
        output.Write(page.Text());
        for (const std::string& sentence : page.sentences) Say(sentence);
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
