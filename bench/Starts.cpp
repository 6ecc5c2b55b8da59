// Measures starts, closes, splits and loads beside the same bare platform calls.
#include "Figures.h"
#include "Mirror.h"
#include "session/DocumentSeries.h"

namespace vantra::bench {
namespace {

double Microseconds(int64_t from, int64_t to) { return static_cast<double>(to - from) / 1000; }

void MeasureLoads(Figures& figures) {
  std::vector<double> loads;
  std::vector<double> unloads;
  for (int round = 0; round < figures.Rounds(); ++round) {
    const int64_t before = Now();
    const HMODULE module = LoadLibraryW(LibraryPath().c_str());
    const int64_t loaded = Now();
    FreeLibrary(module);
    loads.push_back(Microseconds(before, loaded));
    unloads.push_back(Microseconds(loaded, Now()));
  }
  figures.AddFact("size of the library", static_cast<double>(fs::file_size(LibraryPath())), "bytes");
  figures.AddFact("load of the library", Figures::Median(loads), "us");
  figures.AddFact("unload", Figures::Median(unloads), "us");
}

void MeasureFirstStart(Figures& figures, const Library& library) {
  const int64_t before = Now();
  void* session = library.Start();
  figures.AddFact("first start of a process", Microseconds(before, Now()), "us");
  library.CloseSession(&session);
}

void MeasureStart(Figures& figures, const World& world, const Library& library, Mirror& mirror) {
  constexpr int kStarts = 10;
  figures
      .Compare(
          "start", "UTStartSession + UTCloseSession",
          [&] {
            world.EmptyLogs();
            return Time(kStarts, [&](int) {
              void* each = library.Start();
              library.CloseSession(&each);
            });
          },
          [&] {
            world.EmptyLogs();
            return Time(kStarts, [&](int) { mirror.StartAndClose(); });
          })
      .target = 1.15;
}

// The bare side makes as many writes of the same size, and splits as often.
void MeasureSplits(Figures& figures, const World& world, const Library& library, Mirror& mirror) {
  constexpr int kCalls = 4000;
  constexpr int kRecord = 106;
  constexpr int kRecordsADocument = session::DocumentSeries::kSplitSize / kRecord;
  const std::string bytes(kRecord, 'x');
  void* session = library.Start();
  figures
      .Compare(
          "split", "UTLogEvent, sustained",
          [&] {
            world.EmptyLogs();
            return Time(kCalls, [&](int) { library.LogEvent(session, "File", "Menu", "Save", nullptr, 0); });
          },
          [&] {
            HANDLE file = mirror.OpenNext();
            const double time = Time(kCalls, [&](int i) {
              DWORD written = 0;
              WriteFile(file, bytes.data(), kRecord, &written, nullptr);
              if (i % kRecordsADocument == kRecordsADocument - 1) mirror.Roll(file);
            });
            CloseHandle(file);
            return time;
          })
      .target = 1.20;
  library.CloseSession(&session);
  world.EmptyLogs();
}

}  // namespace

void MeasureStarts(Figures& figures, const World& world) {
  MeasureLoads(figures);
  const Library library(world);
  MeasureFirstStart(figures, library);
  Mirror mirror(world);
  MeasureStart(figures, world, library, mirror);
  MeasureSplits(figures, world, library, mirror);
}

}  // namespace vantra::bench
