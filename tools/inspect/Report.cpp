// report: one page that shows what many sessions come to.
#include <functional>
#include <nlohmann/json.hpp>

#include "Figures.h"
#include "Output.h"
#include "ReportPage.h"
#include "Verb.h"
#include "Workers.h"
#include "util/TimeStamp.h"

namespace vantra::inspect {
namespace {

using nlohmann::ordered_json;

constexpr size_t kMostRows = 2'000;
// No limit in practice: the page adds the days up to its totals.
constexpr size_t kMostDays = 1'000'000;

struct Options {
  Inputs inputs;
  Threads threads;
  std::string output;
  bool isJson = false;
};

struct Reading {
  Figures figures;
  uint64_t documents = 0, optInDocuments = 0, malformed = 0, unreadable = 0;
};

// Counts sessions one by one, and adds the counts up in their order.
class Summing final : public Worker {
 public:
  explicit Summing(Reading& reading) : reading_(reading) {}

  void Work(const reader::Session& session, Writer& writer) override {
    own_.Clear();
    uint64_t unreadable = 0;
    const auto complain = [&](std::string_view path, std::string_view reason) {
      ++unreadable;
      writer.Room().Say(Unreadable(path, reason));
    };
    const auto take = [&](const reader::Record& record, const reader::Facts& facts) {
      own_.Add(record);
      if (!own_.IsFull()) return;
      writer.AwaitTurn();
      reading_.figures.Add(own_.Counts(), facts);
      own_.ClearCounts();
    };
    const reader::Summary summary = Summarize(session, reader_, complain, take);
    writer.AwaitTurn();
    reading_.unreadable += unreadable;
    reading_.documents += summary.files;
    if (summary.files == 0) return;
    if (summary.facts.origin == reader::Origin::OptIn) {
      reading_.optInDocuments += summary.files;
      return;
    }
    reading_.malformed += summary.malformed;
    reading_.figures.Add(own_.Counts(), summary.facts);
    reading_.figures.Add(summary, own_.Errors());
  }

 private:
  Reading& reading_;
  SessionFigures own_;
  reader::DocumentReader reader_;
};

// Writes a table of the page row by row. The first column is the number of a product.
using Take = std::function<void(const ordered_json& row)>;
struct Table {
  std::string_view name;
  std::vector<std::string_view> columns;
  uint64_t leftOut;
  std::function<void(const Take& take)> visitRows;
};

ordered_json OrNull(std::string_view text) { return text.empty() ? ordered_json() : ordered_json(text); }

Table TableOf(std::string_view name, std::vector<std::string_view> columns, const Counting& counting,
              size_t most = kMostRows) {
  const auto visitRows = [&counting, most](const Take& take) {
    counting.VisitTop(most, [&](const std::vector<std::string_view>& texts, uint64_t count) {
      ordered_json row = {std::stoul(std::string(texts[0]))};
      for (size_t i = 1; i < texts.size(); ++i) row.push_back(OrNull(texts[i]));
      row.push_back(count);
      take(row);
    });
  };
  return {name, std::move(columns), counting.LeftOut(most), visitRows};
}

Table SessionTable(Figures& figures) {
  const std::vector<SessionRow>& rows = figures.LastSessions();
  const auto visitRows = [&rows](const Take& take) {
    for (const SessionRow& row : rows) {
      take({row.product, OrNull(row.session), OrNull(row.user), OrNull(row.start), OrNull(row.end),
            NameOf(row.state), row.files, row.records, row.events, row.errors});
    }
  };
  return {"sessions",
          {"product", "session", "user", "start", "end", "state", "files", "records", "events", "errors"},
          figures.Sessions() - rows.size(),
          visitRows};
}

std::vector<Table> TablesOf(Figures& figures) {
  const std::vector<std::string_view> labels = {"product", "category", "subcategory", "name", "count"};
  return {SessionTable(figures),
          TableOf("days", {"product", "day", "state", "sessions"}, figures.Of(Subject::Days), kMostDays),
          TableOf("events", labels, figures.Of(Subject::Events)),
          TableOf("groups", labels, figures.Of(Subject::Groups)),
          TableOf("errors", {"product", "type", "value", "count"}, figures.Of(Subject::Errors)),
          TableOf("machines", {"product", "entry", "value", "sessions"}, figures.Of(Subject::Machines))};
}

// Writes texts in large pieces.
class Pieces {
 public:
  explicit Pieces(Output& output) : output_(output) {}
  void Add(std::string_view text) {
    text_ += text;
    constexpr size_t kFull = size_t{64} << 10;
    if (text_.size() >= kFull) Flush();
  }
  void Flush() {
    output_.Write(text_);
    text_.clear();
  }

