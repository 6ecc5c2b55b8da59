#include "SortedLines.h"

#include <algorithm>
#include <stdexcept>

#include "Output.h"

namespace vantra::inspect {
namespace {

constexpr size_t kMostBytes = size_t{2} << 20;

int64_t Position(std::FILE* file) {
#ifdef _WIN32
  return _ftelli64(file);
#else
  return ftello(file);
#endif
}

bool Seek(std::FILE* file, int64_t to) {
#ifdef _WIN32
  return _fseeki64(file, to, SEEK_SET) == 0;
#else
  return fseeko(file, to, SEEK_SET) == 0;
#endif
}

}  // namespace

void SortedLines::Add(std::string_view line) {
  lines_.emplace_back(line);
  bytes_ += sizeof(std::string) + line.size();
  if (bytes_ >= kMostBytes) Store();
}

void SortedLines::Store() {
  std::ranges::sort(lines_);
  if (!file_) file_.reset(OpenTemporaryFile());
  const int64_t start = Position(file_.get());
  for (const std::string& line : lines_) std::fwrite(line.data(), 1, line.size(), file_.get());
  if (std::fflush(file_.get()) != 0 || std::ferror(file_.get()) != 0)
    throw std::runtime_error("cannot write to a temporary file");
  runs_.push_back({start, Position(file_.get())});
  lines_.clear();
  bytes_ = 0;
}

void SortedLines::Take(const std::function<void(std::string_view line)>& take) {
  if (!runs_.empty()) {
    Store();
    return Merge(take);
  }
  std::ranges::sort(lines_);
  for (const std::string& line : lines_) take(line);
}

bool SortedLines::Advance(Run& run, size_t piece) {
  run.used += run.size;
  for (;;) {
    const size_t end = run.text.find('\n', run.used);
    run.size = end == std::string::npos ? 0 : end + 1 - run.used;
    if (run.size != 0 || run.at == run.end) return run.size != 0;
    run.text.erase(0, run.used);
    run.used = 0;
    const size_t rest = run.text.size();
    const size_t size = std::min(piece, static_cast<size_t>(run.end - run.at));
    run.text.resize(rest + size);
    if (!Seek(file_.get(), run.at) || std::fread(run.text.data() + rest, 1, size, file_.get()) != size)
      throw std::runtime_error("cannot read a temporary file");
    run.at += static_cast<int64_t>(size);
  }
}

void SortedLines::Merge(const std::function<void(std::string_view line)>& take) {
  const size_t piece = kMostBytes / runs_.size() + 1;
  const auto isLater = [](const Run* a, const Run* b) { return a->Line() > b->Line(); };
  std::vector<Run*> heads;
  for (Run& run : runs_) {
    if (Advance(run, piece)) heads.push_back(&run);
  }
  std::ranges::make_heap(heads, isLater);
  while (!heads.empty()) {
    std::ranges::pop_heap(heads, isLater);
    take(heads.back()->Line());
    if (Advance(*heads.back(), piece))
      std::ranges::push_heap(heads, isLater);
    else
      heads.pop_back();
  }
}

}  // namespace vantra::inspect
