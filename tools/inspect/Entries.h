// Records of a session as a person reads them: each group with the values that follow it. Pure.
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

// Texts are the host's, in UTF-8; empty where a record has none.
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
  EntryLabels labels;  // of Group and Event; of Values those of the group that they belong to, if known
  std::vector<std::pair<std::string, std::string>> values;  // of Group and Values
};

// Which entries are wanted: all, or those that meet every condition given. Patterns may hold '*' and are
// compared without regard to ASCII case. Times are beginnings of 2026-11-24T22:02:41Z.
struct EntryFilter {
  std::string event, category, since, until;

  [[nodiscard]] bool IsGiven() const noexcept {
    return !event.empty() || !category.empty() || !since.empty() || !until.empty();
  }
  [[nodiscard]] bool Takes(Entry::Kind kind, std::string_view time, const EntryLabels& labels) const;
};

[[nodiscard]] bool Matches(std::string_view text, std::string_view pattern) noexcept;

// Whether the text is the beginning of a time, at least a year long.
[[nodiscard]] bool IsTimeBeginning(std::string_view text) noexcept;

// Folds values into the entry of their group. One for each session.
class EntryFolder {
 public:
  using Take = std::function<void(const Entry&)>;
  // Told beside the text of a record that is wanted, in the order of the records.
  using TakeRaw = std::function<void(std::string_view record)>;

  EntryFolder(const EntryFilter& filter, Take take, TakeRaw takeRaw = {})
      : filter_(filter), take_(std::move(take)), takeRaw_(std::move(takeRaw)) {}

  void Add(const reader::Record& record);
  // Hands on what was kept for values that might have followed.
  void Flush();
  // Begins with another numbering of groups, that of a crash document.
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

// For a terminal: what would move the cursor or the reading order is written as \x1b.
[[nodiscard]] std::string Visible(std::string_view text);

// A line, and one for each value. Values alone when they go on with the entry before.
[[nodiscard]] std::string TextOf(const Entry& entry, bool isContinued);
// An object and a line feed. The session is that of the entry.
[[nodiscard]] std::string JsonOf(const Entry& entry, std::string_view session);

}  // namespace vantra::inspect
