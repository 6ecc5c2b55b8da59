// Medians of interleaved rounds, beside bare platform calls measured in the same rounds.
#pragma once

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "World.h"

namespace vantra::bench {

struct Figure {
  std::string group;
  std::string name;
  double nanoseconds = 0;
  double bareNanoseconds = 0;
  double ratio = 0;         // median of the ratios of the rounds
  double target = 0;        // zero: none
  double allocations = -1;  // per call; negative: not counted
};

class Figures {
 public:
  explicit Figures(int rounds) : rounds_(rounds) {}

  [[nodiscard]] int Rounds() const { return rounds_; }

  // Runs both sides in each round; they take turns at going first. A side returns the nanoseconds of one
  // call.
  template <class Ours, class Bare>
  Figure& Compare(const std::string& group, const std::string& name, Ours&& ours, Bare&& bare) {
    std::vector<double> mine;
    std::vector<double> theirs;
    std::vector<double> ratios;
    for (int round = 0; round < rounds_; ++round) {
      const bool oursFirst = round % 2 == 0;
      double first = oursFirst ? ours() : bare();
      double second = oursFirst ? bare() : ours();
      if (!oursFirst) std::swap(first, second);
      mine.push_back(first);
      theirs.push_back(second);
      ratios.push_back(first / second);
    }
    return Add({.group = group,
                .name = name,
                .nanoseconds = Median(mine),
                .bareNanoseconds = Median(theirs),
                .ratio = Median(ratios)});
  }

  Figure& Add(Figure figure);
  void AddFact(const std::string& name, double value, const std::string& unit);
  [[nodiscard]] nlohmann::json AsJson() const;

  static double Median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
  }

 private:
  struct Fact {
    std::string name;
    double value;
    std::string unit;
  };

  int rounds_;
  std::vector<Figure> figures_;
  std::vector<Fact> facts_;
};

// The mean time of a call, in nanoseconds.
template <class Call>
double Time(int calls, Call&& call) {
  const int64_t start = Now();
  for (int i = 0; i < calls; ++i) call(i);
  return static_cast<double>(Now() - start) / calls;
}

void MeasureCalls(Figures& figures, const World& world);
void MeasureThreads(Figures& figures, const World& world);
void MeasurePeers(Figures& figures, const World& world);
void MeasureStarts(Figures& figures, const World& world);
void MeasureSessions(Figures& figures, const World& world, size_t most);

}  // namespace vantra::bench
