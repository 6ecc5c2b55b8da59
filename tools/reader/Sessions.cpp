#include "reader/Sessions.h"

#include <algorithm>
#include <array>
#include <compare>
#include <cstdio>
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

size_t SizeOfFolder(std::string_view path) noexcept { return path.find_last_of(kSeparators) + 1; }

// A document to be put in order by the bytes of this, which is the order of Sessions::IsBefore. Its key comes
// first, its path last.
std::string LineOf(const Document& document, std::string_view key, int32_t index, uint32_t folder) {
  const FileName& name = document.name;
  std::array<char, 32> numbers{};
  std::string line(key);
  std::snprintf(numbers.data(), numbers.size(), "%08x", static_cast<unsigned>(index));
  line.append(1, '\0').append(numbers.data()).append(name.stem).append(1, '\0');
  std::snprintf(numbers.data(), numbers.size(), "%d%d%08x", static_cast<int>(name.ending), name.isPacked,
                folder);
  return line.append(numbers.data()).append(1, '\0').append(document.Path());
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
  entries_.clear();
  paths_.clear();
  if (!isListed_) {
    for (const std::string& input : inputs_) Add(input);
    isListed_ = true;
    if (others_) PassOn();
  }
  if (others_) {
    TakeLot();
  } else {
    Sort();
    PackPaths();
  }
  sessions_.clear();
  for (size_t i = 0; i < entries_.size(); ++i) {
    if (i == 0 || !IsSame(entries_[i], entries_[i - 1])) sessions_.push_back(static_cast<uint32_t>(i));
  }
  return !entries_.empty();
}

void Sessions::Add(const std::string& input) {
  if (IsFolder(input)) return AddFolder(input);
  if (IsDevice(input)) return complain_(input, "it is a pipe or a device, and no file");
  if (!file_.Open(input)) return complain_(input, file_.Error());
  const size_t folder = SizeOfFolder(input);
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
  if (!ListFolder(path, add, error)) complain_(path, error);
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

void Sessions::AddFile(std::string_view folder, std::string_view file, const FileName& name) {
  const bool isOfSession = !name.session.empty() && name.session != kNilGuid;
  const std::string found =
      name.session.empty() ? SessionIn(std::string(folder).append(file)) : std::string();
  const bool isFound = !found.empty() && found != kNilGuid;
  const std::string_view key = isFound ? found : isOfSession ? name.session : name.stem;
  if (!key.starts_with(beginning_)) return;
  ++documents_;
  Keep(folder, file, name, key);
  if (Bytes() > kMostBytes) PassOn();
}

void Sessions::Keep(std::string_view folder, std::string_view file, const FileName& name,
                    std::string_view key) {
  const auto placeOf = [file](std::string_view part) {
    return static_cast<uint16_t>(part.empty() ? 0 : part.data() - file.data());
  };
  const bool isInName = key == name.session || key == name.stem;
  entries_.push_back({.order = FirstBytes(key),
                      .path = static_cast<uint32_t>(paths_.size()),
                      .folderSize = static_cast<uint32_t>(folder.size()),
                      .folder = folders_,
                      .index = name.index.value_or(kLast),
                      .size = static_cast<uint16_t>(file.size()),
                      .stemSize = static_cast<uint16_t>(name.stem.size()),
                      .keyAt = !isInName             ? static_cast<uint16_t>(file.size())
                               : key == name.session ? placeOf(name.session)
                                                     : uint16_t{0},
                      .keySize = static_cast<uint16_t>(key.size()),
                      .sessionAt = placeOf(name.session),
                      .userAt = placeOf(name.user),
                      .ending = name.ending,
                      .isPacked = name.isPacked});
  paths_.append(folder).append(file);
  if (!isInName) paths_ += key;
}

void Sessions::PassOn() {
  if (!others_) others_.emplace();
  for (const Entry& entry : entries_) {
    const Document document = DocumentOf(entry);
    others_->Add(LineOf(document, KeyOf(entry), entry.index, entry.folder));
  }
  entries_.clear();
  paths_.clear();
}

void Sessions::TakeLot() {
  std::string overfull;
  for (;; nextLine_ = {}) {
    if (nextLine_.empty()) nextLine_ = others_->Next();
    if (nextLine_.empty()) return;
    const std::string_view key = nextLine_.substr(0, nextLine_.find('\0'));
    const bool goesOn = !entries_.empty() && KeyOf(entries_.back()) == key;
    if (!goesOn && Bytes() > kMostBytes / 2) return;
    if (goesOn && Bytes() > kMostBytes) {
      if (overfull != key)
        complain_(key, "it has too many documents; only the first " +
                           std::to_string(std::ranges::count(
                               entries_, key, [this](const Entry& entry) { return KeyOf(entry); })) +
                           " are read");
      overfull = key;
      continue;
    }
    const std::string_view path = nextLine_.substr(nextLine_.rfind('\0') + 1);
    const std::string_view file = path.substr(SizeOfFolder(path));
    Keep(path.substr(0, SizeOfFolder(path)), file, NameOfAny(file), key);
  }
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

// Puts the paths in the order in which they are asked for, so that they are at hand then.
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