 private:
  Output& output_;
  std::string text_;
};

std::string Dump(const ordered_json& json) {
  return json.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
}

// The same, safe within a script element: nothing in it can end the element or begin a comment.
std::string DumpForPage(const ordered_json& json) {
  std::string text;
  for (const char c : Dump(json)) c == '<' ? text.append("\\u003c") : text.append(1, c);
  return text;
}

void WriteLines(const Reading& reading, const std::vector<Table>& tables, Output& output) {
  Pieces pieces(output);
  for (const Table& table : tables) {
    table.visitRows([&](const ordered_json& row) {
      const Product& product = reading.figures.Products()[row[0].get<size_t>()];
      ordered_json line = {{"table", table.name},
                           {"family", OrNull(product.family)},
                           {"product", OrNull(product.name)},
                           {"version", OrNull(product.version)}};
      for (size_t i = 1; i < row.size(); ++i) line[std::string(table.columns[i])] = row[i];
      pieces.Add(Dump(line) + "\n");
    });
  }
  pieces.Flush();
}

void WritePage(const Reading& reading, const std::vector<Table>& tables, Output& output) {
  Pieces pieces(output);
  pieces.Add(kReportHead);
  ordered_json page;
  page["generated"] = util::TimeStamp(static_cast<int64_t>(std::time(nullptr))).Text().View();
  page["documents"] = reading.documents;
  page["opt_in_documents"] = reading.optInDocuments;
  page["sessions"] = reading.figures.Sessions();
  page["users"] = reading.figures.Users();
  page["malformed"] = reading.malformed;
  page["unreadable"] = reading.unreadable;
  page["products"] = ordered_json::array();
  for (const Product& product : reading.figures.Products())
    page["products"].push_back({OrNull(product.family), OrNull(product.name), OrNull(product.version)});
  std::string text = DumpForPage(page);
  text.back() = ',';
  pieces.Add(text + "\"tables\":{");
  std::string_view betweenTables;
  for (const Table& table : tables) {
    pieces.Add(std::string(betweenTables) + "\"" + std::string(table.name) + "\":{\"columns\":" +
               Dump(table.columns) + ",\"left_out\":" + std::to_string(table.leftOut) + ",\"rows\":[");
    betweenTables = ",\n";
    std::string_view between = "\n";
    table.visitRows([&](const ordered_json& row) {
      pieces.Add(std::string(between) + DumpForPage(row));
      between = ",\n";
    });
    pieces.Add("]}");
  }
  pieces.Add("}}");
  pieces.Add(kReportTail);
  pieces.Flush();
}

int RunReport(Options& options) {
  reader::Sessions sessions = options.inputs.Find();
  options.inputs.Spare(options.output);
  Output output(options.output);
  Reading reading;
  const auto makeWorker = [&] { return std::make_unique<Summing>(reading); };
  // A worker keeps its turn to the end of its share, so that is a single session.
  const auto consume = [](const Page& page) { page.SaySentences(); };
  WorkOn(sessions, options.threads.Count(), makeWorker, consume, 1);
  const std::vector<Table> tables = TablesOf(reading.figures);
  options.isJson ? WriteLines(reading, tables, output) : WritePage(reading, tables, output);
  return options.inputs.IsAllReadable() && reading.unreadable == 0 ? kDone : kUnreadable;
}

}  // namespace

void AddReport(CLI::App& app, Run& chosen) {
  const auto options = std::make_shared<Options>();
  CLI::App* const verb =
      app.add_subcommand("report", "Draw what many sessions come to, as one page for a browser");
  options->inputs.AddTo(*verb);
  options->threads.AddTo(*verb);
  verb->add_option("-o,--output", options->output, "File to write, instead of standard output");
  verb->add_flag("--json", options->isJson, "The tables of the page instead, one JSON object a line");
  verb->callback([options, &chosen] { chosen = [options] { return RunReport(*options); }; });
}

}  // namespace vantra::inspect
