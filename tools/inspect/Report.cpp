// report: one page that shows what many sessions come to.
#include <nlohmann/json.hpp>

#include "Figures.h"
#include "Output.h"
#include "ReportPage.h"
#include "Verb.h"
#include "reader/Files.h"
#include "util/TimeStamp.h"

namespace vantra::inspect {
namespace {

using nlohmann::ordered_json;
using reader::Document;
using reader::Piece;

constexpr size_t kMostRows = 2'000;
// All that are counted: the page adds them up to its totals.
constexpr size_t kMostDays = 1'000'000;

struct Options {
  Inputs inputs;
  std::string output;
  bool isJson = false;
};

struct Reading {
  Figures figures;
  uint64_t documents = 0, optInDocuments = 0, malformed = 0, unreadable = 0;
};

// A table of the page. The first column is the number of a product.
struct Table {
  std::string_view name;
  std::vector<std::string_view> columns;
  std::vector<ordered_json> rows;
  uint64_t leftOut;
};

ordered_json OrNull(const std::string& text) { return text.empty() ? ordered_json() : ordered_json(text); }

void Read(const reader::Session& session, reader::DocumentReader& reader, Reading& reading) {
  const auto complain = [&](std::string_view path, std::string_view reason) {
    ++reading.unreadable;
    SayUnreadable(path, reason);
  };
  const reader::Summary summary = Summarize(session, reader, complain);
  reading.documents += summary.files;
  if (summary.files == 0) return;
  if (summary.facts.origin == reader::Origin::OptIn) {
    reading.optInDocuments += summary.files;
    return;
  }
  reading.figures.Begin(summary);
  for (const Document& document : session.documents) {
    reader::FileSource file;
    if (document.isCopy || !file.Open(document.Path())) continue;
    reader.Open(file);
    const bool isOwn = reader::FactsIn(reader.Beginning()).origin == reader::Origin::Session;
    for (Piece piece; (piece = reader.Next()) != Piece::Done;) {
      if (piece == Piece::Record && isOwn) reading.figures.Add(reader.Current());
      if (piece == Piece::Malformed) ++reading.malformed;
    }
  }
  reading.figures.End();
}

Table TableOf(std::string_view name, std::vector<std::string_view> columns, const Counting& counting,
              size_t most = kMostRows) {
  Table table{name, std::move(columns), {}, counting.LeftOut(most)};
  for (const Counting::Row& row : counting.Top(most)) {
    ordered_json values = {row.product};
    for (const std::string& text : row.texts) values.push_back(OrNull(text));
    values.push_back(row.count);
    table.rows.push_back(std::move(values));
  }
  return table;
}

Table SessionTable(Figures& figures) {
  Table table{"sessions",
              {"product", "session", "user", "start", "end", "state", "files", "records", "events", "errors"},
              {},
              0};
  for (const SessionRow& row : figures.LastSessions()) {
    table.rows.push_back({row.product, OrNull(row.session), OrNull(row.user), OrNull(row.start),
                          OrNull(row.end), NameOf(row.state), row.files, row.records, row.events,
                          row.errors});
  }
  table.leftOut = figures.Sessions() - table.rows.size();
  return table;
}

std::vector<Table> TablesOf(Figures& figures) {
  std::vector<Table> tables;
  tables.push_back(SessionTable(figures));
  tables.push_back(TableOf("days", {"product", "day", "state", "sessions"}, figures.days, kMostDays));
  tables.push_back(
      TableOf("events", {"product", "category", "subcategory", "name", "count"}, figures.events));
  tables.push_back(
      TableOf("groups", {"product", "category", "subcategory", "name", "count"}, figures.groups));
  tables.push_back(TableOf("errors", {"product", "type", "value", "count"}, figures.errors));
  tables.push_back(TableOf("machines", {"product", "entry", "value", "sessions"}, figures.machines));
  return tables;
}

std::string Dump(const ordered_json& json) {
  return json.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
}

// The same, as it may stand in a script element: nothing in it ends that or begins a comment.
std::string DumpForPage(const ordered_json& json) {
  std::string text;
  for (const char c : Dump(json)) c == '<' ? text.append("\\u003c") : text.append(1, c);
  return text;
}

void WriteLines(const Reading& reading, const std::vector<Table>& tables, Output& output) {
  for (const Table& table : tables) {
    for (const ordered_json& row : table.rows) {
      const Product& product = reading.figures.Products()[row[0].get<size_t>()];
      ordered_json line = {{"table", table.name},
                           {"family", OrNull(product.family)},
                           {"product", OrNull(product.name)},
                           {"version", OrNull(product.version)}};
      for (size_t i = 1; i < row.size(); ++i) line[std::string(table.columns[i])] = row[i];
      output.Write(Dump(line) + "\n");
    }
  }
}

void WritePage(const Reading& reading, const std::vector<Table>& tables, Output& output) {
  output.Write(kReportHead);
  ordered_json page;
  page["generated"] = util::TimeStamp(static_cast<int64_t>(std::time(nullptr))).Text().text;
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
  output.Write(text + "\"tables\":{");
  std::string_view between;
  for (const Table& table : tables) {
    output.Write(std::string(between) + "\"" + std::string(table.name) + "\":{\"columns\":" +
                 Dump(table.columns) + ",\"left_out\":" + std::to_string(table.leftOut) + ",\"rows\":[");
    between = ",\n";
    std::string rows;
    for (const ordered_json& row : table.rows)
      rows.append(rows.empty() ? "\n" : ",\n").append(DumpForPage(row));
    output.Write(rows + "]}");
  }
  output.Write("}}");
  output.Write(kReportTail);
}

int RunReport(Options& options) {
  const reader::Sessions sessions = options.inputs.Find();
  Reading reading;
  reader::DocumentReader reader;
  for (size_t i = 0; i < sessions.Count(); ++i) Read(sessions[i], reader, reading);
  const std::vector<Table> tables = TablesOf(reading.figures);
  Output output(options.output);
  options.isJson ? WriteLines(reading, tables, output) : WritePage(reading, tables, output);
  return options.inputs.IsAllReadable() && reading.unreadable == 0 ? kDone : kUnreadable;
}

}  // namespace

void AddReport(CLI::App& app, Run& chosen) {
  const auto options = std::make_shared<Options>();
  CLI::App* const verb =
      app.add_subcommand("report", "Draw what many sessions come to, as one page for a browser");
  options->inputs.AddTo(*verb);
  verb->add_option("-o,--output", options->output, "File to write, instead of standard output");
  verb->add_flag("--json", options->isJson, "The tables of the page instead, one JSON object a line");
  verb->callback([options, &chosen] { chosen = [options] { return RunReport(*options); }; });
}

}  // namespace vantra::inspect
