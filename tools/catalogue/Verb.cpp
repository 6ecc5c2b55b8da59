#include "Verb.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <system_error>

#include "Names.h"
#include "Read.h"
#include "reader/Files.h"

namespace vantra::catalogue {
namespace {

namespace fs = std::filesystem;

fs::path PathOf(const std::string& utf8) { return fs::path(std::u8string(utf8.begin(), utf8.end())); }

std::string ReadFile(const std::string& path) {
  constexpr size_t kLongest = size_t{16} << 20;
  reader::FileSource file;
  if (!file.Open(path)) throw std::runtime_error("cannot read " + path + ": " + std::string(file.Error()));
  std::string text(kLongest, '\0');
  size_t size = 0;
  for (size_t got = 1; got != 0; size += got) got = file.Read(text.data() + size, text.size() - size);
  text.resize(size);
  if (!file.Error().empty())
    throw std::runtime_error("cannot read " + path + ": " + std::string(file.Error()));
  if (text.size() == kLongest) throw std::runtime_error("cannot read " + path + ": larger than 16 MiB");
  return text;
}

void Print(const std::string& path, Place place, std::string_view kind, std::string_view sentence) {
  std::string line = path + ":" + std::to_string(place.line) + ":" + std::to_string(place.column) + ": ";
  line.append(kind).append(sentence);
  for (char& c : line) {
    if ((c >= 0 && c < ' ') || c == '\x7f') c = '?';  // what the catalogue holds is not for the terminal
  }
  line += '\n';
  std::fwrite(line.data(), 1, line.size(), stderr);
}

}  // namespace

Catalogue Load(const std::string& path) {
  std::vector<Mistake> mistakes;
  Catalogue catalogue = Read(ReadFile(path), mistakes);
  for (const Mistake& mistake : mistakes) Print(path, mistake.place, "error: ", mistake.sentence);
  if (!mistakes.empty()) throw HasMistakes();
  return catalogue;
}

Source SourceOf(const std::string& path) {
  const size_t separator = path.find_last_of(reader::kSeparators);
  Source source{separator == std::string::npos ? path : path.substr(separator + 1), {}};
  source.stem = source.file.substr(0, source.file.find('.'));
  const std::string name = Styled(JoinedWords({source.stem}), Style::Snake);
  if (name.empty() || (name.front() >= '0' && name.front() <= '9'))
    throw std::runtime_error("the name of " + path + " gives none for code; call it events.toml");
  return source;
}

std::string Today() {
  using namespace std::chrono;
  auto now = system_clock::now();
  // NOLINTNEXTLINE(concurrency-mt-unsafe): there is one thread.
  if (const char* const epoch = std::getenv("SOURCE_DATE_EPOCH"))
    now = system_clock::time_point(seconds(std::strtoll(epoch, nullptr, 10)));
  const year_month_day today(floor<days>(now));
  char text[16];
  std::snprintf(text, sizeof text, "%04d-%02u-%02u", static_cast<int>(today.year()), unsigned{today.month()},
                unsigned{today.day()});
  return text;
}

void WriteFile(const std::string& path, std::string_view text) {
  const fs::path file = PathOf(path);
  const auto fail = [&](const std::error_code& error) {
    throw std::runtime_error("cannot write " + path + ": " + error.message());
  };
  std::error_code error;
  const bool isThere = fs::is_regular_file(file, error) && fs::file_size(file, error) == text.size();
  if (isThere && ReadFile(path) == text) return;
  error.clear();
  if (file.has_parent_path()) fs::create_directories(file.parent_path(), error);
  if (error) fail(error);
  const fs::path beside = PathOf(path + ".new");
  std::ofstream stream(beside, std::ios::binary);
  stream.write(text.data(), static_cast<std::streamsize>(text.size()));
  stream.close();
  if (!stream) {
    error = std::error_code(errno, std::generic_category());
    std::error_code ignored;
    fs::remove(beside, ignored);
    fail(error);
  }
  fs::rename(beside, file, error);
  if (!error) return;
  std::error_code ignored;
  fs::remove(beside, ignored);
  fail(error);
}

void Say(std::string_view sentence) {
  const std::string line = std::string("vantra-catalog: ").append(sentence).append("\n");
  std::fwrite(line.data(), 1, line.size(), stderr);
}

void Warn(const std::string& path, Place place, std::string_view sentence) {
  Print(path, place, "warning: ", sentence);
}

}  // namespace vantra::catalogue
