// Any document is read to its end, with the same result by the quick path, by the full parser and from its
// obfuscated form, and every row is JSON.
#include <nlohmann/json.hpp>
#include <vector>

#include "Fuzz.h"
#include "inspect/Rows.h"
#include "reader/Checker.h"
#include "reader/DocumentReader.h"
#include "session/Obfuscation.h"
#include "util/ByteScans.h"

using namespace vantra;

namespace {

// All findings and rows of a document.
std::string Account(std::string_view document, bool isThorough) {
  reader::DocumentReader reader(isThorough);
  std::string account;
  {
    reader::TextSource source(document);
    reader::Checker checker;
    reader.Open(source);
    checker.Check({"", "a.tmp", *reader::ParseFileName("a.tmp")}, reader,
                  [&](const reader::Finding& finding) {
                    account.append(TextOf(finding.rule).name)
                        .append(" ")
                        .append(std::to_string(finding.offset))
                        .append("\n");
                    Require(finding.offset <= document.size() || reader.IsPacked());
                  });
    Require(reader.Error().empty() || reader.IsPacked());
  }
  const auto rows = inspect::MakeRowWriter(inspect::Format::Ndjson);
  const auto table = inspect::MakeRowWriter(inspect::Format::Csv);
  reader::TextSource source(document);
  reader.Open(source);
  rows->Begin("a", reader::FactsIn(reader.Beginning()), 0);
  table->Begin("a", reader::FactsIn(reader.Beginning()), 0);
  static std::vector<char> room(size_t{1} << 20);
  for (reader::Piece piece; (piece = reader.Next()) != reader::Piece::Done;) {
    if (piece != reader::Piece::Record) continue;
    const auto put = [&](inspect::RowWriter& writer) {
      const char* const end = writer.Write(reader.Current(), room.data());
      const std::string_view row(room.data(), static_cast<size_t>(end - room.data()));
      account += row;
      return row;
    };
    Require(nlohmann::json::accept(put(*rows)));
    put(*table);
  }
  return account;
}

}  // namespace

void Run(std::string_view input) {
  const std::string quick = Account(input, false);
  Require(quick == Account(input, true));
  if (reader::BeginsPacked(input) || input.starts_with(session::kObfuscationMarker)) return;
  std::string obfuscated(input);
  vantra::util::Rotate(obfuscated);
  Require(quick == Account(obfuscated.insert(0, session::kObfuscationMarker), false));
}
