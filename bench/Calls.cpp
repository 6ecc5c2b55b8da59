// Measures each exported call beside a bare write of the same bytes.
#include <atomic>
#include <memory>
#include <string>
#include <thread>

#include "Figures.h"

namespace vantra::bench {
namespace {

constexpr int kDocumentRoom = 70'000;  // bytes of records that a document takes without a split
constexpr int kWarmUp = 40;
constexpr int kMostCalls = 300;

// A plain function pointer, so that our side has no more overhead around the call than the bare side.
using Call = void (*)(const Library&, void* session, int i);

struct Row {
  const char* name;
  double target;
  bool isObfuscated;
  bool isLogged;
  Call call;
};

int64_t SizeOf(const fs::path& file) {
  WIN32_FILE_ATTRIBUTE_DATA data{};
  GetFileAttributesExW(file.c_str(), GetFileExInfoStandard, &data);
  return (static_cast<int64_t>(data.nFileSizeHigh) << 32) | data.nFileSizeLow;
}

fs::path OpenDocument(const World& world) {
  for (const auto& entry : fs::directory_iterator(world.Logs())) {
    if (entry.path().extension() == ".tmp") return entry.path();
  }
  return {};
}

// Both sides of a round: a new session and a new file, warmed up, with room for the round's calls.
class Round {
 public:
  Round(const World& world, const Library& library)
      : world_(world),
        library_(library),
        path_(world.Logs() / "bare.bin"),
        session_(library.Start()),
        file_(OpenLikeADocument(path_)) {}
  ~Round() {
    CloseHandle(file_);
    library_.CloseSession(&session_);
    world_.EmptyLogs();
  }
  Round(const Round&) = delete;
  Round& operator=(const Round&) = delete;

