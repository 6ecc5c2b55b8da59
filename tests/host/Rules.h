// The rules of texts, numbers, records and the log's lines, told once more and plainly: what the documents
// and the log must hold after a host's calls. Knows nothing of the library.
#pragma once

#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

// clang-format off
#include <windows.h>
#include <bcrypt.h>
// clang-format on

namespace vantra::test {

using std::to_string;
using Text = std::optional<std::string>;  // none for NULL

inline const std::string kUser = "0a1b2c3d-4e5f-6071-8293-a4b5c6d7e8f9", kDate = "2011-03-04T05:06:07Z";
inline const std::string kPrologue =
    "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n\n<UsageDoc version=\"0.5.4\">\n";

struct Rule {
  size_t limit;
  bool isIdentifier = false, mayBeMissing = false, mayHoldBackslash = true;
};
inline constexpr Rule kIdentifier{128, true}, kUsageKey{64, false, false, false}, kDemographicKey{64};
inline constexpr Rule kOptional128{128, false, true}, kOptional512{512, false, true}, kNeeded512{512};

inline bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

struct Checked {
  std::string value;
  bool isRefused = false, isCut = false;
};

inline Checked Check(const Text& text, const Rule& rule) {
  if (!text || text->empty()) {
    if (rule.mayBeMissing) return {"NOVALUE"};
    return {text ? "SK_STR_EMPTY" : "SK_STR_NULL", true};
  }
  if (!rule.mayHoldBackslash && text->find('\\') != text->npos) return {*text, true};
  const std::string whole = (rule.isIdentifier && !IsLetter(text->front()) ? "SK_" : "") + *text;
  std::string value = whole.substr(0, rule.limit);
  for (char& c : value) {
    if (rule.isIdentifier && !IsLetter(c) && !(c >= '0' && c <= '9')) c = '_';
  }
  return {value, false, value.size() < whole.size()};
}

using Named = std::initializer_list<std::pair<const char*, std::string>>;

inline std::string Attributes(Named attributes) {
  static const std::map<char, std::string> kReferences = {{'&', "&#38;"}, {'<', "&#60;"},  {'>', "&#62;"},
                                                          {'"', "&#34;"}, {'\'', "&#39;"}, {'\\', "&#92;"}};
  std::string text;
  for (const auto& [name, value] : attributes) {
    text.append(" ").append(name).append("=\"").append(value.empty() ? "NOVALUE" : "");
    for (const char c : value) text += kReferences.contains(c) ? kReferences.at(c) : std::string(1, c);
    text += '"';
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
  int call = 0;
  std::vector<std::pair<std::string, int>> lines;

  void Add(const std::string& level, const std::string& message, int line) {
    lines.emplace_back(level + " " + message + " @WrapperUTLogData:" + to_string(line), call);
  }
  // The first line of the written log that is not as wanted.
  [[nodiscard]] std::string Difference(std::vector<std::string> written) const {
    std::erase_if(written, [](auto& line) { return line.find(" @WrapperUTLogData:") == line.npos; });
    written.resize(std::max(written.size(), lines.size()));
    for (size_t i = 0; i < written.size(); ++i) {
      const auto& [wanted, from] = i < lines.size() ? lines[i] : std::pair("nothing", call);
      if (written[i] != wanted) return written[i] + " instead of " + wanted + " at call " + to_string(from);
    }
    return {};
  }
  void Info(const std::string& message, int line) { Add("INFO", message, line); }
  int Debug(const std::string& message, int line) { return Add("DEBUG", message, line), 1; }
};

// A session, and what its documents must hold.
struct Session {
  Log& log;
  void* handle = nullptr;
  std::string files, id, product, start;
  int seq = 0, groups = 0, documents = 1;
  size_t bytes = 0;
  struct Wanted {
    std::string beforeTime, afterTime;
    int call;
  };
  std::vector<Wanted> records;

  void Append(const std::string& before, const std::string& after, const std::string& end = "") {
    records.push_back(
        {before + " time=\"", "\"" + after + " seq=\"" + to_string(seq++) + "\" />\n" + end, log.call});
    bytes += records.back().beforeTime.size() + kDate.size() + records.back().afterTime.size();
  }
  void Write(const std::string& element, Named before, Named after = {}, const std::string& end = "") {
    Append("<" + element + Attributes(before), Attributes(after), end);
    if (bytes < 102'400) return;
    Append("<SplitSession id=\"" + id + "\"", "", "</UsageDoc>\n");
    bytes = 0, ++documents;
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
  void CloseSession() {
    log.Info("UTCloseSession", 620);
    log.Debug("UTCloseSession has valid session", 631);
    const int group = Group("Skylamp", "", "OptInInfo", "0");
    Data(group, "Key", "MyProduct"), Data(group, "OptedIn", "TRUE"), Data(group, "Date", kDate);
    log.Debug("UTCloseSession Before EndSession: ", 638);
    Write("EndSession", {{"id", id}}, {}, "</UsageDoc>\n");
    log.Debug("UTCloseSession Success: ", 656);
  }
};

}  // namespace vantra::test
