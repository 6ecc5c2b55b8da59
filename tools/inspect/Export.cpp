// export: writes a row for each record, as NDJSON or CSV.
#include <atomic>
#include <chrono>
#include <optional>
#include <set>
#include <utility>

#include "Entries.h"
#include "Output.h"
#include "Rows.h"
#include "Verb.h"
#include "Workers.h"
#include "reader/Facts.h"
#include "reader/Files.h"

namespace vantra::inspect {
namespace {

using reader::Document;
using reader::Facts;
using reader::Piece;
using reader::Record;

struct Options {
  Inputs inputs;
  Threads threads;
  Format format = Format::Ndjson;
  std::string output;
  bool isPartitioned = false;
};

struct Counts {
  std::atomic<uint64_t> documents = 0;
  std::atomic<uint64_t> rows = 0;
  std::atomic<uint64_t> malformed = 0;
  std::atomic<bool> isAllReadable = true;
};

class Exporting final : public Worker {
 public:
  Exporting(const Options& options, Counts& counts)
      : isPartitioned_(options.isPartitioned), rows_(MakeRowWriter(options.format)), counts_(counts) {}

  void Work(const reader::Session& session, Writer& writer) override {
    known_ = {};
    for (const Document& document : session.documents) {
      if (!document.isCopy) {
        Export(session, document, writer);
      } else {
        writer.Room().Say("left out, as it has the name of a document before: " + Visible(document.Path()));
      }
      ++counts_.documents;
    }
  }

 private:
  void Export(const reader::Session& session, const Document& document, Writer& writer) {
    document.PutPath(path_);
    if (!file_.Open(document.folder, document.file)) return Complain(file_.Error(), writer);
    reader_.Open(file_);
    Facts facts = reader::FactsIn(reader_.Beginning());
    if (facts.family.empty() && known_.family.empty()) known_.Complete(FactsOfOthers(session, document));
    facts.Complete(known_);
    known_.Complete(facts);
    rows_->Begin(document.name.stem, facts, document.name.index);
    WriteRows(writer);
    if (!reader_.Error().empty()) Complain(reader_.Error(), writer);
  }

  void WriteRows(Writer& writer) {
    uint64_t rows = 0;
    for (Piece piece; (piece = reader_.Next()) != Piece::Done;) {
      if (piece == Piece::Record) {
        Page& page = writer.Room();
        page.Commit(rows_->Write(reader_.Current(), page.End()));
        if (isPartitioned_) page.EndPart(reader_.Current().time.substr(0, kDaySize));
        ++rows;
      } else if (piece == Piece::Malformed) {
        ++counts_.malformed;
        writer.Room().Say(Visible(path_) + ":" + std::to_string(reader_.Offset()) +
                          ": left out: " + std::string(TextOf(reader_.Fault()).sentence));
      }
    }
    counts_.rows += rows;
  }

  // The facts that other documents of the session hold, for a document without its own.
  static Facts FactsOfOthers(const reader::Session& session, const Document& asking) {
    Facts facts;
    reader::DocumentReader other;
    for (const Document& document : session.documents) {
      reader::FileSource file;
      if (document.isCopy || document.file == asking.file || !file.Open(document.folder, document.file))
        continue;
      other.Open(file);
      facts = reader::FactsIn(other.Beginning());
      if (facts.origin == reader::Origin::Session && !facts.family.empty()) return facts;
    }
    return {};
  }

  void Complain(std::string_view reason, Writer& writer) {
    counts_.isAllReadable = false;
    writer.Room().Say(Unreadable(path_, reason));
  }

  static constexpr size_t kDaySize = 10;

  bool isPartitioned_;
  std::unique_ptr<RowWriter> rows_;
  Counts& counts_;
  Facts known_;
  reader::DocumentReader reader_;
  reader::FileSource file_;
  std::string path_;
};

// One file for each day, below a folder. Only one is open at a time, since most sessions lie within a day.
class Days {
 public:
  Days(std::string folder, std::string name, std::string_view header)
      : folder_(std::move(folder)), name_(std::move(name)), header_(header) {}

  void Write(const Page& page) {
    size_t start = 0;
    for (const Page::Part& part : page.parts) {
      FileOf(part.label).Write(page.Text().substr(start, part.end - start));
      start = part.end;
    }
  }

