#include "Entries.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>

#include "reader/Text.h"

namespace vantra::inspect {
namespace {

using reader::Record;

// Limits to what is kept of a session, however many groups and values it has.
constexpr size_t kMostGroups = 16'384;
constexpr size_t kMostValues = 1'000;
constexpr size_t kLongestLabel = 128;

constexpr size_t kLabels = 36;  // their column in a line

constexpr std::array<std::string_view, 7> kKinds = {"start", "resume", "group", "values",
                                                    "event", "split",  "end"};

constexpr char Lower(char c) noexcept { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

std::string Plain(const reader::Text& text) {
  std::string plain;
  if (text.HasValue()) reader::Unescape(text.raw, plain);
  return plain;
}

Entry::Kind KindOf(reader::Kind kind) noexcept {
  constexpr std::array<Entry::Kind, reader::kKinds> kOf = {
      Entry::Kind::Start, Entry::Kind::Resume, Entry::Kind::Group, Entry::Kind::Values,
      Entry::Kind::Event, Entry::Kind::Split,  Entry::Kind::End};
  return kOf[static_cast<size_t>(kind)];
}

// The size of a character that controls a terminal or changes the reading order; zero for any other.
size_t SizeOfInvisible(std::string_view text) noexcept {
  const auto byte = [&](size_t i) { return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U; };
  if (byte(0) < ' ' || byte(0) == 0x7F) return 1;
  if (byte(0) == 0xC2 && byte(1) < 0xA0) return 2;   // control characters beyond ASCII
  if (byte(0) == 0xD8 && byte(1) == 0x9C) return 2;  // U+061C
  const auto isAny = [byte](unsigned middle, unsigned first, unsigned last) {
    return byte(1) == middle && byte(2) >= first && byte(2) <= last;
  };
  const bool isDirection = isAny(0x80, 0x8E, 0x8F) || isAny(0x80, 0xA8, 0xAE) || isAny(0x81, 0xA6, 0xA9);
  return byte(0) == 0xE2 && isDirection ? 3 : 0;
}

void AppendLabels(const EntryLabels& labels, std::string& line) {
  std::string_view between;
  for (const std::string* label : {&labels.category, &labels.subcategory, &labels.name}) {
    if (label->empty()) continue;
    line.append(between).append(Visible(*label));
    between = " / ";
  }
}

std::string HeadOf(const Entry& entry) {
  std::string text(entry.time.empty() ? std::string(20, '-') : entry.time);
  text.append("  ").append(kKinds[static_cast<size_t>(entry.kind)]);
  if (entry.group != 0) text.append(" ").append(std::to_string(entry.group));
  text.resize(std::max(text.size() + 1, kLabels), ' ');
  AppendLabels(entry.labels, text);
  if (!entry.doc.empty()) text.append("  doc ").append(entry.doc);
  text.erase(text.find_last_not_of(' ') + 1);
  return text + '\n';
}

nlohmann::json OrNull(std::string_view text) {
  return text.empty() ? nlohmann::json() : nlohmann::json(text);
}

}  // namespace

bool Matches(std::string_view text, std::string_view pattern) noexcept {
  // Where to continue if the text after the last '*' does not match.
  size_t retryText = 0;
  size_t retryPattern = std::string_view::npos;
  size_t t = 0;
  size_t p = 0;
  while (t < text.size()) {
    if (p < pattern.size() && pattern[p] == '*') {
      retryText = t;
      retryPattern = ++p;
    } else if (p < pattern.size() && Lower(text[t]) == Lower(pattern[p])) {
      ++t;
      ++p;
    } else if (retryPattern != std::string_view::npos) {
      t = ++retryText;
      p = retryPattern;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of('*', p) == std::string_view::npos;
}

bool IsTimeBeginning(std::string_view text) noexcept {
  constexpr std::string_view kForm = "0000-00-00T00:00:00Z";
  constexpr size_t kYear = 4;
  if (text.size() < kYear || text.size() > kForm.size()) return false;
  return std::ranges::equal(text, kForm.substr(0, text.size()),
                            [](char c, char form) { return form == '0' ? c >= '0' && c <= '9' : c == form; });
}

bool EntryFilter::Takes(Entry::Kind kind, std::string_view time, const EntryLabels& labels) const {
  if ((!since.empty() || !until.empty()) && time.empty()) return false;
  if (!since.empty() && time < since) return false;
  if (!until.empty() && time.substr(0, until.size()) > until) return false;
  if (!event.empty() && (kind != Entry::Kind::Event || !Matches(labels.name, event))) return false;
  const bool hasCategory =
      kind == Entry::Kind::Event || kind == Entry::Kind::Group || kind == Entry::Kind::Values;
  return category.empty() || (hasCategory && Matches(labels.category, category));
}

EntryLabels EntryFolder::LabelsOf(const Record& record) {
  if (record.kind != reader::Kind::Value)
    return {Plain(record.category), Plain(record.subcategory), Plain(record.name)};
  const auto group = groups_.find(record.group);
  return group == groups_.end() ? EntryLabels() : group->second;
}

void EntryFolder::Add(const Record& record) {
  EntryLabels labels = LabelsOf(record);
  if (record.kind == reader::Kind::Group && groups_.size() < kMostGroups) {
    EntryLabels known = labels;
    for (std::string* label : {&known.category, &known.subcategory, &known.name})
      label->resize(std::min(label->size(), kLongestLabel));
    groups_.insert_or_assign(record.group, std::move(known));
  }
  const Entry::Kind kind = KindOf(record.kind);
  if (!filter_.Takes(kind, record.time, labels)) return;
  if (takeRaw_) return takeRaw_(record.text);
  if (kind == Entry::Kind::Values && open_ && open_->group == record.group &&
      open_->values.size() < kMostValues) {
    return AddValue(record);
  }
  Flush();
  const std::string_view doc = record.doc == "0" || record.doc == "NOVALUE" ? "" : record.doc;
  open_ = Entry{kind, record.seq, record.group, std::string(record.time), std::string(doc), std::move(labels),
                {}};
  if (kind == Entry::Kind::Values) return AddValue(record);
  if (kind != Entry::Kind::Group) Flush();
}

void EntryFolder::AddValue(const Record& record) {
  open_->values.emplace_back(Plain(record.name), Plain(record.value));
}

void EntryFolder::Flush() {
  if (open_) take_(*open_);
  open_.reset();
}

std::string Visible(std::string_view text) {
  constexpr std::string_view kHex = "0123456789abcdef";
  std::string visible;
  for (size_t i = 0; i < text.size();) {
    const reader::Character character = reader::ReadCharacter(text.data() + i, text.data() + text.size());
    const size_t hidden = character.size == 0 ? character.invalid : SizeOfInvisible(text.substr(i));
    if (hidden == 0) {
      visible += text.substr(i, character.size);
      i += character.size;
      continue;
    }
    for (const size_t end = i + hidden; i < end; ++i) {
      const auto byte = static_cast<unsigned char>(text[i]);
      visible.append("\\x").append(1, kHex[byte >> 4]).append(1, kHex[byte & 15]);
    }
  }
  return visible;
}

std::string TextOf(const Entry& entry, bool isContinued) {
  std::string text = isContinued ? std::string() : HeadOf(entry);
  for (const auto& [name, value] : entry.values) {
    text.append(kLabels + 2, ' ').append(Visible(name));
    text.append(value.empty() ? " (nothing)" : " = ").append(Visible(value)).append("\n");
  }
  return text;
}

std::string JsonOf(const Entry& entry, std::string_view session) {
  nlohmann::ordered_json json;
  json["session"] = OrNull(session);
  json["seq"] = entry.seq;
  json["time"] = OrNull(entry.time);
  json["kind"] = kKinds[static_cast<size_t>(entry.kind)];
  json["group"] = entry.group == 0 ? nlohmann::json() : nlohmann::json(entry.group);
  json["category"] = OrNull(entry.labels.category);
  json["subcategory"] = OrNull(entry.labels.subcategory);
  json["name"] = OrNull(entry.labels.name);
  json["doc"] = OrNull(entry.doc);
  json["values"] = nlohmann::json::array();
  for (const auto& [name, value] : entry.values)
    json["values"].push_back(nlohmann::ordered_json{{"name", OrNull(name)}, {"value", OrNull(value)}});
  return json.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

}  // namespace vantra::inspect
