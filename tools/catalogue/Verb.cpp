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
#include "Rules.h"
#include "inspect/Entries.h"
#include "reader/Files.h"

namespace vantra::catalogue {
namespace {

namespace fs = std::filesystem;

fs::path PathOf(const std::string& utf8) { return fs::path(std::u8string(utf8.begin(), utf8.end())); }

// A file that is no longer than that.
std::string ReadFile(const std::string& path, size_t longest) {
  const auto fail = [&](std::string_view reason) {
    throw std::runtime_error("cannot read " + path + ": " + std::string(reason));
  };
  reader::FileSource file;
  if (!file.Open(path)) fail(file.Error());
  std::string text(longest + 1, '\0');
  size_t size = 0;
  for (size_t got = 1; got != 0; size += got) got = file.Read(text.data() + size, text.size() - size);
  text.resize(size);
  if (!file.Error().empty()) fail(file.Error());
  if (size > longest) fail("larger than " + std::to_string(longest) + " bytes");
  return text;
}

void Print(const std::string& path, Place place, std::string_view kind, std::string_view sentence) {
  std::string line = path + ":" + std::to_string(place.line) + ":" + std::to_string(place.column) + ": ";
  line = inspect::Visible(line.append(kind).append(sentence)) + '\n';
  std::fwrite(line.data(), 1, line.size(), stderr);
}

}  // namespace

Catalogue Load(const std::string& path) {
  std::vector<Mistake> mistakes;
  constexpr size_t kLongest = size_t{16} << 20;
  Catalogue catalogue = Read(ReadFile(path, kLongest), mistakes);
  for (const Mistake& mistake : mistakes) Print(path, mistake.place, "error: ", mistake.sentence);
  if (!mistakes.empty()) throw HasMistakes();
  return catalogue;
}

Source SourceOf(const std::string& path) {
  const size_t separator = path.find_last_of(reader::kSeparators);
  Source source{separator == std::string::npos ? path : path.substr(separator + 1), {}};
  source.stem = source.file.substr(0, source.file.find('.'));
  const std::string name = Styled(JoinedWords({source.stem}), Style::Snake);
  // The file's name stands in comments, and in the page between back quotes.
  const bool isHostile = HasUnseen(source.file) || source.file.find_first_of("`\t\r\n") != std::string::npos;
  if (isHostile || name.empty() || (name.front() >= '0' && name.front() <= '9'))
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

void WriteFile(const std::string& path, std::string_view text, const std::string& catalogue) {
  const fs::path file = PathOf(path);
  const auto fail = [&](const std::string& reason) {
    throw std::runtime_error("cannot write " + path + ": " + reason);
  };
  std::error_code error;
  const fs::file_status status = fs::status(file, error);
  if (fs::exists(status) && !fs::is_regular_file(status)) fail("not a file");
  if (fs::equivalent(file, PathOf(catalogue), error)) fail("it is the catalogue");
  const bool isAsLong = fs::exists(status) && fs::file_size(file, error) == text.size();
  if (isAsLong && ReadFile(path, text.size()) == text) return;
  error.clear();
  if (file.has_parent_path()) fs::create_directories(file.parent_path(), error);
  if (error) fail(error.message());
  const fs::path beside = PathOf(path + ".new");
  std::ofstream stream(beside, std::ios::binary);
  if (!stream) fail(std::generic_category().message(errno));
  stream.write(text.data(), static_cast<std::streamsize>(text.size()));
  stream.close();
  if (!stream) {
    error = std::error_code(errno, std::generic_category());
  } else {
    fs::rename(beside, file, error);
  }
  if (stream && !error) return;
  std::error_code ignored;
  fs::remove(beside, ignored);
  fail(error.message());
}

void Say(std::string_view sentence) {
  const std::string line = inspect::Visible(std::string("vantra-catalog: ").append(sentence)) + '\n';
  std::fwrite(line.data(), 1, line.size(), stderr);
}

void Warn(const std::string& path, Place place, std::string_view sentence) {
  Print(path, place, "warning: ", sentence);
}

}  // namespace vantra::catalogue