 private:
  Output& FileOf(const std::string& day) {
    if (file_ && day == day_) return *file_;
    const std::string path = folder_ + reader::kSeparator + "day=" + (day.empty() ? "unknown" : day);
    const bool isNew = known_.insert(day).second;
    if (isNew) MakeFolder(path);
    file_.emplace(path + reader::kSeparator + name_, !isNew);
    if (isNew) file_->Write(header_);
    day_ = day;
    return *file_;
  }

  std::string folder_, name_;
  std::string_view header_;
  std::set<std::string> known_;
  std::string day_;
  std::optional<Output> file_;
};

// A progress line on the terminal, overwritten each time.
class Progress {
 public:
  Progress(const Counts& counts, const reader::Sessions& sessions) : counts_(counts), sessions_(sessions) {}
  ~Progress() { Hide(); }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void Hide() {
    if (size_ != 0) std::fprintf(stderr, "\r%*s\r", std::exchange(size_, 0), "");
  }

  void Show() {
    const auto now = std::chrono::steady_clock::now();
    if (!isWanted_ || now < next_) return;
    next_ = now + std::chrono::milliseconds(200);
    size_ = std::fprintf(stderr, "\r%llu of %zu documents, %llu rows",
                         static_cast<unsigned long long>(counts_.documents), sessions_.DocumentCount(),
                         static_cast<unsigned long long>(counts_.rows));
  }

 private:
  const Counts& counts_;
  const reader::Sessions& sessions_;
  bool isWanted_ = IsTerminal(2);
  int size_ = 0;  // of the line; zero while it is not shown
  std::chrono::steady_clock::time_point next_ = std::chrono::steady_clock::now() + std::chrono::seconds(1);
};

int RunExport(Options& options) {
  if (options.isPartitioned && options.output.empty()) {
    Say("--partition needs a folder: name it with -o");
    return kUnreadable;
  }
  reader::Sessions sessions = options.inputs.Find();
  Counts counts;
  const std::string_view header = MakeRowWriter(options.format)->Header();
  std::optional<Days> days;
  std::optional<Output> output;
  if (options.isPartitioned) {
    days.emplace(options.output, options.format == Format::Csv ? "records.csv" : "records.ndjson", header);
  } else {
    options.inputs.Spare(options.output);
    output.emplace(options.output);
    output->Write(header);
  }
  {
    Progress progress(counts, sessions);
    const auto makeWorker = [&] { return std::make_unique<Exporting>(options, counts); };
    WorkOn(sessions, options.threads.Count(), makeWorker, [&](const Page& page) {
      days ? days->Write(page) : output->Write(page.Text());
      if (page.HasSentences()) progress.Hide();
      page.SaySentences();
      progress.Show();
    });
  }
  Say(Counted(counts.rows, "row") + " of " + Counted(counts.documents, "document") + ", " +
      Counted(counts.malformed, "malformed record") + " left out");
  return options.inputs.IsAllReadable() && counts.isAllReadable ? kDone : kUnreadable;
}

}  // namespace

void AddExport(CLI::App& app, Run& chosen) {
  const auto options = std::make_shared<Options>();
  CLI::App* const verb = app.add_subcommand("export", "Write a row a record, for databases and spreadsheets");
  options->inputs.AddTo(*verb);
  options->threads.AddTo(*verb);
  CLI::Option* const to = verb->add_option_function<std::string>(
                                  "--to",
                                  [options](const std::string& format) {
                                    options->format = format == "csv" ? Format::Csv : Format::Ndjson;
                                  },
                                  "ndjson: an object a line, the default; or csv")
                              ->check(CLI::IsMember({"ndjson", "csv"}));
  verb->add_flag_callback(
          "--json", [options] { options->format = Format::Ndjson; }, "The same as --to ndjson")
      ->excludes(to);
  verb->add_option("-o,--output", options->output,
                   "File to write, instead of standard output; with --partition a folder");
  verb->add_option_function<std::string>(
          "--partition", [options](const std::string&) { options->isPartitioned = true; },
          "day: a folder a day below -o")
      ->check(CLI::IsMember({"day"}));
  verb->callback([options, &chosen] { chosen = [options] { return RunExport(*options); }; });
}

}  // namespace vantra::inspect
