// list: prints one line for each session.
#include <algorithm>
#include <array>
#include <atomic>
#include <nlohmann/json.hpp>

#include "Entries.h"
#include "Output.h"
#include "Verb.h"
#include "Workers.h"
#include "reader/SortedTexts.h"
#include "reader/Summary.h"

namespace vantra::inspect {
namespace {

using reader::Summary;

// Start, session, and a mark for a crash.
constexpr size_t kKeySize = 20 + 36 + 1;
constexpr char kCrashMark = '!';

struct Options {
  Inputs inputs;
  Threads threads;
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

// A row of the table.
std::string Columns(const std::array<std::string_view, 8>& texts) {
  constexpr std::array<size_t, 8> kWidths = {21, 21, 11, 6, 9, 8, 37, 0};
  std::string line;
  for (size_t i = 0, end = 0; i < texts.size(); ++i) {
    line += texts[i].empty() ? "-" : texts[i];
    end = std::max(end + kWidths[i], line.size());
    line.resize(end, ' ');
  }
  return line;
}

// Line breaks and escape sequences of a host would spoil the table, and the terminal.
std::string LineOf(const Summary& summary) {
  const std::string product =
      summary.facts.family + " " + summary.facts.product + " " + summary.facts.version;
  return Columns({summary.start, summary.end, NameOf(summary.state), std::to_string(summary.files),
                  std::to_string(summary.records), std::to_string(summary.events), summary.facts.session,
                  Visible(product)});
}

// The prefix by which lines sort in the order of the sessions' starts.
std::string KeyOf(const Summary& summary) {
  std::string key = summary.start + summary.facts.session;
  key.resize(kKeySize, ' ');
  key.back() = summary.state == reader::State::Crashed ? kCrashMark : ' ';
  return key;
}

class Listing final : public Worker {
 public:
  Listing(bool isJson, std::atomic<bool>& isAllReadable) : isJson_(isJson), isAllReadable_(isAllReadable) {}

  void Work(const reader::Session& session, Writer& writer) override {
    const auto complain = [&](std::string_view path, std::string_view reason) {
      isAllReadable_ = false;
      writer.Room().Say(Unreadable(path, reason));
    };
    const Summary summary = Summarize(session, reader_, complain);
    if (summary.facts.origin == reader::Origin::OptIn || summary.files == 0) return;
    writer.Room().Add(KeyOf(summary) + (isJson_ ? JsonOf(summary) : LineOf(summary)) + "\n");
  }

 private:
  bool isJson_;
  std::atomic<bool>& isAllReadable_;
  reader::DocumentReader reader_;
};

void Print(reader::SortedTexts& lines, bool isJson) {
  Output output;
  std::string text;
  if (!isJson && !lines.IsEmpty())
    text = Columns({"START", "END", "STATE", "FILES", "RECORDS", "EVENTS", "SESSION", "PRODUCT"}) + "\n";
  for (std::string_view line = lines.Next(); !line.empty(); line = lines.Next()) {
    text += line.substr(kKeySize);
    constexpr size_t kFull = size_t{64} << 10;
    if (text.size() < kFull) continue;
    output.Write(text);
    text.clear();
  }
  output.Write(text);
}

int RunList(Options& options) {
  reader::Sessions sessions = options.inputs.Find();
  std::atomic<bool> isAllReadable = true;
  reader::SortedTexts lines;
  std::string last;
  const auto makeWorker = [&] { return std::make_unique<Listing>(options.isJson, isAllReadable); };
  WorkOn(sessions, options.threads.Count(), makeWorker, [&](const Page& page) {
    page.SaySentences();
    for (std::string_view text = page.Text(); !text.empty();) {
      const std::string_view line = text.substr(0, text.find('\n') + 1);
      text.remove_prefix(line.size());
      if (!options.isLast) lines.Add(line);
      if (options.isLast && line > last) last = line;
    }
  });
  if (!last.empty()) lines.Add(last);
  Print(lines, options.isJson);
  if (!options.inputs.IsAllReadable() || !isAllReadable) return kUnreadable;
  return !last.empty() && last[kKeySize - 1] == kCrashMark ? kCrashed : kDone;
}

}  // namespace

void AddList(CLI::App& app, Run& chosen) {
  const auto options = std::make_shared<Options>();
  CLI::App* const verb = app.add_subcommand("list", "List sessions, one a line, and how each ended");
  options->inputs.AddTo(*verb);
  options->threads.AddTo(*verb);
  verb->add_flag("--json", options->isJson, "One JSON object a line");
  verb->add_flag("--last", options->isLast, "Only the session that started last; exit code 3 if it crashed");
  verb->callback([options, &chosen] { chosen = [options] { return RunList(*options); }; });
}

}  // namespace vantra::inspect
