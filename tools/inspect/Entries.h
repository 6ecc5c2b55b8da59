// A session's records as entries for reading: each group with the values that follow it. Pure.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "reader/Record.h"

namespace vantra::inspect {

// The host's texts, in UTF-8; empty where a record has none.
struct EntryLabels {
  std::string category, subcategory, name;
};

struct Entry {
  enum class Kind : uint8_t { Start, Resume, Group, Values, Event, Split, End };
  Kind kind;
  int32_t seq;
  int32_t group = 0;
  std::string time;
  std::string doc;     // empty without a document
  EntryLabels labels;  // of Group and Event; for Values those of their group, if known
  std::vector<std::pair<std::string, std::string>> values;  // of Group and Values
};

// Selects the entries that meet every condition given; all, if none is. Patterns may hold '*', and match
// without regard to ASCII case. Times are prefixes of the form 2026-11-24T22:02:41Z.
struct EntryFilter {
  std::string event, category, since, until;

  [[nodiscard]] bool IsGiven() const noexcept {
    return !event.empty() || !category.empty() || !since.empty() || !until.empty();
  }
  [[nodiscard]] bool Takes(Entry::Kind kind, std::string_view time, const EntryLabels& labels) const;
};

[[nodiscard]] bool Matches(std::string_view text, std::string_view pattern) noexcept;

// Whether the text is a prefix of a time, with at least the year.
[[nodiscard]] bool IsTimeBeginning(std::string_view text) noexcept;

// Combines values with the entry of their group. Use one object for each session.
class EntryFolder {
 public:
  using Take = std::function<void(const Entry&)>;
  // If given, receives the text of each selected record, in order, instead of Take.
  using TakeRaw = std::function<void(std::string_view record)>;

  EntryFolder(const EntryFilter& filter, Take take, TakeRaw takeRaw = {})
      : filter_(filter), take_(std::move(take)), takeRaw_(std::move(takeRaw)) {}

  void Add(const reader::Record& record);
  // Passes on the entry kept back for further values.
  void Flush();
  // Forgets the groups: a crash document numbers its own.
  void ForgetGroups() { groups_.clear(); }

 private:
  void AddValue(const reader::Record& record);
  [[nodiscard]] EntryLabels LabelsOf(const reader::Record& record);

  const EntryFilter& filter_;
  Take take_;
  TakeRaw takeRaw_;
  std::optional<Entry> open_;
  std::unordered_map<int32_t, EntryLabels> groups_;
};

// For terminals: writes characters that would move the cursor or change the reading order as \x1b and so on,
// and likewise bytes that are no UTF-8.
[[nodiscard]] std::string Visible(std::string_view text);

// One line, and one more for each value; only the values when they continue the entry before.
[[nodiscard]] std::string TextOf(const Entry& entry, bool isContinued);
// One JSON object and a line feed. session is the entry's session.
[[nodiscard]] std::string JsonOf(const Entry& entry, std::string_view session);

}  // namespace vantra::inspect
