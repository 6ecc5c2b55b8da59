// list: a session a line.
#include <algorithm>
#include <iostream>
#include <nlohmann/json.hpp>

#include "Verb.h"
#include "reader/Summary.h"

namespace vantra::inspect {
namespace {

using reader::Summary;

struct Options {
  Inputs inputs;
  bool isJson = false;
  bool isLast = false;
};

std::string JsonOf(const Summary& summary) {
  const auto text = [](const std::string& value) {
    return value.empty() ? nlohmann::json() : nlohmann::json(value);
  };
  nlohmann::ordered_json json;
  json["session"] = text(summary.facts.session);
  json["family"] = text(summary.facts.family);
  json["product"] = text(summary.facts.product);
  json["version"] = text(summary.facts.version);
  json["user"] = text(summary.facts.user);
  json["start"] = text(summary.start);
  json["end"] = text(summary.end);
  json["files"] = summary.files;
  json["records"] = summary.records;
  json["events"] = summary.events;
  json["state"] = NameOf(summary.state);
  return json.dump();
}

std::string Padded(std::string_view text, size_t width) {
  std::string padded(text.empty() ? "-" : text);
  if (padded.size() < width) padded.resize(width, ' ');
  return padded;
}

// Line breaks and escape sequences of a host would spoil the table, and the terminal.
std::string OneLine(std::string text) {
  std::ranges::replace_if(
      text, [](char c) { return (c >= 0 && c < ' ') || c == '\x7f'; }, '?');
  return text;
}

std::string LineOf(const Summary& summary) {
  const std::string product =
      summary.facts.family + " " + summary.facts.product + " " + summary.facts.version;
  return Padded(summary.start, 21) + Padded(summary.end, 21) + Padded(NameOf(summary.state), 11) +
         Padded(std::to_string(summary.files), 6) + Padded(std::to_string(summary.records), 9) +
         Padded(std::to_string(summary.events), 8) + Padded(summary.facts.session, 37) + OneLine(product);
}

bool IsEarlier(const Summary& a, const Summary& b) {
  return std::tie(a.start, a.facts.session) < std::tie(b.start, b.facts.session);
}

int RunList(Options& options) {
  const reader::Sessions sessions = options.inputs.Find();
  bool isAllReadable = options.inputs.IsAllReadable();
  const auto complain = [&](std::string_view path, std::string_view reason) {
    isAllReadable = false;
    SayUnreadable(path, reason);
  };
  reader::DocumentReader reader;
  std::vector<Summary> summaries;
  for (size_t i = 0; i < sessions.Count(); ++i) {
    Summary summary = Summarize(sessions[i], reader, complain);
    if (summary.facts.origin != reader::Origin::OptIn && summary.files != 0)
      summaries.push_back(std::move(summary));
  }
  std::ranges::sort(summaries, IsEarlier);
  if (options.isLast && !summaries.empty()) summaries.erase(summaries.begin(), summaries.end() - 1);
  if (!options.isJson && !summaries.empty()) {
    std::cout << Padded("START", 21) << Padded("END", 21) << Padded("STATE", 11) << Padded("FILES", 6)
              << Padded("RECORDS", 9) << Padded("EVENTS", 8) << Padded("SESSION", 37) << "PRODUCT\n";
  }
  for (const Summary& summary : summaries)
    std::cout << (options.isJson ? JsonOf(summary) : LineOf(summary)) << '\n';
  if (!isAllReadable) return kUnreadable;
  const bool isCrashed = !summaries.empty() && summaries.back().state == reader::State::Crashed;
  return options.isLast && isCrashed ? kCrashed : kDone;
}

}  // namespace

void AddList(CLI::App& app, Run& chosen) {
  const auto options = std::make_shared<Options>();
  CLI::App* const verb = app.add_subcommand("list", "Tell sessions, one a line, and how each ended");
  options->inputs.AddTo(*verb);
  verb->add_flag("--json", options->isJson, "One JSON object a line");
  verb->add_flag("--last", options->isLast, "Only the session that started last; exit code 3 if it crashed");
  verb->callback([options, &chosen] { chosen = [options] { return RunList(*options); }; });
}

}  // namespace vantra::inspect
