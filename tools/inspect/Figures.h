// Statistics over many sessions: counts for the tables of a report. Pure. Memory is bounded: each table
// counts a limited number of different items, and the rest only as left out.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "reader/Record.h"
#include "reader/Summary.h"

namespace vantra::inspect {

// Counts by texts. A key is texts, each followed by a NUL.
class Counting {
 public:
  void Add(std::string_view key, uint64_t count = 1);
  // Adds all counts of the other, with this before their keys.
  void AddAll(const Counting& other, std::string_view before);
  void Clear();

  [[nodiscard]] bool IsFull() const noexcept;

  // Visits the most frequent ones, at most this many. Texts are valid during the call.
  using Visit = std::function<void(const std::vector<std::string_view>& texts, uint64_t count)>;
  void VisitTop(size_t most, const Visit& visit) const;
  // How many different keys, or additions to keys that are not kept, VisitTop leaves out.
  [[nodiscard]] uint64_t LeftOut(size_t most) const noexcept;

 private:
  struct Hash {
    using is_transparent = void;
    size_t operator()(std::string_view key) const noexcept { return std::hash<std::string_view>()(key); }
  };
  std::unordered_map<std::string, uint64_t, Hash, std::equal_to<>> counts_;
  size_t bytes_ = 0;
  uint64_t beyond_ = 0;
};

enum class Subject : uint8_t { Events, Groups, Errors, Machines, Days };
constexpr size_t kSubjects = 5;
using Countings = std::array<Counting, kSubjects>;

// Counts over the records of one session. Long texts are cut; an absent one is empty.
class SessionFigures {
 public:
  void Add(const reader::Record& record);
  [[nodiscard]] bool IsFull() const noexcept;
  [[nodiscard]] uint64_t Errors() const noexcept { return errorCount_; }
  [[nodiscard]] const Countings& Counts() const noexcept { return counts_; }
  // Clears the counts; the session continues.
  void ClearCounts();
  // Begins another session.
  void Clear();

 private:
  [[nodiscard]] Counting& Of(Subject subject) noexcept { return counts_[static_cast<size_t>(subject)]; }
  void Add(Subject subject, std::initializer_list<reader::Text> texts);
  void AddValue(const reader::Record& record);

  Countings counts_;
  uint64_t errorCount_ = 0;
  std::string key_;
  // Numbers of the groups whose values are wanted; zero for none.
  int32_t errorGroup_ = 0, machineGroup_ = 0, screenGroup_ = 0;
  std::string errorType_, screenWidth_;
};

struct SessionRow {
  size_t product;
  std::string session, user, start, end;
  reader::State state;
  uint64_t files, records, events, errors;
};

struct Product {
  std::string family, name, version;
  auto operator<=>(const Product&) const = default;
};

class Figures {
 public:
  // Adds counts of a session of that product, all or a part of them.
  void Add(const Countings& counts, const reader::Facts& facts);
  // Adds the session itself; once for each.
  void Add(const reader::Summary& summary, uint64_t errors);

  // The sessions that started last, the last one first.
  [[nodiscard]] const std::vector<SessionRow>& LastSessions();

  [[nodiscard]] const std::vector<Product>& Products() const noexcept { return products_; }
  [[nodiscard]] uint64_t Sessions() const noexcept { return sessions_; }
  [[nodiscard]] size_t Users() const noexcept { return users_.size(); }
  // The first text of each key is the number of a product.
  [[nodiscard]] const Counting& Of(Subject subject) const noexcept {
    return counts_[static_cast<size_t>(subject)];
  }

 private:
  [[nodiscard]] size_t IndexOf(Product product);
  [[nodiscard]] size_t IndexOf(const reader::Facts& facts);
  void KeepLastSessions();

  Countings counts_;
  std::vector<Product> products_;
  std::map<Product, size_t> indices_;
  std::vector<SessionRow> rows_;
  std::unordered_set<size_t> users_;  // their hashes
  uint64_t sessions_ = 0;
};

}  // namespace vantra::inspect
