// Measures calls among many open sessions, and their memory.
#include "Figures.h"

namespace vantra::bench {
namespace {

constexpr int kCalls = 200;
constexpr size_t kStride = 7919;  // a prime: each call uses another session, far from the last one

class BareFiles {
 public:
  explicit BareFiles(fs::path folder) : folder_(std::move(folder)) { fs::create_directory(folder_); }
  ~BareFiles() {
    for (const HANDLE file : files_) CloseHandle(file);
  }
  BareFiles(const BareFiles&) = delete;
  BareFiles& operator=(const BareFiles&) = delete;

  // Makes each file as long as a document after its header blocks, since a file's first write costs far more.
  void GrowTo(size_t count) {
    const std::string header(6'000, 'x');
    while (files_.size() < count) {
      files_.push_back(OpenLikeADocument(folder_ / std::to_string(files_.size())));
      DWORD written = 0;
      WriteFile(files_.back(), header.data(), static_cast<DWORD>(header.size()), &written, nullptr);
    }
  }
  [[nodiscard]] HANDLE operator[](size_t index) const { return files_[index]; }

 private:
  fs::path folder_;
  std::vector<HANDLE> files_;
};

}  // namespace

void MeasureSessions(Figures& figures, const World& world, size_t most) {
  const Library library(world);
  const std::string bytes(106, 'x');
  std::vector<void*> sessions;
  BareFiles files(world.Folder() / "bare");
  for (const size_t count : {size_t{1}, size_t{100}, most}) {
    const size_t before = UsedMemory();
    const size_t more = count - sessions.size();
    // Alternating, so that both kinds of file are in the same state in the system.
    while (sessions.size() < count) {
      sessions.push_back(library.Start());
      files.GrowTo(sessions.size());
    }
    const std::string name = std::to_string(count) + (count == 1 ? " open session" : " open sessions");
    figures.AddFact("memory a session, up to " + name,
                    static_cast<double>(UsedMemory() - before) / static_cast<double>(more), "bytes");
    size_t next = 0;
    size_t nextFile = 0;
    figures.Compare(
        "sessions", "UTLogEvent among " + name,
        [&] {
          return Time(kCalls, [&](int) {
            next = (next + kStride) % count;
            library.LogEvent(sessions[next], "File", "Menu", "Save", nullptr, 0);
          });
        },
        [&] {
          return Time(kCalls, [&](int) {
            nextFile = (nextFile + kStride) % count;
            DWORD written = 0;
            WriteFile(files[nextFile], bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
          });
        });
  }
  for (void* session : sessions) library.CloseSession(&session);
}

}  // namespace vantra::bench
