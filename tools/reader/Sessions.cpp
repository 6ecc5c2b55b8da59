#include "reader/Sessions.h"

#include <algorithm>
#include <bit>
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
  AddFile(static_cast<uint32_t>(folders_.size() - 1), std::string_view(path).substr(folder),
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
      AddFile(folder, name, parsed->session.empty() ? SessionIn(path + std::string(name)) : std::string());
    }
  };
  if (!ListFolder(path, add, error)) complain(path, error);
  for (std::string& name : below) AddFolder(std::move(name), complain);
}

// The session is given when the name does not tell it.
void Sessions::AddFile(uint32_t folder, std::string_view file, std::string_view session) {
  const FileName name = NameOfAny(file);
  const bool isOfSession = !name.session.empty() && name.session != kNilGuid;
  const std::string_view key = !session.empty() && session != kNilGuid ? session
                               : isOfSession                           ? name.session
                                                                       : name.stem;
  Entry entry{};
  entry.order = FirstBytes(key);
  entry.folder = folder;
  entry.name = names_.size();
  entry.sizes = static_cast<uint32_t>(file.size());
  entry.index = name.index.value_or(kLast);
  names_ += file;
  const bool isInName = key.data() >= file.data() && key.data() < file.data() + file.size();
  entry.keyAt =
      static_cast<uint32_t>(isInName ? key.data() - file.data() : static_cast<ptrdiff_t>(file.size()));
  entry.keySize = static_cast<uint32_t>(key.size());
  if (!isInName) names_ += key;
  entries_.push_back(entry);
}

std::string_view Sessions::NameOf(const Entry& entry) const noexcept {
  return std::string_view(names_).substr(entry.name, entry.sizes);
}

std::string_view Sessions::KeyOf(const Entry& entry) const noexcept {
  return std::string_view(names_).substr(entry.name + entry.keyAt, entry.keySize);
}

bool Sessions::IsBefore(const Entry& a, const Entry& b) const noexcept {
  if (a.order != b.order) return a.order < b.order;
  if (const auto order = KeyOf(a) <=> KeyOf(b); order != 0) return order < 0;
  if (a.index != b.index) return a.index < b.index;
  const FileName nameA = NameOfAny(NameOf(a));
  const FileName nameB = NameOfAny(NameOf(b));
  if (const auto order = nameA.stem <=> nameB.stem; order != 0) return order < 0;
  // Of the same document a finished one comes first.
  if (nameA.ending != nameB.ending) return nameA.ending < nameB.ending;
  if (nameA.isPacked != nameB.isPacked) return nameB.isPacked;
  return a.folder < b.folder;
}

void Sessions::Sort() {
  std::ranges::sort(entries_, [this](const Entry& a, const Entry& b) { return IsBefore(a, b); });
  sessions_.clear();
  for (size_t i = 0; i < entries_.size(); ++i) {
    if (i == 0 || KeyOf(entries_[i]) != KeyOf(entries_[i - 1])) sessions_.push_back(static_cast<uint32_t>(i));
  }
}

Document Sessions::DocumentOf(const Entry& entry) const {
  const std::string_view file = NameOf(entry);
  return {folders_[entry.folder], file, NameOfAny(file)};
}

Session Sessions::operator[](size_t index) const {
  const size_t first = sessions_[index];
  const size_t end = index + 1 < sessions_.size() ? sessions_[index + 1] : entries_.size();
  Session session{KeyOf(entries_[first]), {}};
  for (size_t i = first; i < end; ++i) {
    Document document = DocumentOf(entries_[i]);
    document.isCopy = !session.documents.empty() && session.documents.back().name.stem == document.name.stem;
    session.documents.push_back(document);
  }
  return session;
}

}  // namespace vantra::reader
