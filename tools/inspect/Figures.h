// What many sessions come to: counts for the tables of a report. Pure. Memory has a bound: what is counted
// has a most of different things, and what comes beyond is only counted as left out.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "reader/Record.h"
#include "reader/Summary.h"

namespace vantra::inspect {

// Counts by product and texts, which are cut when they are long. An absent text is empty.
class Counting {
 public:
  using Texts = std::vector<std::string>;

  void Add(size_t product, const Texts& texts, uint64_t count = 1);

  struct Row {
    size_t product;
    Texts texts;
    uint64_t count;
  };
  // The most frequent ones, so many at most.
  [[nodiscard]] std::vector<Row> Top(size_t most) const;
  // How many different things, or additions to such, Top leaves out.
  [[nodiscard]] uint64_t LeftOut(size_t most) const noexcept;

 private:
  std::map<std::string, uint64_t> counts_;
  size_t bytes_ = 0;
  uint64_t beyond_ = 0;
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
  // First the session, then its records.
  void Begin(const reader::Summary& summary);
  void Add(const reader::Record& record);
  void End();

  // The sessions that started last, the last one first.
  [[nodiscard]] std::vector<SessionRow> LastSessions();

  [[nodiscard]] const std::vector<Product>& Products() const noexcept { return products_; }
  [[nodiscard]] uint64_t Sessions() const noexcept { return sessions_; }
  [[nodiscard]] size_t Users() const noexcept { return users_.size(); }

  static constexpr size_t kMostSessions = 5'000;

  Counting days, events, groups, errors, machines;

 private:
  size_t IndexOf(Product product);
  void AddValue(const reader::Record& record);

  std::vector<Product> products_;
  std::map<Product, size_t> indices_;
  std::vector<SessionRow> rows_;
  std::unordered_set<size_t> users_;  // their hashes
  uint64_t sessions_ = 0;

  SessionRow row_{};
  // Numbers of the groups whose values are wanted, zero while there is none.
  int32_t errorGroup_ = 0, machineGroup_ = 0, screenGroup_ = 0;
  std::string errorType_, screenWidth_;
};

}  // namespace vantra::inspect
