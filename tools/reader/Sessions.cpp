#include "reader/Sessions.h"

#include <algorithm>
#include <bit>
#include <compare>
#include <cstring>
#include <limits>
#include <utility>

#include "reader/Grammar.h"

namespace vantra::reader {
namespace {

// The index of documents without one: they come last.
constexpr int32_t kLast = std::numeric_limits<int32_t>::max();

// The memory that a lot may take: its paths and entries.
constexpr size_t kMostBytes = size_t{4} << 20;

// The first bytes as a number that compares like the text.
uint64_t FirstBytes(std::string_view text) {
  char bytes[sizeof(uint64_t)] = {};
  text.copy(bytes, sizeof bytes);
  uint64_t number;
  std::memcpy(&number, bytes, sizeof number);
  return __builtin_bswap64(number);
}

FileName NameOfAny(std::string_view file) {
  if (const auto parsed = ParseFileName(file)) return *parsed;
  FileName name{};
  name.stem = file;
  return name;
}

}  // namespace

Sessions::Sessions(std::vector<std::string> inputs, Complaint complain, std::string beginning)
    : inputs_(std::move(inputs)), complain_(std::move(complain)), beginning_(std::move(beginning)) {}

bool Sessions::Next() {
  if (!hasMore_) return false;
  if (!entries_.empty()) before_ = KeyOf(entries_.back());
  entries_.clear();
  paths_.clear();
  last_.reset();
  folders_ = 0;
  hasMore_ = false;
  for (const std::string& input : inputs_) Add(input);
  Sort();
  PackPaths();
  sessions_.clear();
  for (size_t i = 0; i < entries_.size(); ++i) {
    if (i == 0 || !IsSame(entries_[i], entries_[i - 1])) sessions_.push_back(static_cast<uint32_t>(i));
  }
  isFirst_ = false;
  if (!overfull_.empty())
    complain_(std::exchange(overfull_, {}),
              "it has too many documents; only the first " + std::to_string(entries_.size()) + " are read");
  return !entries_.empty();
}

// What is wrong with an input is reported once.
void Sessions::Complain(std::string_view path, std::string_view reason) const {
  if (isFirst_) complain_(path, reason);
}

void Sessions::Add(const std::string& input) {
  if (IsFolder(input)) return AddFolder(input);
  if (!file_.Open(input)) return Complain(input, file_.Error());
  const size_t separator = input.find_last_of(kSeparators);
  const size_t folder = separator == std::string::npos ? 0 : separator + 1;
  const std::string_view file = std::string_view(input).substr(folder);
  ++folders_;
  AddFile(std::string_view(input).substr(0, folder), file, NameOfAny(file));
}

void Sessions::AddFolder(std::string path) {
  if (!path.ends_with(kSeparator)) path += kSeparator;
  ++folders_;
  std::string below;  // names, each followed by a NUL
  std::string error;
  const auto add = [&](std::string_view name, bool isFolder) {
    if (isFolder)
      below.append(name).push_back('\0');
    else if (const auto parsed = ParseFileName(name))
      AddFile(path, name, *parsed);
  };
  if (!ListFolder(path, add, error)) Complain(path, error);
  for (size_t at = 0; at < below.size(); at = below.find('\0', at) + 1) AddFolder(path + (below.data() + at));
}

// The session to which a file of any other name belongs, from its first records.
std::string Sessions::SessionIn(const std::string& path) {
  if (!file_.Open(path)) return {};
  reader_.Open(file_);
  constexpr int kEnough = 100;
  for (int i = 0; i < kEnough; ++i) {
    const Piece piece = reader_.Next();
    if (piece == Piece::Done) break;
    if (piece == Piece::Record && IsGuid(reader_.Current().id)) return std::string(reader_.Current().id);
  }
  return {};
}

bool Sessions::IsInLot(std::string_view key) noexcept {
  if (key <= before_ && !isFirst_) return false;
  if (!last_ || key <= *last_) return true;
  hasMore_ = true;
  return false;
}

void Sessions::AddFile(std::string_view folder, std::string_view file, const FileName& name) {
  const auto placeOf = [file](std::string_view part) {
    return static_cast<uint16_t>(part.empty() ? 0 : part.data() - file.data());
  };
  const bool isOfSession = !name.session.empty() && name.session != kNilGuid;
  const std::string found =
      name.session.empty() ? SessionIn(std::string(folder).append(file)) : std::string();
  const bool isFound = !found.empty() && found != kNilGuid;
  const std::string_view key = isFound ? found : isOfSession ? name.session : name.stem;
  if (!key.starts_with(beginning_)) return;
  if (isFirst_) ++documents_;
  if (!IsInLot(key)) return;
  if (paths_.size() + entries_.size() * sizeof(Entry) > kMostBytes) {
    Trim();
    if (!IsInLot(key)) return;
  }
  entries_.push_back({.order = FirstBytes(key),
                      .path = static_cast<uint32_t>(paths_.size()),
                      .folderSize = static_cast<uint32_t>(folder.size()),
                      .folder = folders_,
                      .index = name.index.value_or(kLast),
                      .size = static_cast<uint16_t>(file.size()),
                      .stemSize = static_cast<uint16_t>(name.stem.size()),
                      .keyAt = isFound ? static_cast<uint16_t>(file.size()) : placeOf(key),
                      .keySize = static_cast<uint16_t>(key.size()),
                      .sessionAt = placeOf(name.session),
                      .userAt = placeOf(name.user),
                      .ending = name.ending,
                      .isPacked = name.isPacked});
  paths_.append(folder).append(file);
  if (isFound) paths_ += key;
}

std::string_view Sessions::NameOf(const Entry& entry) const noexcept {
  return {paths_.data() + entry.path + entry.folderSize, entry.size};
}

std::string_view Sessions::KeyOf(const Entry& entry) const noexcept {
  return {paths_.data() + entry.path + entry.folderSize + entry.keyAt, entry.keySize};
}

size_t Sessions::SizeOf(const Entry& entry) noexcept {
  return entry.folderSize + std::max<size_t>(entry.size, size_t{entry.keyAt} + entry.keySize);
}

bool Sessions::IsSame(const Entry& a, const Entry& b) const noexcept {
  return a.order == b.order && KeyOf(a) == KeyOf(b);
}

bool Sessions::IsBefore(const Entry& a, const Entry& b) const noexcept {
  if (a.order != b.order) return a.order < b.order;
  if (const auto order = KeyOf(a) <=> KeyOf(b); std::is_neq(order)) return std::is_lt(order);
  if (a.index != b.index) return a.index < b.index;
  const auto stemOf = [this](const Entry& entry) { return NameOf(entry).substr(0, entry.stemSize); };
  if (const auto order = stemOf(a) <=> stemOf(b); std::is_neq(order)) return std::is_lt(order);
  // Of several copies of a document, a finished one comes first.
  if (a.ending != b.ending) return a.ending < b.ending;
  if (a.isPacked != b.isPacked) return b.isPacked;
  return a.folder < b.folder;
}

void Sessions::Sort() {
  std::ranges::sort(entries_, [this](const Entry& a, const Entry& b) { return IsBefore(a, b); });
}

void Sessions::Trim() {
  Sort();
  size_t kept = entries_.size() / 2;
  const auto first = [&] { return entries_.begin() + static_cast<ptrdiff_t>(kept); };
  const Entry& split = entries_[kept];
  while (kept != 0 && IsSame(entries_[kept - 1], split)) --kept;
  // A session that fills the lot alone keeps its place, and its first documents.
  if (kept == 0) {
    overfull_ = KeyOf(split);
    kept = entries_.size() / 2;
  }
  entries_.erase(first(), entries_.end());
  last_ = KeyOf(entries_.back());
  hasMore_ = true;
  PackPaths();
}

// Keeps only the paths that are needed, in the order in which they will be used.
void Sessions::PackPaths() {
  std::string paths;
  paths.reserve(paths_.size());
  for (Entry& entry : entries_) {
    const size_t from = entry.path;
    entry.path = static_cast<uint32_t>(paths.size());
    paths.append(paths_, from, SizeOf(entry));
  }
  paths_ = std::move(paths);
}

Document Sessions::DocumentOf(const Entry& entry) const {
  const std::string_view file = NameOf(entry);
  const auto guidAt = [file](uint16_t at) {
    return at == 0 ? std::string_view() : file.substr(at, kGuidSize);
  };
  Document document{{paths_.data() + entry.path, entry.folderSize}, file, {}};
  document.name = {file.substr(0, entry.stemSize), entry.ending,         entry.isPacked,
                   guidAt(entry.sessionAt),        guidAt(entry.userAt), {}};
  if (entry.index != kLast) document.name.index = entry.index;
  return document;
}

Session Sessions::operator[](size_t index) const {
  const size_t first = sessions_[index];
  const size_t end = index + 1 < sessions_.size() ? sessions_[index + 1] : entries_.size();
  Session session{KeyOf(entries_[first]), {}};
  session.documents.reserve(end - first);
  for (size_t i = first; i < end; ++i) {
    Document document = DocumentOf(entries_[i]);
    document.isCopy = !session.documents.empty() && session.documents.back().name.stem == document.name.stem;
    session.documents.push_back(document);
  }
  return session;
}

}  // namespace vantra::reader