  [[nodiscard]] void* Session() const { return session_; }
  void Write(const std::string& bytes) const {
    DWORD written = 0;
    WriteFile(file_, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
  }

 private:
  const World& world_;
  const Library& library_;
  fs::path path_;
  void* session_;
  HANDLE file_;
};

// The bytes that one call writes; 1 for calls that write nothing.
size_t RecordSize(const World& world, const Library& library, Call call) {
  constexpr int kCalls = 8;
  const Round round(world, library);
  const fs::path document = OpenDocument(world);
  const int64_t before = SizeOf(document);
  for (int i = 0; i < kCalls; ++i) call(library, round.Session(), i);
  return static_cast<size_t>(std::max<int64_t>((SizeOf(document) - before) / kCalls, 1));
}

void MeasureRow(Figures& figures, const World& world, const Library& library, const Row& row) {
  world.SetObfuscation(row.isObfuscated);
  const std::string bytes(RecordSize(world, library, row.call), 'x');
  const int calls = std::min(kMostCalls, kDocumentRoom / static_cast<int>(bytes.size()) - kWarmUp / 4);
  std::unique_ptr<Round> round;
  int sides = 0;
  size_t allocations = 0;
  const auto enter = [&] {
    if (sides++ % 2 != 0) return;
    round.reset();
    round = std::make_unique<Round>(world, library);
    for (int i = 0; i < kWarmUp / 4; ++i) {
      row.call(library, round->Session(), -1 - i);
      round->Write(bytes);
    }
  };
  Figure& figure = figures.Compare(
      "call", row.name,
      [&] {
        enter();
        static_cast<void>(library.Allocations());
        const double time = Time(calls, [&](int i) { row.call(library, round->Session(), i); });
        allocations += library.Allocations();
        return time;
      },
      [&] {
        enter();
        return Time(calls, [&](int) { round->Write(bytes); });
      });
  figure.target = row.target;
  figure.allocations = static_cast<double>(allocations) / figures.Rounds() / calls;
  world.SetObfuscation(false);
}

const std::string longValue(512, 'v');
const std::string escapes(200, '<');
constexpr char kPath[] = "C:\\plans\\house.dwg";

void LogEvent(const Library& ut, void* s, int) { ut.LogEvent(s, "File", "Menu", "Save", nullptr, 0); }
void AddValue(const Library& ut, void* s, int) { ut.AddToSession(s, "Theme", "dark"); }
void AddEscapes(const Library& ut, void* s, int) { ut.AddToSession(s, "Theme", escapes.c_str()); }

const Row kRows[] = {
    {"UTLogEvent, no document id", 1.15, false, false, LogEvent},
    {"UTLogEvent, same document id", 1.20, false, false,
     [](const Library& ut, void* s, int) {
       ut.LogEvent(s, "File", "Menu", "Save", kPath, sizeof kPath - 1);
     }},
    {"UTLogEvent, new document id", 2.2, false, false,
     [](const Library& ut, void* s, int i) {
       char path[] = "C:\\plans\\house000.dwg";
       const int number = (i + 1000) % 1000;
       path[14] = static_cast<char>('0' + number / 100);
       path[15] = static_cast<char>('0' + number / 10 % 10);
       path[16] = static_cast<char>('0' + number % 10);
       ut.LogEvent(s, "File", "Menu", "Save", path, sizeof path - 1);
     }},
    {"UTAddToSession", 1.20, false, false, AddValue},
    {"UTAddToGroup", 1.20, false, false,
     [](const Library& ut, void* s, int) { ut.AddToGroup(s, 1, "Theme", "dark"); }},
    {"UTNewDataGroup", 1.15, false, false,
     [](const Library& ut, void* s, int) {
       uint32_t group = 0;
       ut.NewDataGroup(s, "Drawing", "Size", "Shapes", &group, nullptr, 0);
     }},
    {"UTAddToSession, 512 bytes", 1.20, false, false,
     [](const Library& ut, void* s, int) { ut.AddToSession(s, "Theme", longValue.c_str()); }},
    {"UTAddToSession, 200 escapes", 1.20, false, false, AddEscapes},
    {"UTLogEvent, obfuscated", 1.20, true, false, LogEvent},
    {"UTAddToSession, 200 escapes, obfuscated", 1.20, true, false, AddEscapes},
    {"UTLogEvent, log on", 0, false, true, LogEvent},
    {"UTAddToSession, log on", 0, false, true, AddValue},
    {"refused: no such session", 0, false, false,
     [](const Library& ut, void*, int) { ut.AddToSession(nullptr, "Theme", "dark"); }},
    {"refused: no key", 0, false, false,
     [](const Library& ut, void* s, int) { ut.AddToSession(s, nullptr, "dark"); }},
};

}  // namespace

void MeasureCalls(Figures& figures, const World& world) {
  for (const bool isLogged : {false, true}) {
    const Library library(world, isLogged);
    for (const Row& row : kRows) {
      if (row.isLogged == isLogged) MeasureRow(figures, world, library, row);
    }
  }
  const Library library(world);
  static void* silent = nullptr;
  {
    const Library::FullDisk fullDisk;
    silent = library.Start();
  }
  MeasureRow(figures, world, library,
             {"on a disabled session", 0, false, false,
              [](const Library& ut, void*, int) { ut.AddToSession(silent, "Theme", "dark"); }});
  library.CloseSession(&silent);
}

namespace {

// Nanoseconds per call when all threads call at once.
template <class Work>
double TimeTogether(int threads, int calls, Work&& work) {
  std::atomic<int> ready{0};
  std::vector<std::thread> pool;
  for (int thread = 0; thread < threads; ++thread) {
    pool.emplace_back([&, thread] {
      for (++ready; ready <= threads;) YieldProcessor();
      for (int i = 0; i < calls; ++i) work(thread);
    });
  }
  while (ready < threads) YieldProcessor();
  const int64_t start = Now();
  ++ready;
  for (std::thread& thread : pool) thread.join();
  return static_cast<double>(Now() - start) / (threads * calls);
}

void MeasureThreadCount(Figures& figures, const World& world, const Library& library, int threads,
                        bool ownSessions) {
  constexpr int kCalls = 400;
  const std::string bytes(118, 'x');
  CRITICAL_SECTION lock;
  InitializeCriticalSection(&lock);
  const int files = ownSessions ? threads : 1;
  const std::string name = std::to_string(threads) + (threads == 1 ? " thread" : " threads") +
                           (ownSessions ? ", own sessions" : ", one session");
  // Our side's documents are split now and then; those of the bare side are not.
  figures.Compare(
      "threads", name,
      [&] {
        std::vector<void*> sessions;
        for (int i = 0; i < files; ++i) sessions.push_back(library.Start());
        const double time = TimeTogether(threads, kCalls / threads, [&](int thread) {
          library.LogEvent(sessions[static_cast<size_t>(thread % files)], "File", "Menu", "Save", nullptr, 0);
        });
        for (void* session : sessions) library.CloseSession(&session);
        return time;
      },
      [&] {
        std::vector<HANDLE> handles;
        for (int i = 0; i < files; ++i) {
          handles.push_back(OpenLikeADocument(world.Logs() / ("bare" + std::to_string(i))));
        }
        const double time = TimeTogether(threads, kCalls / threads, [&](int thread) {
          DWORD written = 0;
          EnterCriticalSection(&lock);
          WriteFile(handles[static_cast<size_t>(thread % files)], bytes.data(),
                    static_cast<DWORD>(bytes.size()), &written, nullptr);
          LeaveCriticalSection(&lock);
        });
        for (HANDLE handle : handles) CloseHandle(handle);
        world.EmptyLogs();
        return time;
      });
  DeleteCriticalSection(&lock);
}

}  // namespace

void MeasureThreads(Figures& figures, const World& world) {
  const Library library(world);
  for (const int threads : {1, 4, 8}) {
    MeasureThreadCount(figures, world, library, threads, false);
    if (threads > 1) MeasureThreadCount(figures, world, library, threads, true);
  }
}

}  // namespace vantra::bench
