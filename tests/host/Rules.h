// The rules of texts, numbers, records and the log's lines, told once more and plainly: what the documents
// and the log must hold after a host's calls. Knows nothing of the library.
#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

// clang-format off
#include <windows.h>
#include <bcrypt.h>
// clang-format on

#include "TextRules.h"

namespace vantra::test {

using std::to_string;

inline const std::string kUser = "0a1b2c3d-4e5f-6071-8293-a4b5c6d7e8f9", kDate = "2011-03-04T05:06:07Z";
inline constexpr size_t kSplitSize = 102'400;
inline const std::string kPrologue =
    "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n\n<UsageDoc version=\"0.5.4\">\n";

// What the registry holds, as stage::ValuesBelow lists it, in small letters.
struct Registry {
  std::map<std::string, std::string> values;

  void Store(const std::string& path, const std::string& value) {
    for (size_t end = path.find('\\'); end < path.size() - 1; end = path.find('\\', end))
      values.erase(path.substr(0, ++end));
    values[path] = value;
  }
  // Makes a key, which is listed as long as it is empty.
  void Touch(const std::string& key) {
    const auto next = values.lower_bound(key + "\\");
    if (next == values.end() || !next->first.starts_with(key + "\\")) Store(key + "\\", "");
  }
  // The date of its first use.
  void Stamp(const std::string& key) {
    if (!values.contains(key + "\\date")) Store(key + "\\date", "sz:TIME");
  }
  [[nodiscard]] std::string operator[](const std::string& path) const {
    const auto found = values.find(path);
    return found == values.end() ? "" : found->second;
  }
};

using Named = std::initializer_list<std::pair<const char*, std::string>>;

inline std::string Attributes(Named attributes) {
  std::string text;
  for (const auto& [name, value] : attributes) {
    text.append(" ").append(name).append("=\"").append(Escaped(value)).append("\"");
  }
  return text;
}

// The digest by another way than the library's.
inline Text DocumentId(const Text& text, uint32_t length) {
  if (!text) return "0";
  if (length > 0x7fffffff) return {};
  std::string salted = text->substr(0, std::min<size_t>(length, text->find('\0'))) + kUser, digits;
  BCRYPT_ALG_HANDLE provider = nullptr;
  unsigned char hash[16]{};
  BCryptOpenAlgorithmProvider(&provider, BCRYPT_MD5_ALGORITHM, nullptr, 0);
  BCryptHash(provider, nullptr, 0, reinterpret_cast<UCHAR*>(salted.data()), static_cast<ULONG>(salted.size()),
             hash, sizeof hash);
  BCryptCloseAlgorithmProvider(provider, 0);
  for (const int byte : hash) digits.append({"0123456789abcdef"[byte / 16], "0123456789abcdef"[byte % 16]});
  return digits;
}

// What the log must hold, each line with the number of its call.
struct Log {
  uint32_t process = GetCurrentProcessId();
  int call = 0;
  std::vector<std::pair<std::string, int>> lines;

  void Add(const std::string& level, const std::string& message, int line, const std::string& unit) {
    lines.emplace_back("[" + level + "] | PID:" + to_string(process) + " | TIME:TIME | VALUE:" + message +
                           " | DETAIL:File:..\\" + unit + " LINE:" + to_string(line),
                       call);
  }
  // The first line of the written log that is not as wanted.
  [[nodiscard]] std::string Difference(std::vector<std::string> written) const {
    written.resize(std::max(written.size(), lines.size()));
    for (size_t i = 0; i < written.size(); ++i) {
      const auto& [wanted, from] = i < lines.size() ? lines[i] : std::pair("nothing", call);
      if (written[i] != wanted) return written[i] + " instead of " + wanted + " at call " + to_string(from);
    }
    return {};
  }
  void Info(const std::string& message, int line, const std::string& unit = "WrapperUTLogData") {
    Add("INFO", message, line, unit);
  }
  int Debug(const std::string& message, int line, const std::string& unit = "WrapperUTLogData") {
    return Add("DEBUG", message, line, unit), 1;
  }
};

// A session, and what those of its documents that are left must hold, with TIME for each time.
struct Session {
  Log& log;
  std::function<bool()>
      isDelivered;  // whether a document that ends is; else it is deleted, and all before it
  std::string id, product, start;
  int seq = 0, groups = 0;
  size_t bytes = 0;
  std::vector<std::pair<std::string, int>> records;  // with the numbers of their calls

