// Measures vantra-inspect against reading alone, and beside other readers of XML. Prints one table.
//
//   vantra-inspect-bench PROGRAM FOLDER [ROUNDS [PERCENT]]
//
// Writes its documents below the folder and deletes them at the end. Each figure is the best of the rounds,
// in processor time on one pinned core, which other processes disturb least.
#include <fcntl.h>
#include <sched.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <stdexcept>
#include <vector>

#include "Corpus.h"
#include "Peers.h"
#include "session/DocumentSeries.h"

extern char** environ;

namespace {

namespace fs = std::filesystem;

constexpr size_t kFull = vantra::session::DocumentSeries::kSplitSize;
constexpr Corpus kCorpora[] = {{"plain", 10'000, kFull, Corpus::Texts::Words, false},
                               {"obfuscated", 10'000, kFull, Corpus::Texts::Words, true},
                               {"Chinese", 10'000, kFull, Corpus::Texts::Chinese, false},
                               {"escapes", 10'000, kFull, Corpus::Texts::Escapes, false},
                               {"small", 20'000, 4'300, Corpus::Texts::Words, false}};

struct Seconds {
  double processor = 1e9;
  double wall = 1e9;
};

double Of(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

double ProcessorTime(int who) {
  rusage usage{};
  getrusage(who, &usage);
  return Of(usage.ru_utime) + Of(usage.ru_stime);
}

// The best of the rounds.
Seconds Time(int rounds, int who, const std::function<void()>& work) {
  Seconds best;
  for (int i = 0; i < rounds; ++i) {
    const double before = ProcessorTime(who);
    const auto start = std::chrono::steady_clock::now();
    work();
    best.wall =
        std::min(best.wall, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    best.processor = std::min(best.processor, ProcessorTime(who) - before);
  }
  return best;
}

void Pin(bool isPinned) {
  cpu_set_t cores;
  CPU_ZERO(&cores);
  const auto count = static_cast<size_t>(sysconf(_SC_NPROCESSORS_ONLN));
  for (size_t i = isPinned ? count - 1 : 0; i < count; ++i) CPU_SET(i, &cores);
  if (sched_setaffinity(0, sizeof cores, &cores) != 0) throw std::runtime_error("cannot pin");
}

void Call(std::vector<std::string> arguments) {
  std::vector<char*> pointers;
  for (std::string& argument : arguments) pointers.push_back(argument.data());
  pointers.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
  pid_t child = 0;
  int status = 0;
  if (posix_spawn(&child, pointers[0], &actions, nullptr, pointers.data(), environ) != 0 ||
      waitpid(child, &status, 0) < 0 || status != 0)
    throw std::runtime_error(arguments[1] + " failed");
  posix_spawn_file_actions_destroy(&actions);
}

// Reads the files in the given order.
void ReadAll(const std::string& folder, const std::vector<std::string>& names) {
  static std::vector<char> buffer(size_t{256} << 10);
  const int in = open(folder.c_str(), O_PATH | O_DIRECTORY);
  for (const std::string& name : names) {
    const int file = openat(in, name.c_str(), O_RDONLY);
    while (read(file, buffer.data(), buffer.size()) == static_cast<ssize_t>(buffer.size())) {
    }
    close(file);
  }
  close(in);
}

std::vector<std::string> NamesIn(const std::string& folder) {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(folder)) names.push_back(entry.path().filename());
  // By session and index, the order in which the program reads them.
  constexpr size_t kSession = 52;
  std::ranges::sort(names, {}, [](const std::string& name) { return name.substr(kSession); });
  return names;
}

class Bench {
 public:
  Bench(std::string program, std::string folder, int rounds)
      : program_(std::move(program)), folder_(std::move(folder)), rounds_(rounds) {}

  void Measure(Corpus corpus, size_t percent) {
    corpus.documents = corpus.documents * percent / 100;
    const std::string folder = folder_ + "/" + std::string(corpus.name);
    bytes_ = static_cast<double>(Write(corpus, folder));
    std::printf("\n%s: %zu documents, %.0f MB\n", corpus.name.data(), corpus.documents, bytes_ / 1e6);
    Pin(true);
    reading_ = Time(rounds_, RUSAGE_SELF, [&] { ReadAll(folder, NamesIn(folder)); });
    Print("read() alone", reading_);
    for (const auto& [name, arguments] : kVerbs) Print(name, TimeVerb(folder, arguments));
    if (corpus.name == "plain") MeasureMore(folder);
    fs::remove_all(folder);
  }

 private:
  struct Verb {
    const char* name;
    std::vector<std::string> arguments;
  };
  static inline const Verb kVerbs[] = {
      {"check", {"check"}}, {"export to NDJSON", {"export"}}, {"export to CSV", {"export", "--to", "csv"}}};

  Seconds TimeVerb(const std::string& input, std::vector<std::string> arguments, const char* threads = "1") {
    arguments.insert(arguments.begin(), program_);
    arguments.insert(arguments.end(), {"--threads", threads, input});
    return Time(rounds_, RUSAGE_CHILDREN, [&] { Call(arguments); });
  }

  void Print(std::string_view name, const Seconds& seconds) const {
    std::printf("  %-28.*s %8.0f MB/s %6.1f %% of read() %8.0f MB/s of wall time\n",
                static_cast<int>(name.size()), name.data(), bytes_ / seconds.processor / 1e6,
                100 * reading_.processor / seconds.processor, bytes_ / seconds.wall / 1e6);
    std::fflush(stdout);
  }

  void MeasureMore(const std::string& folder) {
    MeasureFile(folder);
    Pin(false);
    for (const Verb& verb : {kVerbs[0], kVerbs[1]}) {
      const Seconds one = TimeVerb(folder, verb.arguments);
      const Seconds two = TimeVerb(folder, verb.arguments, "2");
      std::printf("  %-28s %8.2f times the speed of one, by wall time\n",
                  (std::string(verb.name) + ", two cores").c_str(), one.wall / two.wall);
    }
    Pin(true);
    MeasurePeers(folder);
  }

  // With part of the documents: writing gigabytes would measure the disk.
  void MeasureFile(const std::string& folder) {
    constexpr size_t kDocuments = 500;
    const std::string part = folder_ + "/part";
    const std::string file = folder_ + "/rows";
    fs::create_directories(part);
    const std::vector<std::string> names = NamesIn(folder);
    for (size_t i = 0; i < std::min(kDocuments, names.size()); ++i)
      fs::create_hard_link(folder + "/" + names[i], part + "/" + names[i]);
    const Seconds toFile = TimeVerb(part, {"export", "-o", file});
    const auto rows = static_cast<double>(fs::file_size(file));
    const std::vector<char> block(size_t{256} << 10, 'x');
    const Seconds bare = Time(rounds_, RUSAGE_SELF, [&] {
      const int out = open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
      for (double left = rows; left > 0; left -= static_cast<double>(block.size())) {
        if (write(out, block.data(), block.size()) < 0) throw std::runtime_error("cannot write");
      }
      close(out);
    });
    std::printf("  NDJSON to a file: %.0f MB in %.0f ms, a bare write in %.0f ms: %.0f %%\n", rows / 1e6,
                toFile.processor * 1e3, bare.processor * 1e3, 100 * bare.processor / toFile.processor);
    fs::remove(file);
    fs::remove_all(part);
  }

  // On part of the documents, since these readers are slow.
  void MeasurePeers(const std::string& folder) {
    constexpr size_t kDocuments = 200;
    std::vector<std::string> documents;
    double bytes = 0;
    for (const std::string& name : NamesIn(folder)) {
      std::ifstream file(folder + "/" + name, std::ios::binary);
      documents.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
      bytes += static_cast<double>(documents.back().size());
      if (documents.size() == kDocuments) break;
    }
    for (const Peer& peer : Peers()) {
      std::string rows;
      const Seconds whole = Time(rounds_, RUSAGE_SELF, [&] {
        for (const std::string& document : documents) {
          rows.clear();
          peer.toRows(document, rows);
        }
      });
      const Seconds parsing = Time(rounds_, RUSAGE_SELF, [&] {
        for (const std::string& document : documents) peer.parse(document);
      });
      std::printf("  %-28.*s %8.0f MB/s to NDJSON, %.0f MB/s for parsing alone\n",
                  static_cast<int>(peer.name.size()), peer.name.data(), bytes / whole.processor / 1e6,
                  bytes / parsing.processor / 1e6);
    }
  }

  std::string program_;
  std::string folder_;
  int rounds_;
  double bytes_ = 0;
  Seconds reading_;
};

}  // namespace

int main(int argc, char** argv) try {
  if (argc < 3) throw std::runtime_error("usage: vantra-inspect-bench PROGRAM FOLDER [ROUNDS [PERCENT]]");
  const int rounds = argc > 3 ? std::atoi(argv[3]) : 9;
  const auto percent = static_cast<size_t>(argc > 4 ? std::atoi(argv[4]) : 100);
  Bench bench(argv[1], argv[2], rounds);
  for (const Corpus& corpus : kCorpora) bench.Measure(corpus, percent);
  return 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "vantra-inspect-bench: %s\n", error.what());
  return 1;
}
