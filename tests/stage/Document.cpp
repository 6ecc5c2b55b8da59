#include "stage/Document.h"

#include <algorithm>
#include <map>
#include <stdexcept>
#include <utility>

namespace vantra::stage {
namespace {

using testkit::detail::Take;

constexpr std::string_view kMarker = "R-M$ke#$vQPo5lupadix";
constexpr std::string_view kTime = "dddd-dd-ddTdd:dd:ddZ";
constexpr std::string_view kGuid = "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx";

constexpr std::string_view kPrologue =
    "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n\n<UsageDoc version=\"0.5.4\">\n";
constexpr std::string_view kEndTag = "</UsageDoc>\n";
constexpr std::string_view kRecordEnd = " />\n";

// A record whose values have everything escaped that has to be.
bool IsWellFormed(std::string_view record) {
  bool isValue = false;
  for (size_t i = 0; i < record.size(); ++i) {
    const char c = record[i];
    if (c == '"') {
      isValue = !isValue;
    } else if (isValue ? c == '<' || c == '>' || c == '\'' || c == '\\' || (c == '&' && record[i + 1] != '#')
                       : (c == '<') != (i == 0)) {
      return false;
    }
  }
  return !isValue;
}

// Whether the text begins as the pattern says, d standing for a digit and x for a lower-case hexadecimal one.
bool Begins(std::string_view text, std::string_view pattern) {
  const auto fits = [](char p, char c) {
    const bool isDigit = c >= '0' && c <= '9';
    return p == 'd' ? isDigit : p == 'x' ? isDigit || (c >= 'a' && c <= 'f') : p == c;
  };
  return text.size() >= pattern.size() && std::equal(pattern.begin(), pattern.end(), text.begin(), fits);
}

}  // namespace

std::string ReadDocument(const Path& path) {
  std::string text = ReadFile(path);
  const bool isObfuscated = text.starts_with(kMarker);
  if (path.extension() != ".tmp" && isObfuscated != (path.extension() == ".rdy")) {
    throw std::runtime_error(Utf8(path.native()) + " is not what its name says");
  }
  if (!isObfuscated) return text;
  text.erase(0, kMarker.size());
  for (char& c : text) {
    if (c >= '!' && c <= '~') c = static_cast<char>('!' + (c - '!' + 47) % 94);
  }
  return text;
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

std::vector<Record> Records(std::string_view document) {
  std::vector<Record> records;
  testkit::detail::AppendRecords(document, records);
  return records;
}

std::vector<Record> WholeRecords(std::string_view text) {
  std::vector<Record> records;
  const bool hasPrologue = text.starts_with(kPrologue);
  if (hasPrologue) text.remove_prefix(kPrologue.size());
  while (!text.empty()) {
    if (text.starts_with(kEndTag)) {
      records.push_back({.session = {}, .element = "/", .attributes = {}});
      text.remove_prefix(kEndTag.size());
      continue;
    }
    const size_t end = text.find(kRecordEnd);
    const std::string_view record = text.substr(0, end == text.npos ? end : end + kRecordEnd.size());
    const std::vector<Record> one = end == text.npos ? std::vector<Record>() : Records(record);
    if (one.size() != 1 || (one[0].element != "ResumeSession" && !IsWellFormed(record))) {
      throw std::runtime_error("no record: " + std::string(record.substr(0, 200)));
    }
    const bool isOpening = one[0].element == "StartSession" || one[0].element == "ResumeSession";
    if (isOpening != (hasPrologue && records.empty()))
      throw std::runtime_error("a beginning where none should be");
    records.push_back(one[0]);
    text.remove_prefix(record.size());
  }
  return records;
}

std::string Normalised(std::string_view text) {
  std::vector<std::string_view> ids;
  std::string normalised;
  while (!text.empty()) {
    if (Begins(text, kTime)) {
      normalised += "TIME";
      text.remove_prefix(kTime.size());
    } else if (Begins(text, kGuid)) {
      const auto known = std::ranges::find(ids, text.substr(0, kGuid.size()));
      normalised += "ID" + std::to_string(known - ids.begin() + 1);
      if (known == ids.end()) ids.push_back(text.substr(0, kGuid.size()));
      text.remove_prefix(kGuid.size());
    } else {
      normalised += text.front();
      text.remove_prefix(1);
    }
  }
  return normalised;
}

Lines AgentStarts(const Path& folder) {
  Lines lines;
  for (const std::string& name : FilesIn(folder)) {
    if (name.ends_with(".agent")) lines.push_back(ReadFile(folder / name));
  }
  return lines;
}

std::string RawLog() { return ReadFile(AppData() / "Tolvex" / "Skylamp" / "SKLog-Vantra.txt"); }

void SwitchLogOn(std::string_view config) { WriteFile(CaseFolder() / "SKLog.config", config); }

Lines LogLines() {
  const std::string log = RawLog();
  Lines lines;
  for (std::string_view rest = log; !rest.empty();) {
    std::string_view line = Take(rest, "\r\n");
    const std::string_view level = Take(line, "] | PID:").substr(1);
    Take(line, " | VALUE:");
    const std::string_view message = Take(line, " | DETAIL:File:..\\");
    const std::string_view unit = Take(line, " LINE:");
    lines.push_back(
        std::string(level).append(" ").append(message).append(" @").append(unit).append(":").append(line));
  }
  return lines;
}

Lines NewLog(const std::string& level) {
  static std::map<std::string, size_t> seen;
  Lines lines;
  for (const std::string& line : LogLines()) {
    if (!line.starts_with(level + " ")) continue;
    const size_t unit = line.rfind(" @");
    lines.push_back(line.substr(level.size() + 1, unit - level.size() - 1) + "@" +
                    line.substr(line.rfind(':') + 1));
  }
  const size_t old = std::exchange(seen[level], lines.size());
  lines.erase(lines.begin(), lines.begin() + static_cast<ptrdiff_t>(old));
  return lines;
}

}  // namespace vantra::stage
