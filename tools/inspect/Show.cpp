// show: prints sessions for reading.
#include "Show.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <utility>

#include "reader/Decoded.h"
#include "reader/Files.h"

namespace vantra::inspect {
namespace {

using reader::Document;
using reader::Facts;
using reader::Piece;

constexpr size_t kFullPage = size_t{64} << 10;

class Showing {
 public:
  explicit Showing(ShowOptions& options) : options_(options), printer_(options, output_) {}

  void Show(const reader::Sessions& sessions) {
    for (size_t i = 0; i < sessions.Count(); ++i) Show(sessions[i]);
  }

  // Nothing when there is no such session.
  void ShowOne(Inputs& inputs, const std::string& id) {
    reader::Sessions sessions = inputs.Find(id);
    if (!id.empty() && sessions.Next()) Show(sessions[0]);
  }

  [[nodiscard]] bool IsAllReadable() const noexcept { return isAllReadable_; }

 private:
  void Show(const reader::Session& session) {
    if (!options_.isRaw) {
      const auto ignore = [](std::string_view, std::string_view) {};
      const reader::Summary summary = Summarize(session, reader_, ignore);
      const bool isOptIn = summary.facts.origin == reader::Origin::OptIn;
      printer_.Begin(summary.facts, summary.start, isOptIn ? "" : NameOf(summary.state));
    }
    for (const Document& document : session.documents) {
      if (document.isCopy) continue;
      reader::FileSource file;
      const std::string path = document.Path();
      if (!file.Open(path)) {
        Complain(path, file.Error());
      } else if (options_.isRaw && !options_.filter.IsGiven()) {
        Copy(path, file);
      } else {
        ShowRecords(document, file);
      }
    }
    printer_.Flush();
  }

  void Copy(const std::string& path, reader::FileSource& file) {
    reader::DecodedSource text(file);
    std::string piece(kFullPage, '\0');
    for (size_t size; (size = text.Read(piece.data(), piece.size())) != 0;)
      output_.Write(std::string_view(piece).substr(0, size));
    if (!text.Error().empty()) Complain(path, text.Error());
  }

  void ShowRecords(const Document& document, reader::FileSource& file) {
    reader_.Open(file);
    printer_.BeginDocument(document.file, reader::FactsIn(reader_.Beginning()).origin);
    for (Piece piece; (piece = reader_.Next()) != Piece::Done;) {
      if (piece == Piece::Record) printer_.Add(reader_.Current());
      if (piece == Piece::Malformed) printer_.AddMalformed(document, reader_);
    }
    if (!reader_.Error().empty()) Complain(document.Path(), reader_.Error());
  }

  void Complain(std::string_view path, std::string_view reason) {
    printer_.Flush();
    isAllReadable_ = false;
    SayUnreadable(path, reason);
  }

