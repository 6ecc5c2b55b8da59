// doctor: finds out why a host records nothing on this machine.
#include <algorithm>
#include <nlohmann/json.hpp>

#include "Entries.h"
#include "Gates.h"
#include "Output.h"
#include "Verb.h"
#include "reader/Files.h"

namespace vantra::inspect {
namespace {

struct Options {
  Host host;
  std::string program;
  bool isJson = false;
};

bool Closes(const Gate& gate) { return gate.verdict == Verdict::Refuses || gate.verdict == Verdict::Drops; }

std::string JsonOf(const Gate& gate) {
  const auto text = [](std::string_view value) {
    return value.empty() ? nlohmann::json() : nlohmann::json(value);
  };
  nlohmann::ordered_json json;
  json["gate"] = gate.name;
  json["verdict"] = NameOf(gate.verdict);
  json["finding"] = gate.finding;
  json["advice"] = text(gate.advice);
  json["message"] = text(gate.message);
  return json.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

std::string TextOf(const Gate& gate) {
  constexpr size_t kGate = 10;
  constexpr size_t kFinding = 22;
  std::string text(NameOf(gate.verdict));
  text.resize(kGate, ' ');
  text.append(gate.name).resize(kFinding, ' ');
  text.append(Visible(gate.finding)).append("\n");
  if (!gate.advice.empty()) text.append(kFinding, ' ').append("-> ").append(gate.advice).append("\n");
  return text;
}

// The conclusion. The library reports the first gate that refuses.
std::string Conclude(const std::vector<Gate>& gates) {
  const auto refusal = std::ranges::find(gates, Verdict::Refuses, &Gate::verdict);
  if (refusal != gates.end()) {
    return "\nNo session starts: UTStartSession gives 1, and the log says \"" +
           std::string(refusal->message) + "\".\n";
  }
  const auto drop = std::ranges::find(gates, Verdict::Drops, &Gate::verdict);
  if (drop != gates.end())
    return "\nSessions start, and nothing is written: see " + std::string(drop->name) + ".\n";
  if (std::ranges::count(gates, Verdict::Unknown, &Gate::verdict) != 0)
    return "\nNothing was found that keeps sessions from starting, but not all could be looked at.\n";
  return "\nSessions start and are written.\n";
}

int RunDoctor(Options& options) {
  std::string& folder = options.host.folder;
  folder = options.program;
  if (!folder.empty() && !reader::IsFolder(folder)) {
    if (reader::FileSource file; !file.Open(folder)) {
      SayUnreadable(folder, file.Error());
      return kUnreadable;
    }
    const size_t separator = folder.find_last_of(reader::kSeparators);
    folder = separator == std::string::npos ? "." : folder.substr(0, separator);
  }
  const std::vector<Gate> gates = ExamineGates(options.host);
  Output output;
  for (const Gate& gate : gates) output.Write(options.isJson ? JsonOf(gate) : TextOf(gate));
  if (!options.isJson) output.Write(Conclude(gates));
  return std::ranges::any_of(gates, Closes) ? kFindings : kDone;
}

}  // namespace

void AddDoctor(CLI::App& app, Run& chosen) {
  const auto options = std::make_shared<Options>();
  CLI::App* const verb = app.add_subcommand(
      "doctor", "Find out what keeps a host from recording for you on this machine, and what to do");
  Host& host = options->host;
  verb->add_option("--host", options->program,
                   "The host's program or its folder; without it the folder of vantra-inspect");
  verb->add_option("--key", host.usageKey, "The usage key that the host gives to UTInitialize");
  verb->add_option("--agent", host.agentFolder, "The agent's folder, if the host gives one to UTInitialize");
  verb->add_option("--family", host.family, "The product family of UTStartSession");
  verb->add_option("--product", host.product, "The product name of UTStartSession");
  verb->add_option("--release-state", host.releaseState, "The number given to UTSetSerializationState")
      ->check(CLI::Range(0, 3))
      ->capture_default_str();
  verb->add_flag("--json", options->isJson, "One JSON object a line");
  verb->callback([options, &chosen] { chosen = [options] { return RunDoctor(*options); }; });
}

}  // namespace vantra::inspect
