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
// Of each table, by a guess of what an entry takes beside its key.
constexpr size_t kMostBytes = size_t{2} << 20;
constexpr size_t kBytesOfEntry = 100;
constexpr size_t kMostProducts = 2'000;
constexpr size_t kMostUsers = 100'000;

// What is told of a machine.
constexpr std::string_view kMachineEntries[] = {
    "OS",     "OSLanguage",   "UserLanguage",  "ProcessorName", "NumProcessors",
    "Memory", "MonitorCount", "DefaultBrowser"};

// Without NUL, which separates texts in a key.
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
  // A reference takes five bytes at most, so no more of a long text is needed.
  if (text.HasValue())
    reader::Unescape(text.raw.substr(0, kLongestText * reader::kReferenceSize + reader::kReferenceSize),
                     plain);
  return Cut(std::move(plain));
}

bool IsOurs(const Record& group) noexcept { return group.category.raw == "Skylamp"; }

// Memory in MiB as GiB: few machines differ otherwise.
std::string InGib(const std::string& mebibytes) {
  constexpr unsigned long kMebi = 1024;
  if (mebibytes.empty() || mebibytes.size() > 9 ||
      mebibytes.find_first_not_of("0123456789") != std::string::npos)
    return mebibytes;
  return std::to_string((std::stoul(mebibytes) + kMebi / 2) / kMebi) + " GiB";
}

}  // namespace

void Counting::Add(size_t product, const Texts& texts, uint64_t count) {
  std::string key = std::to_string(product);
  for (const std::string& text : texts) key.append(1, '\0').append(text);
  const auto known = counts_.find(key);
  if (known != counts_.end()) {
    known->second += count;
  } else if (bytes_ < kMostBytes) {
    bytes_ += key.size() + kBytesOfEntry;
    counts_.emplace(std::move(key), count);
  } else {
    ++beyond_;
  }
}

std::vector<Counting::Row> Counting::Top(size_t most) const {
  std::vector<std::pair<uint64_t, const std::string*>> order;
  for (const auto& [key, count] : counts_) order.emplace_back(count, &key);
  const auto isBefore = [](const auto& a, const auto& b) {
    return std::tie(b.first, *a.second) < std::tie(a.first, *b.second);
  };
  std::ranges::sort(order, isBefore);
  order.resize(std::min(order.size(), most));
  std::vector<Row> rows;
  for (const auto& [count, key] : order) {
    Row row{std::stoul(*key), {}, count};
    for (size_t at = key->find('\0'); at != std::string::npos;) {
      const size_t end = key->find('\0', at + 1);
      row.texts.push_back(key->substr(at + 1, end == std::string::npos ? end : end - at - 1));
      at = end;
    }
    rows.push_back(std::move(row));
  }
  return rows;
}

uint64_t Counting::LeftOut(size_t most) const noexcept {
  return beyond_ + (counts_.size() > most ? counts_.size() - most : 0);
}

size_t Figures::IndexOf(Product product) {
  const auto known = indices_.find(product);
  if (known != indices_.end()) return known->second;
  if (products_.size() >= kMostProducts && product != Product{"(other products)", {}, {}})
    return IndexOf({"(other products)", {}, {}});
  products_.push_back(product);
  return indices_.emplace(std::move(product), products_.size() - 1).first->second;
}

void Figures::Begin(const reader::Summary& summary) {
  const reader::Facts& facts = summary.facts;
  ++sessions_;
  row_ = {.product = IndexOf({Cut(facts.family), Cut(facts.product), Cut(facts.version)}),
          .session = facts.session,
          .user = Cut(facts.user),
          .start = summary.start,
          .end = summary.end,
          .state = summary.state,
          .files = summary.files,
          .records = summary.records,
          .events = summary.events,
          .errors = 0};
  if (!row_.user.empty() && users_.size() < kMostUsers) users_.insert(std::hash<std::string>()(row_.user));
  constexpr size_t kDay = 10;
  days.Add(row_.product, {summary.start.substr(0, kDay), std::string(NameOf(summary.state))});
  errorGroup_ = machineGroup_ = screenGroup_ = 0;
}

void Figures::Add(const Record& record) {
  switch (record.kind) {
    case reader::Kind::Event:
      return events.Add(row_.product,
                        {Plain(record.category), Plain(record.subcategory), Plain(record.name)});
    case reader::Kind::Group:
      if (IsOurs(record) && record.name.raw == "ValidationErrors") errorGroup_ = record.group;
      if (IsOurs(record) && record.name.raw == "SystemInfo") machineGroup_ = record.group;
      if (IsOurs(record) && record.name.raw == "SkylampScreenResolution") screenGroup_ = record.group;
      return groups.Add(row_.product,
                        {Plain(record.category), Plain(record.subcategory), Plain(record.name)});
    case reader::Kind::Value:
      if (record.group > 0) AddValue(record);
      return;
    default:
      return;
  }
}

void Figures::AddValue(const Record& record) {
  const std::string_view name = record.name.raw;
  if (record.group == errorGroup_) {
    if (name == "ErrorType") errorType_ = Plain(record.value);
    if (name != "Value") return;
    ++row_.errors;
    errors.Add(row_.product, {std::exchange(errorType_, {}), Plain(record.value)});
  } else if (record.group == machineGroup_) {
    if (std::ranges::find(kMachineEntries, name) == std::end(kMachineEntries)) return;
    const std::string value = Plain(record.value);
    machines.Add(row_.product, {std::string(name), name == "Memory" ? InGib(value) : value});
  } else if (record.group == screenGroup_) {
    if (name == "width") screenWidth_ = Plain(record.value);
    if (name == "height")
      machines.Add(row_.product, {"Screen", screenWidth_ + " \u00D7 " + Plain(record.value)});
  }
}

void Figures::End() {
  rows_.push_back(std::move(row_));
  if (rows_.size() < 2 * kMostSessions) return;
  std::ranges::nth_element(rows_, rows_.begin() + kMostSessions, std::greater<>(), &SessionRow::start);
  rows_.resize(kMostSessions);
}

std::vector<SessionRow> Figures::LastSessions() {
  std::ranges::sort(rows_, [](const SessionRow& a, const SessionRow& b) {
    return std::tie(b.start, b.session) < std::tie(a.start, a.session);
  });
  rows_.resize(std::min(rows_.size(), kMostSessions));
  return rows_;
}

}  // namespace vantra::inspect
