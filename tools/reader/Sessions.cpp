#include "reader/Sessions.h"

#include <algorithm>
#include <bit>
#include <compare>
#include <cstring>
#include <limits>

#include "reader/DocumentReader.h"
#include "reader/Files.h"

namespace vantra::reader {
namespace {

// Of documents that come after those with an index.
constexpr int32_t kLast = std::numeric_limits<int32_t>::max();

// The session that a file with a name of its own belongs to, from its first records.
std::string SessionIn(const std::string& path) {
  FileSource file;
  if (!file.Open(path)) return {};
  DocumentReader reader;
  reader.Open(file);
  constexpr int kEnough = 100;
  for (int i = 0; i < kEnough; ++i) {
    const Piece piece = reader.Next();
    if (piece == Piece::Done) break;
    if (piece == Piece::Record && IsGuid(reader.Current().id)) return std::string(reader.Current().id);
  }
  return {};
}

// Comparing such numbers is comparing the texts' beginnings.
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

void Sessions::Add(const std::string& path, const Complaint& complain) {
  if (IsFolder(path)) return AddFolder(path, complain);
  FileSource file;
  if (!file.Open(path)) return complain(path, file.Error());
  const size_t separator = path.find_last_of(kSeparators);
  const size_t folder = separator == std::string::npos ? 0 : separator + 1;
  const FileName name = NameOfAny(std::string_view(path).substr(folder));
  folders_.push_back(path.substr(0, folder));
  AddFile(static_cast<uint32_t>(folders_.size() - 1), std::string_view(path).substr(folder), name,
          name.session.empty() ? SessionIn(path) : std::string());
}

void Sessions::AddFolder(std::string path, const Complaint& complain) {
  if (!path.ends_with(kSeparator)) path += kSeparator;
  const auto folder = static_cast<uint32_t>(folders_.size());
  folders_.push_back(path);
  std::vector<std::string> below;
  std::string error;
  const auto add = [&](std::string_view name, bool isFolder) {
    if (isFolder) {
      below.push_back(path + std::string(name));
    } else if (const auto parsed = ParseFileName(name)) {
      AddFile(folder, name, *parsed,
              parsed->session.empty() ? SessionIn(path + std::string(name)) : std::string());
    }
  };
  if (!ListFolder(path, add, error)) complain(path, error);
  for (std::string& name : below) AddFolder(std::move(name), complain);
}

// The session is given when the name does not tell it.
void Sessions::AddFile(uint32_t folder, std::string_view file, const FileName& name,
                       std::string_view session) {
  const auto placeOf = [file](std::string_view part) {
    return static_cast<uint16_t>(part.empty() ? 0 : part.data() - file.data());
  };
  const bool isOfSession = !name.session.empty() && name.session != kNilGuid;
  const bool isTold = !session.empty() && session != kNilGuid;
  const std::string_view key = isTold ? session : isOfSession ? name.session : name.stem;
  entries_.push_back({.order = FirstBytes(key),
                      .name = names_.size(),
                      .folder = folder,
                      .index = name.index.value_or(kLast),
                      .size = static_cast<uint16_t>(file.size()),
                      .stemSize = static_cast<uint16_t>(name.stem.size()),
                      .keyAt = isTold ? static_cast<uint16_t>(file.size()) : placeOf(key),
                      .keySize = static_cast<uint16_t>(key.size()),
                      .sessionAt = placeOf(name.session),
                      .userAt = placeOf(name.user),
                      .ending = name.ending,
                      .isPacked = name.isPacked});
  names_ += file;
  if (isTold) names_ += key;
}

std::string_view Sessions::NameOf(const Entry& entry) const noexcept {
  return {names_.data() + entry.name, entry.size};
}

std::string_view Sessions::KeyOf(const Entry& entry) const noexcept {
  return {names_.data() + entry.name + entry.keyAt, entry.keySize};
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
  // Of the same document a finished one comes first.
  if (a.ending != b.ending) return a.ending < b.ending;
  if (a.isPacked != b.isPacked) return b.isPacked;
  return a.folder < b.folder;
}

void Sessions::Sort() {
  std::ranges::sort(entries_, [this](const Entry& a, const Entry& b) { return IsBefore(a, b); });
  // Names that lie in the order in which they are asked for are at hand when they are.
  std::string names;
  names.reserve(names_.size());
  sessions_.clear();
  for (size_t i = 0; i < entries_.size(); ++i) {
    Entry& entry = entries_[i];
    const size_t size = std::max<size_t>(entry.size, size_t{entry.keyAt} + entry.keySize);
    names.append(names_, entry.name, size);
    if (i == 0 || !IsSame(entry, entries_[i - 1])) sessions_.push_back(static_cast<uint32_t>(i));
  }
  size_t at = 0;
  for (Entry& entry : entries_) {
    entry.name = at;
    at += std::max<size_t>(entry.size, size_t{entry.keyAt} + entry.keySize);
  }
  names_ = std::move(names);
}

Document Sessions::DocumentOf(const Entry& entry) const {
  const std::string_view file = NameOf(entry);
  const auto guidAt = [file](uint16_t at) {
    return at == 0 ? std::string_view() : file.substr(at, kGuidSize);
  };
  Document document{folders_[entry.folder], file, {}};
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
