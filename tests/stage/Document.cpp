#include "stage/Document.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "reader/Checker.h"
#include "reader/Decoded.h"

namespace vantra::stage {
namespace {

using testkit::detail::Take;

}  // namespace

std::string ReadDocument(const Path& path) {
  const std::string bytes = ReadFile(path);
  reader::TextSource file(bytes);
  std::string text(bytes.size(), '\0');
  text.resize(reader::DecodedSource(file).Read(text.data(), text.size()));
  return text;
}

std::vector<Record> Records(std::string_view document) {
  std::vector<Record> records;
  testkit::detail::AppendRecords(document, records);
  return records;
}

std::vector<Document> ReadDocuments(const std::vector<Path>& folders) {
  using reader::Rule;
  constexpr Rule kHosts[] = {Rule::Control,   Rule::Utf8,    Rule::NoCharacter,
                             Rule::RawMarkup, Rule::TooLong, Rule::SplitAfterEnd};
  std::vector<std::string> inputs;
  for (const Path& folder : folders) inputs.push_back(Utf8(folder.native()));
  std::vector<Document> documents;
  reader::Sessions sessions(inputs, [](auto, auto) {});
  reader::DocumentReader reader;
  reader::Checker checker;
  while (sessions.Next()) {
    for (size_t i = 0; i < sessions.Count(); ++i, checker.Reset()) {
      for (const reader::Document& found : sessions[i].documents) {
        if (!found.file.starts_with("ulog_")) continue;
        Document& document = documents.emplace_back(std::string(found.file), found.name.index);
        const std::string bytes = ReadFile(Wide(found.Path()));
        reader::TextSource checked(bytes), read(bytes);
        reader.Open(checked);
        checker.Check(found, reader, [&](const reader::Finding& finding) {
          const auto [name, sentence] = TextOf(finding.rule);
          if (std::ranges::count(kHosts, finding.rule) == 0)
            document.findings.push_back(
                {name, found.Path().append(" ").append(sentence).append(": ").append(finding.text)});
        });
        reader.Open(read);
        for (reader::Piece piece; (piece = reader.Next()) != reader::Piece::Done;)
          if (piece == reader::Piece::Record)
            testkit::detail::AppendRecords(reader.Current().text, document.records);
      }
    }
  }
  return documents;
}

Lines Findings() {
  Lines findings;
  for (const Document& document : ReadDocuments({Logs()})) {
    for (const Finding& finding : document.findings)
      if (finding.rule != "open") findings.push_back(finding.text);
  }
  return findings;
}

Lines Documents() {
  Lines names = FilesIn(Logs());
  std::erase_if(names, [](const std::string& name) { return name.starts_with("ulog_SkylampOptin"); });
  return names;
}

Path OpenFile() {
  for (const std::string& name : Documents()) {
    if (name.ends_with(".tmp")) return Logs() / Wide(name);
  }
  return {};
}

std::string OnlyDocument() {
  const Lines names = Documents();
  if (names.size() != 1) throw std::runtime_error(std::to_string(names.size()) + " documents instead of one");
  return ReadDocument(Logs() / Wide(names[0]));
}

std::string Normalised(std::string_view text) {
  // d stands for a digit, x for a lower-case hexadecimal one.
  const auto begins = [&](std::string_view pattern) {
    const auto fits = [](char p, char c) {
      const bool isDigit = c >= '0' && c <= '9';
      return p == 'd' ? isDigit : p == 'x' ? isDigit || (c >= 'a' && c <= 'f') : p == c;
    };
    return text.size() >= pattern.size() && std::equal(pattern.begin(), pattern.end(), text.begin(), fits);
  };
  std::vector<std::string_view> ids;
  std::string normalised;
  while (!text.empty()) {
    size_t size = 1;
    if (begins("dddd-dd-ddTdd:dd:ddZ")) {
      size = 20;
      normalised += "TIME";
    } else if (begins("xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx")) {
      size = 36;
      const auto known = std::ranges::find(ids, text.substr(0, size));
      normalised += "ID" + std::to_string(known - ids.begin() + 1);
      if (known == ids.end()) ids.push_back(text.substr(0, size));
    } else {
      normalised += text.front();
    }
    text.remove_prefix(size);
  }
  return normalised;
}

Lines AgentStarts() {
  Lines lines;
  for (const std::string& name : FilesIn(CaseFolder())) {
    if (name.ends_with(".agent")) lines.push_back(ReadFile(CaseFolder() / name));
  }
  return lines;
}

void SwitchLogOn(std::string_view config) { WriteFile(CaseFolder() / "SKLog.config", config); }

Lines LogLines() {
  const std::string log = Normalised(ReadFile(AppData() / "Tolvex" / "Skylamp" / "SKLog-Vantra.txt"));
  Lines lines;
  for (std::string_view rest = log; !rest.empty();) lines.emplace_back(Take(rest, "\r\n"));
  return lines;
}

}  // namespace vantra::stage