  void Append(const std::string& before, const std::string& after, const std::string& end = "") {
    records.emplace_back(before + " time=\"TIME\"" + after + " seq=\"" + to_string(seq++) + "\" />\n" + end,
                         log.call);
    bytes += records.back().first.size() + kDate.size() - std::string_view("TIME").size();
  }
  // A deleted document's bytes count for the next one, which so is full at its first record.
  void Finish() {
    if (isDelivered())
      bytes = 0;
    else
      records.clear();
  }
  void Write(const std::string& element, Named before, Named after = {}, const std::string& end = "") {
    Append("<" + element + Attributes(before), Attributes(after), end);
    if (bytes < kSplitSize) return;
    Append("<SplitSession id=\"" + id + "\"", "", "</UsageDoc>\n");
    Finish();
    Append(kPrologue + "<ResumeSession id=\"" + id + "\"" + product + " SessionStartTime=\"" + start +
               "\" User=\"" + kUser + "\"",
           "");
  }
  int Group(const std::string& category, const std::string& subcategory, const std::string& name,
            const std::string& doc) {
    Write("NewGroup", {{"category", category}, {"subcategory", subcategory}, {"name", name}},
          {{"group", to_string(++groups)}, {"doc", doc}});
    return groups;
  }
  void Data(int group, const std::string& name, const std::string& value) {
    Write("DataRec", {}, {{"group", to_string(group)}, {"name", name}, {"data", value}});
  }
  void Error(const std::string& type, const std::string& value) {
    const int group = Group("Skylamp", "", "ValidationErrors", "0");
    Data(group, "ErrorType", type), Data(group, "Value", value);
  }
  // Puts what the rule makes of the text in its place; false when it refuses.
  bool Accepts(Text& text, const Rule& rule, const std::string& name = "", int line = 0) {
    const Checked checked = Check(text, rule);
    if (text && (checked.isCut || checked.isRefused)) Error("SK_INVALID_STRING", *text);
    if (checked.isRefused) log.Debug("VerifyString " + name + ": " + checked.value, line);
    text = checked.value;
    return !checked.isRefused;
  }

  // The calls.
  int AddToSession(Text key, Text value) {
    log.Debug("UTAddToSession has valid session", 363);
    if (!Accepts(key, kIdentifier, "pcKey", 376) || !Accepts(value, kOptional512)) return 1;
    return Data(1, *key, *value), 0;
  }
  int LogEvent(Text category, Text subcategory, Text name, const Text& doc) {
    log.Debug("UTLogEvent has valid session", 414);
    if (!doc) return log.Debug("VerifyDocIdBuffer: ", 419);
    for (Text* text : {&category, &subcategory, &name}) Accepts(*text, kOptional128);
    Write("EventRec",
          {{"doc", *doc}, {"category", *category}, {"subcategory", *subcategory}, {"name", *name}});
    return 0;
  }
  int NewDataGroup(Text category, Text subcategory, Text name, const Text& doc, int& group) {
    log.Debug("UTNewDataGroup has valid session", 499);
    if (!doc) return log.Debug("VerifyDocIdBuffer: ", 419);
    if (!Accepts(category, kIdentifier, "pcCategory", 434) || !Accepts(subcategory, kOptional128) ||
        !Accepts(name, kIdentifier, "pcGroupName", 544))
      return 1;
    return group = Group(*category, *subcategory, *name, *doc), 0;
  }
  int AddToGroup(int group, Text key, Text value) {
    log.Debug("UTAddToGroup has valid session", 588);
    if (!Accepts(key, kIdentifier, "pcKey", 376) || !Accepts(value, kOptional512)) return 1;
    if (group >= 0 && group <= groups) return Data(group, *key, *value), 0;
    log.Debug("AddToGroup VerifyGroupId: " + to_string(group), 889);
    Error("SK_INVALID_GROUPID", to_string(Group("Skylamp", "", "ValidationErrors", "0")));
    return 1;
  }
  void CloseSession(const std::string& key, int optIn, const std::string& date, bool hasFile) {
    const char* const words[] = {"UNKNOWN", "FALSE", "TRUE"};
    const int group = Group("Skylamp", "", "OptInInfo", "0");
    Data(group, "Key", key), Data(group, "OptedIn", words[optIn + 1]);
    if (!date.empty()) Data(group, "Date", date);
    log.Debug("UTCloseSession Before EndSession: ", 638);
    if (hasFile) Write("EndSession", {{"id", id}}, {}, "</UsageDoc>\n"), Finish();
    log.Debug("UTCloseSession Success: ", 656);
  }
};

}  // namespace vantra::test
