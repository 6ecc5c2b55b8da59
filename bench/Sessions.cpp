// What many open sessions cost.
#include "Figures.h"

namespace vantra::bench {

void MeasureSessions(Figures& figures, const World& world) {
  const Library library(world);
  const std::string bytes(106, 'x');
  std::vector<void*> sessions;
  const size_t before = PrivateBytes();
  for (const size_t count : {size_t{1}, size_t{100}, size_t{10'000}}) {
    try {
      while (sessions.size() < count) sessions.push_back(library.Start());
    } catch (const std::exception&) {
      break;
    }
    const std::string name = std::to_string(count) + (count == 1 ? " open session" : " open sessions");
    figures.AddFact("memory of " + name, static_cast<double>(PrivateBytes() - before) / 1024, "KiB");
    const HANDLE file = OpenLikeADocument(world.Folder() / "bare.bin");
    // Another session with each call, far from the last.
    size_t next = 0;
    figures.Compare(
        "sessions", "UTLogEvent among " + name,
        [&] {
          return Time(200, [&](int) {
            next = (next + 7919) % sessions.size();
            library.LogEvent(sessions[next], "File", "Menu", "Save", nullptr, 0);
          });
        },
        [&] {
          return Time(200, [&](int) {
            DWORD written = 0;
            WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
          });
        });
    CloseHandle(file);
  }
  for (void* session : sessions) library.CloseSession(&session);
}

}  // namespace vantra::bench
