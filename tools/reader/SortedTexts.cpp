#include "reader/SortedTexts.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <utility>

#include "reader/Files.h"

namespace vantra::reader {
namespace {

constexpr size_t kMostBytes = size_t{2} << 20;

using Size = uint32_t;

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

constexpr auto kIsLater = [](const auto* a, const auto* b) { return a->Text() > b->Text(); };

}  // namespace

void SortedTexts::Add(std::string_view text) {
  texts_.emplace_back(text);
  bytes_ += sizeof(std::string) + text.size();
  if (bytes_ >= kMostBytes) Store();
}

void SortedTexts::Store() {
  std::ranges::sort(texts_);
  if (!file_) file_.reset(OpenTemporaryFile());
  const int64_t start = Position(file_.get());
  for (const std::string& text : texts_) {
    const auto size = static_cast<Size>(text.size());
    std::fwrite(&size, sizeof size, 1, file_.get());
    std::fwrite(text.data(), 1, text.size(), file_.get());
  }
  if (std::fflush(file_.get()) != 0 || std::ferror(file_.get()) != 0)
    throw std::runtime_error("cannot write to a temporary file");
  runs_.push_back({start, Position(file_.get())});
  texts_.clear();
  bytes_ = 0;
}

bool SortedTexts::Advance(Run& run) {
  run.used += std::exchange(run.size, 0);
  for (;;) {
    const size_t rest = run.read.size() - run.used;
    Size size = 0;
    if (rest >= sizeof size) std::memcpy(&size, run.read.data() + run.used, sizeof size);
    if (rest > sizeof size && rest >= sizeof size + size) {
      run.used += sizeof size;
      run.size = size;
      return true;
    }
    if (run.at == run.end) return false;
    run.read.erase(0, std::exchange(run.used, 0));
    const size_t piece =
        std::min(kMostBytes / runs_.size() + sizeof size, static_cast<size_t>(run.end - run.at));
    run.read.resize(rest + piece);
    if (!Seek(file_.get(), run.at) || std::fread(run.read.data() + rest, 1, piece, file_.get()) != piece)
      throw std::runtime_error("cannot read a temporary file");
    run.at += static_cast<int64_t>(piece);
  }
}

void SortedTexts::Begin() {
  hasBegun_ = true;
  if (runs_.empty()) {
    std::ranges::sort(texts_);
    return;
  }
  Store();
  for (Run& run : runs_) Push(run);
}

void SortedTexts::Push(Run& run) {
  if (!Advance(run)) return;
  heads_.push_back(&run);
  std::ranges::push_heap(heads_, kIsLater);
}

std::string_view SortedTexts::Next() {
  if (!hasBegun_) Begin();
  if (runs_.empty()) return next_ < texts_.size() ? std::string_view(texts_[next_++]) : std::string_view();
  if (last_ != nullptr) Push(*std::exchange(last_, nullptr));
  if (heads_.empty()) return {};
  std::ranges::pop_heap(heads_, kIsLater);
  last_ = heads_.back();
  heads_.pop_back();
  return last_->Text();
}

}  // namespace vantra::reader
