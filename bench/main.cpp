// Measures the library and prints one table.
#include <cstdio>
#include <exception>
#include <fstream>
#include <string_view>

#include "Figures.h"

namespace vantra::bench {

Figure& Figures::Add(Figure figure) {
  std::printf("%-9s %-44s %10.0f %10.0f %8.3f\n", figure.group.c_str(), figure.name.c_str(),
              figure.nanoseconds, figure.bareNanoseconds, figure.ratio);
  std::fflush(stdout);
  return figures_.emplace_back(std::move(figure));
}

void Figures::AddFact(const std::string& name, double value, const std::string& unit) {
  std::printf("%-9s %-44s %10.0f %s\n", "fact", name.c_str(), value, unit.c_str());
  facts_.push_back({name, value, unit});
}

nlohmann::json Figures::AsJson() const {
  nlohmann::json json = {
      {"rounds", rounds_}, {"figures", nlohmann::json::array()}, {"facts", nlohmann::json::array()}};
  for (const Figure& figure : figures_) {
    nlohmann::json entry = {{"group", figure.group},
                            {"name", figure.name},
                            {"nanoseconds", figure.nanoseconds},
                            {"bareNanoseconds", figure.bareNanoseconds},
                            {"ratio", figure.ratio}};
    if (figure.target > 0) entry["target"] = figure.target;
    if (figure.allocations >= 0) entry["allocationsPerCall"] = figure.allocations;
    json["figures"].push_back(std::move(entry));
  }
  for (const Fact& fact : facts_) {
    json["facts"].push_back({{"name", fact.name}, {"value", fact.value}, {"unit", fact.unit}});
  }
  return json;
}

namespace {

constexpr int kRounds = 61;
constexpr int kQuickRounds = 15;

struct Options {
  bool isQuick = false;
  const char* json = nullptr;
  const char* instructions = nullptr;  // a file of lines: record, instructions now, instructions kept
};

nlohmann::json PrintInstructions(const char* path) {
  nlohmann::json counts = nlohmann::json::array();
  std::ifstream file(path);
  std::printf("\n%-44s %10s %10s\n", "Instructions to build one record", "now", "kept");
  std::string record;
  for (int now = 0, kept = 0; file >> record >> now >> kept;) {
    std::printf("%-44s %10d %10d\n", record.c_str(), now, kept);
    counts.push_back({{"record", record}, {"instructions", now}, {"kept", kept}});
  }
  return counts;
}

int Run(const Options& options) {
  const World world;
  Figures figures(options.isQuick ? kQuickRounds : kRounds);
  std::printf("%-9s %-44s %10s %10s %8s\n", "", "", "ns", "bare ns", "ratio");
  MeasureStarts(figures, world);
  MeasureCalls(figures, world);
  MeasureThreads(figures, world);
  MeasurePeers(figures, world);
  MeasureSessions(figures, world, options.isQuick ? 1'000 : 10'000);
  nlohmann::json json = figures.AsJson();
  std::puts("\nHeap allocations a call in steady state:");
  for (const auto& figure : json["figures"]) {
    if (figure.contains("allocationsPerCall")) {
      std::printf("  %-44s %6.3f\n", figure["name"].get<std::string>().c_str(),
                  figure["allocationsPerCall"].get<double>());
    }
  }
  if (options.instructions != nullptr) json["instructions"] = PrintInstructions(options.instructions);
  if (options.json != nullptr) std::ofstream(options.json) << json.dump(2) << '\n';
  return 0;
}

}  // namespace
}  // namespace vantra::bench

int main(int count, char** arguments) {
  vantra::bench::Options options;
  for (int i = 1; i < count; ++i) {
    const std::string_view argument = arguments[i];
    if (argument == "--quick") {
      options.isQuick = true;
    } else if (argument == "--json" && i + 1 < count) {
      options.json = arguments[++i];
    } else if (argument == "--instructions" && i + 1 < count) {
      options.instructions = arguments[++i];
    } else {
      std::fprintf(stderr, "usage: vantra-bench [--quick] [--json FILE] [--instructions FILE]\n");
      return 2;
    }
  }
  try {
    return vantra::bench::Run(options);
  } catch (const std::exception& problem) {
    std::fprintf(stderr, "vantra-bench: %s\n", problem.what());
    return 1;
  }
}
