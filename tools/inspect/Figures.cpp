#include "Figures.h"

#include <algorithm>
#include <iterator>
#include <tuple>
#include <utility>

#include "reader/Text.h"

namespace vantra::inspect {
namespace {

using reader::Record;

constexpr size_t kLongestText = 200;
// Of each table, with an estimate of what an entry takes beside its key.
constexpr size_t kMostBytes = size_t{5} << 18;
constexpr size_t kBytesOfEntry = 100;
constexpr size_t kMostProducts = 2'000;
constexpr size_t kMostUsers = 50'000;
constexpr size_t kMostSessions = 5'000;

// The entries of the header blocks that are counted.
constexpr std::string_view kMachineEntries[] = {
    "OS",     "OSLanguage",   "UserLanguage",  "ProcessorName", "NumProcessors",
    "Memory", "MonitorCount", "DefaultBrowser"};

// Without NUL, which ends texts in a key.
std::string Cut(std::string text) {
  std::ranges::replace(text, '\0', '?');
  if (text.size() <= kLongestText) return text;
  size_t end = kLongestText;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
  text.resize(end);
  return text + "\u2026";
}

std::string Plain(const reader::Text& text) {
  std::string plain;
  // A reference takes at most five bytes, so this much of a long text is enough.
  if (text.HasValue())
    reader::Unescape(text.raw.substr(0, kLongestText * reader::kReferenceSize + reader::kReferenceSize),
                     plain);
  return Cut(std::move(plain));
}

bool IsOurs(const Record& group) noexcept { return group.category.raw == "Skylamp"; }

// Memory in MiB as GiB: few machines differ otherwise.
std::string InGib(std::string mebibytes) {
  constexpr unsigned long kMebi = 1024;
  if (mebibytes.empty() || mebibytes.size() > 9 ||
      mebibytes.find_first_not_of("0123456789") != std::string::npos)
    return mebibytes;
  return std::to_string((std::stoul(mebibytes) + kMebi / 2) / kMebi) + " GiB";
}

std::string KeyOf(std::initializer_list<std::string_view> texts) {
  std::string key;
  for (const std::string_view text : texts) key.append(text).push_back('\0');
  return key;
}

}  // namespace

void Counting::Add(std::string_view key, uint64_t count) {
  const auto known = counts_.find(key);
  if (known != counts_.end()) {
    known->second += count;
  } else if (!IsFull()) {
    bytes_ += key.size() + kBytesOfEntry;
    counts_.emplace(key, count);
  } else {
    ++beyond_;
  }
}

void Counting::AddAll(const Counting& other, std::string_view before) {
  std::string key;
  for (const auto& [text, count] : other.counts_) Add(key.assign(before).append(text), count);
  beyond_ += other.beyond_;
}

void Counting::Clear() {
  counts_.clear();
  bytes_ = 0;
  beyond_ = 0;
}

bool Counting::IsFull() const noexcept { return bytes_ >= kMostBytes; }

void Counting::VisitTop(size_t most, const Visit& visit) const {
  std::vector<const std::pair<const std::string, uint64_t>*> order;
  order.reserve(counts_.size());
  for (const auto& entry : counts_) order.push_back(&entry);
  std::ranges::sort(order, [](const auto* a, const auto* b) {
    return std::tie(b->second, a->first) < std::tie(a->second, b->first);
  });
  order.resize(std::min(order.size(), most));
  std::vector<std::string_view> texts;
  for (const auto* entry : order) {
    texts.clear();
    for (std::string_view rest = entry->first; !rest.empty();) {
      texts.push_back(rest.substr(0, rest.find('\0')));
      rest.remove_prefix(texts.back().size() + 1);
    }
    visit(texts, entry->second);
  }
}

uint64_t Counting::LeftOut(size_t most) const noexcept {
  return beyond_ + (counts_.size() > most ? counts_.size() - most : 0);
}

void SessionFigures::Add(Subject subject, std::initializer_list<reader::Text> texts) {
  key_.clear();
  for (const reader::Text& text : texts) {
    if (text.isPlain && text.raw.size() <= kLongestText)
      key_ += text.HasValue() ? text.raw : std::string_view();
    else
      key_ += Plain(text);
    key_ += '\0';
  }
  Of(subject).Add(key_);
}

void SessionFigures::Add(const Record& record) {
  switch (record.kind) {
    case reader::Kind::Event:
      return Add(Subject::Events, {record.category, record.subcategory, record.name});
    case reader::Kind::Group:
      if (IsOurs(record) && record.name.raw == "ValidationErrors") errorGroup_ = record.group;
      if (IsOurs(record) && record.name.raw == "SystemInfo") machineGroup_ = record.group;
      if (IsOurs(record) && record.name.raw == "SkylampScreenResolution") screenGroup_ = record.group;
      return Add(Subject::Groups, {record.category, record.subcategory, record.name});
    case reader::Kind::Value:
      if (record.group > 0) AddValue(record);
      return;
    default:
      return;
  }
}

void SessionFigures::AddValue(const Record& record) {
  const std::string_view name = record.name.raw;
  if (record.group == errorGroup_) {
    if (name == "ErrorType") errorType_ = Plain(record.value);
    if (name != "Value") return;
    ++errorCount_;
    Of(Subject::Errors).Add(KeyOf({std::exchange(errorType_, {}), Plain(record.value)}));
  } else if (record.group == machineGroup_) {
    if (std::ranges::find(kMachineEntries, name) == std::end(kMachineEntries)) return;
    std::string value = Plain(record.value);
    if (name == "Memory") value = InGib(std::move(value));
    Of(Subject::Machines).Add(KeyOf({name, value}));
  } else if (record.group == screenGroup_) {
    if (name == "width") screenWidth_ = Plain(record.value);
    if (name == "height")
      Of(Subject::Machines).Add(KeyOf({"Screen", screenWidth_ + " \u00D7 " + Plain(record.value)}));
  }
}

bool SessionFigures::IsFull() const noexcept { return std::ranges::any_of(counts_, &Counting::IsFull); }

void SessionFigures::ClearCounts() {
  for (Counting& counting : counts_) counting.Clear();
}

void SessionFigures::Clear() {
  ClearCounts();
  errorCount_ = 0;
  errorGroup_ = machineGroup_ = screenGroup_ = 0;
}

size_t Figures::IndexOf(Product product) {
  const auto known = indices_.find(product);
  if (known != indices_.end()) return known->second;
  if (products_.size() >= kMostProducts && product != Product{"(other products)", {}, {}})
    return IndexOf({"(other products)", {}, {}});
  products_.push_back(product);
  return indices_.emplace(std::move(product), products_.size() - 1).first->second;
}

size_t Figures::IndexOf(const reader::Facts& facts) {
  return IndexOf({Cut(facts.family), Cut(facts.product), Cut(facts.version)});
}

void Figures::Add(const Countings& counts, const reader::Facts& facts) {
  const std::string product = KeyOf({std::to_string(IndexOf(facts))});
  for (size_t i = 0; i < kSubjects; ++i) counts_[i].AddAll(counts[i], product);
}

void Figures::Add(const reader::Summary& summary, uint64_t errors) {
  const reader::Facts& facts = summary.facts;
  ++sessions_;
  rows_.push_back({.product = IndexOf(facts),
                   .session = facts.session,
                   .user = Cut(facts.user),
                   .start = summary.start,
                   .end = summary.end,
                   .state = summary.state,
                   .files = summary.files,
                   .records = summary.records,
                   .events = summary.events,
                   .errors = errors});
  const SessionRow& row = rows_.back();
  if (!row.user.empty() && users_.size() < kMostUsers) users_.insert(std::hash<std::string>()(row.user));
  constexpr size_t kDay = 10;
  counts_[static_cast<size_t>(Subject::Days)].Add(
      KeyOf({std::to_string(row.product), row.start.substr(0, kDay), NameOf(row.state)}));
  constexpr size_t kSpare = 1'000;
  if (rows_.size() >= kMostSessions + kSpare) KeepLastSessions();
}

void Figures::KeepLastSessions() {
  std::ranges::sort(rows_, [](const SessionRow& a, const SessionRow& b) {
    return std::tie(b.start, b.session) < std::tie(a.start, a.session);
  });
  rows_.resize(std::min(rows_.size(), kMostSessions));
}

const std::vector<SessionRow>& Figures::LastSessions() {
  KeepLastSessions();
  return rows_;
}

}  // namespace vantra::inspect