  ShowOptions& options_;
  reader::DocumentReader reader_;
  Output output_;
  SessionPrinter printer_;
  bool isAllReadable_ = true;
};

int RunShow(ShowOptions& options) {
  for (const std::string* time : {&options.filter.since, &options.filter.until}) {
    if (time->empty() || IsTimeBeginning(*time)) continue;
    Say("not a time: " + *time + "; give the beginning of one like 2026-11-24T22:02:41Z");
    return kUnreadable;
  }
  const std::vector<std::string> names = options.inputs.TakeSessions();
  if (options.isLast && !names.empty()) {
    Say("name a session, or ask for the last one");
    return kUnreadable;
  }
  if (options.isFollowing) {
    Output output;
    return Follow(options, names, output);
  }
  Showing showing(options);
  if (options.isLast) {
    const auto isAny = [](const reader::Summary&) { return true; };
    showing.ShowOne(options.inputs, FindLast(options.inputs, isAny));
  } else if (names.empty()) {
    reader::Sessions sessions = options.inputs.Find();
    while (sessions.Next()) showing.Show(sessions);
  }
  for (const std::string& name : names) showing.ShowOne(options.inputs, FindNamed(options.inputs, name));
  return options.inputs.IsAllReadable() && showing.IsAllReadable() ? kDone : kUnreadable;
}

}  // namespace

std::string FindNamed(Inputs& inputs, std::string name) {
  std::ranges::transform(name, name.begin(), [](char c) { return c >= 'A' && c <= 'F' ? char(c + 32) : c; });
  reader::Sessions sessions = inputs.Find(name);
  if (!sessions.Next()) throw std::runtime_error("no session begins with " + name);
  if (sessions.Count() > 1) throw std::runtime_error("several sessions begin with " + name);
  return std::string(sessions[0].id);
}

std::string FindLast(Inputs& inputs, const std::function<bool(const reader::Summary&)>& isWanted) {
  const auto ignore = [](std::string_view, std::string_view) {};
  reader::DocumentReader reader;
  std::string last;
  std::string lastStart;
  for (reader::Sessions sessions = inputs.Find(); sessions.Next();) {
    for (size_t i = 0; i < sessions.Count(); ++i) {
      const reader::Session session = sessions[i];
      const reader::Summary summary = Summarize(session, reader, ignore);
      if (summary.facts.origin == reader::Origin::OptIn || summary.files == 0 || !isWanted(summary)) continue;
      if (!last.empty() && summary.start <= lastStart) continue;
      last = session.id;
      lastStart = summary.start;
    }
  }
  return last;
}

SessionPrinter::SessionPrinter(const ShowOptions& options, Output& output)
    : options_(options), output_(output) {
  const auto take = [this](const Entry& entry) {
    const bool isContinued =
        entry.kind == Entry::Kind::Values && entry.group == lastGroup_ && entry.time == lastTime_;
    Write(options_.isJson ? JsonOf(entry, session_) : TextOf(entry, isContinued));
    lastGroup_ = entry.group;
    lastTime_ = entry.time;
  };
  const auto takeRaw = [this](std::string_view record) { Write(record); };
  folder_ =
      std::make_unique<EntryFolder>(options.filter, take, options.isRaw ? takeRaw : EntryFolder::TakeRaw());
}

void SessionPrinter::Begin(const Facts& facts, std::string_view start, std::string_view state) {
  session_ = facts.session;
  if (options_.isJson || options_.isRaw) return;
  sessionHead_ = isFirst_ ? "" : "\n";
  const auto line = [this](std::string_view name, std::string_view text) {
    if (!text.empty()) sessionHead_.append(name).append(10 - name.size(), ' ').append(Visible(text)) += '\n';
  };
  std::string product = facts.family.empty() ? "" : facts.family + " " + facts.product + " " + facts.version;
  if (!facts.build.empty()) product += ", build " + facts.build;
  if (!facts.language.empty()) product += ", language " + facts.language;
  line("Session", facts.origin == reader::Origin::OptIn ? "none: a changed opt-in" : facts.session);
  line("Product", product);
  line("User", facts.user);
  line("Started", start);
  line("State", state);
}

void SessionPrinter::BeginDocument(std::string_view name, reader::Origin origin) {
  folder_->Flush();
  if (origin == reader::Origin::Crash) folder_->ForgetGroups();
  lastGroup_ = 0;
  if (options_.isJson || options_.isRaw) return;
  documentHead_ = origin == reader::Origin::Crash ? "Crash     " : "Document  ";
  documentHead_.append(Visible(name)) += '\n';
  if (!options_.filter.IsGiven()) Write({});
}

void SessionPrinter::AddMalformed(const Document& document, const reader::DocumentReader& reader) {
  if (options_.isRaw || options_.filter.IsGiven()) return;
  folder_->Flush();
  const std::string_view reason = TextOf(reader.Fault()).sentence;
  if (!options_.isJson) {
    return Write(std::string("-- malformed at byte ")
                     .append(std::to_string(reader.Offset()))
                     .append(": ")
                     .append(reason)
                     .append(": ")
                     .append(Visible(reader.Text()))
                     .append("\n"));
  }
  nlohmann::ordered_json json;
  json["session"] = session_.empty() ? nlohmann::json() : nlohmann::json(session_);
  json["kind"] = "malformed";
  json["file"] = document.file;
  json["offset"] = reader.Offset();
  json["message"] = reason;
  json["text"] = reader.Text();
  Write(json.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n");
}

void SessionPrinter::Write(std::string_view text) {
  if (!sessionHead_.empty()) isFirst_ = false;
  text_.append(std::exchange(sessionHead_, {})).append(std::exchange(documentHead_, {})).append(text);
  if (text_.size() < kFullPage) return;
  output_.Write(text_);
  text_.clear();
}

void SessionPrinter::Flush() {
  folder_->Flush();
  output_.Write(text_);
  text_.clear();
}

void AddShow(CLI::App& app, Run& chosen) {
  const auto options = std::make_shared<ShowOptions>();
  CLI::App* const verb = app.add_subcommand(
      "show", "Print sessions for reading; name them by the beginning of their identifiers, or by files");
  options->inputs.AddTo(*verb);
  verb->add_flag("--last", options->isLast, "Only the session that started last");
  verb->add_option("--event", options->filter.event, "Only events of this name; * stands for any text");
  verb->add_option("--category", options->filter.category, "Only events and groups of this category");
  verb->add_option("--since", options->filter.since, "Only from this time on, such as 2026-11-24T22");
  verb->add_option("--until", options->filter.until, "Only up to this time, all of it: 2026-11-24 is a day");
  CLI::Option* const raw = verb->add_flag("--raw", options->isRaw, "The text as it stands, decoded");
  verb->add_flag("--json", options->isJson, "One JSON object a line")->excludes(raw);
  verb->add_flag("--follow", options->isFollowing,
                 "Go on with what is being written until the session ends; without a name, the session that "
                 "is open, or the next one");
  verb->callback([options, &chosen] { chosen = [options] { return RunShow(*options); }; });
}

}  // namespace vantra::inspect
