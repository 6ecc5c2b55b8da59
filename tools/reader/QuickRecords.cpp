#include "reader/QuickRecords.h"

#include <bit>
#include <charconv>
#include <cstring>
#include <string>

#include "reader/Text.h"
#include "util/ByteScans.h"

namespace vantra::reader {
namespace {

using util::kBlock;
using util::LoadWholeBlock;

constexpr size_t kTimeSize = 20;
constexpr size_t kDigestSize = 32;
// A literal of the format, compared in blocks.
struct Lead {
  template <size_t N>
  consteval explicit Lead(const char (&literal)[N]) : size(N - 1), need((1U << (N - 1)) - 1) {
    static_assert(N - 1 < 2 * kBlock);
    for (size_t i = 0; i < size; ++i) bytes[i] = literal[i];
  }
  [[nodiscard]] constexpr std::string_view Text() const noexcept { return {bytes, size}; }

  alignas(kBlock) char bytes[2 * kBlock] = {};
  size_t size;
  uint32_t need;
};

constexpr Lead kValueBegin{"<DataRec time=\""};
constexpr Lead kEventBegin{"<EventRec doc=\""};
constexpr Lead kGroupBegin{"<NewGroup category=\""};
constexpr Lead kGroupLead{"\" group=\""};
constexpr Lead kNameLead{"\" name=\""};
constexpr Lead kDataLead{"\" data=\""};
constexpr Lead kCategoryLead{"\" category=\""};
constexpr Lead kSubcategoryLead{"\" subcategory=\""};
constexpr Lead kTimeLead{"\" time=\""};
constexpr Lead kDocLead{"\" doc=\""};
constexpr Lead kSeqLead{"\" seq=\""};

[[gnu::always_inline]] inline uint32_t Equal16(const char* at, const char* wanted) noexcept {
  return util::FindSame(LoadWholeBlock(at), LoadWholeBlock(wanted));
}

[[gnu::always_inline]] inline uint64_t Equal32(const char* at, const char* wanted) noexcept {
  return Equal16(at, wanted) | Equal16(at + kBlock, wanted + kBlock) << kBlock;
}

[[gnu::always_inline]] inline bool Is(const char* at, const Lead& lead) noexcept {
  const uint64_t equal = lead.size <= kBlock ? Equal16(at, lead.bytes) : Equal32(at, lead.bytes);
  return (~equal & lead.need) == 0;
}

// Reads a text up to its quote. One that is shorter than two blocks and has nothing else to look at is found
// without a branch on its length. Null when the text does not end as it should.
[[gnu::always_inline]] inline const char* PassText(const char* at, Text& text, uint8_t& flaws) noexcept {
  const unsigned stops = util::Find<Unordinary>(LoadWholeBlock(at)) |
                         util::Find<Unordinary>(LoadWholeBlock(at + kBlock)) << kBlock;
  const size_t size = static_cast<size_t>(std::countr_zero(stops | 1U << 31));
  if (at[size] == '"') [[likely]] {
    text = {{at, size}, true};
    return size == 0 ? nullptr : at + size;
  }
  const FreeScan scan = ScanFree(at + size);
  if (*scan.end != '"' || scan.end == at) return nullptr;
  text = {{at, static_cast<size_t>(scan.end - at)}, scan.isPlain};
  flaws |= scan.flaws;
  return scan.end;
}

[[gnu::always_inline]] inline const char* Pass(const char* at, const Lead& lead) noexcept {
  return at != nullptr && Is(at, lead) ? at + lead.size : nullptr;
}

bool AreHexadecimal(const char* at) noexcept {
  return util::Find<HexDigit>(LoadWholeBlock(at)) == util::kAllBits;
}

// Reads a document id of either common kind, "0" or a digest.
const char* PassDocument(const char* at, std::string_view& doc) noexcept {
  size_t size = 1;
  if (at[0] != '0' || at[1] != '"') {
    size = kDigestSize;
    if (!AreHexadecimal(at) || !AreHexadecimal(at + kBlock) || at[size] != '"') return nullptr;
  }
  doc = {at, size};
  return at + size;
}

char* Put(char* at, std::string_view text) noexcept { return at + text.copy(at, text.size()); }
char* Put(char* at, int32_t number) noexcept { return std::to_chars(at, at + kBlock, number).ptr; }

}  // namespace

void QuickRecords::Pattern::Set(std::string_view text) noexcept {
  std::memcpy(bytes, text.data(), text.size());
  size = static_cast<uint32_t>(text.size());
  need = (uint64_t{1} << size) - 1;
}

QuickRecords::QuickRecords(Records& records) noexcept
    : value_(records[static_cast<size_t>(Kind::Value)]),
      event_(records[static_cast<size_t>(Kind::Event)]),
      group_(records[static_cast<size_t>(Kind::Group)]) {
  time_.Set(std::string(kTimeLead.Text()).append(kTimeSize, '?'));
  valueHead_.Set(std::string(kValueBegin.Text()).append(kTimeSize, '?'));
  LearnGroup(0);
  SetSeq(0);
}

void QuickRecords::SetTime(const char* time) noexcept {
  std::memcpy(time_.bytes + kTimeLead.size, time, kTimeSize);
  std::memcpy(valueHead_.bytes + kValueBegin.size, time, kTimeSize);
}

void QuickRecords::SetSeq(int32_t seq) noexcept {
  char text[kBlock * 2];
  char* const end = Put(Put(Put(text, kSeqLead.Text()), seq), kRecordEnd);
  seqTail_.Set({text, static_cast<size_t>(end - text)});
  seq_ = seq;
}

void QuickRecords::SetValueGroup(int32_t group) noexcept {
  char* const at = valueHead_.bytes + kValueBegin.size + kTimeSize;
  const char* const end = Put(Put(Put(at, kGroupLead.Text()), group), kNameLead.Text());
  valueHead_.size = static_cast<uint32_t>(end - valueHead_.bytes);
  valueHead_.need = (uint64_t{1} << valueHead_.size) - 1;
  valueGroup_ = group;
}

void QuickRecords::SetNextGroup(int32_t group) noexcept {
  char text[kBlock * 2];
  char* const end = Put(Put(Put(text, kGroupLead.Text()), group), kDocLead.Text());
  groupTail_.Set({text, static_cast<size_t>(end - text)});
  nextGroup_ = group;
}

void QuickRecords::LearnGroup(int32_t group) noexcept {
  SetValueGroup(group);
  SetNextGroup(static_cast<int32_t>(static_cast<uint32_t>(group) + 1));
}

void QuickRecords::CountSeq() noexcept {
  char& last = seqTail_.bytes[seqTail_.size - kRecordEnd.size() - 1];
  const auto next = static_cast<int32_t>(static_cast<uint32_t>(seq_) + 1);
  if (last == '9' || next <= 0) return SetSeq(next);
  ++last;
  seq_ = next;
}

void QuickRecords::Learn(const Record& record) noexcept {
  SetSeq(static_cast<int32_t>(static_cast<uint32_t>(record.seq) + 1));
  if (record.time.size() == kTimeSize) SetTime(record.time.data());
  if (record.kind == Kind::Value) SetValueGroup(record.group);
  if (record.kind == Kind::Group) LearnGroup(record.group);
  if (record.kind == Kind::Start) LearnGroup(0);
}

bool QuickRecords::AdoptTime(const char* time) noexcept {
  if (time[kTimeSize] != '"' || !IsTime({time, kTimeSize})) return false;
  SetTime(time);
  return true;
}

bool QuickRecords::AdoptValueHead(const char* at) noexcept {
  if (!Is(at, kValueBegin) || !AdoptTime(at + kValueBegin.size)) return false;
  at += kValueBegin.size + kTimeSize;
  if (!Is(at, kGroupLead)) return false;
  const char* const number = at + kGroupLead.size;
  int32_t group = 0;
  const auto [stop, error] = std::from_chars(number, number + kBlock, group);
  if (error != std::errc() || !Is(stop, kNameLead)) return false;
  SetValueGroup(group);
  // A number with leading zeros gives another length.
  return static_cast<uint32_t>(stop - at +
                               static_cast<ptrdiff_t>(kValueBegin.size + kTimeSize + kNameLead.size)) ==
         valueHead_.size;
}

const char* QuickRecords::PassTime(const char* at, Record& record) noexcept {
  constexpr size_t kSize = kTimeLead.size + kTimeSize;
  static_assert(kSize <= 2 * kBlock);
  if (at == nullptr) return nullptr;
  if ((~Equal32(at, time_.bytes) & ((uint64_t{1} << kSize) - 1)) != 0) [[unlikely]] {
    if (!Is(at, kTimeLead) || !AdoptTime(at + kTimeLead.size)) return nullptr;
  }
  record.time = {at + kTimeLead.size, kTimeSize};
  return at + kSize;
}

// Reads the sequence number and the end of the record.
const Record* QuickRecords::Finish(const char* start, const char* at, Record& record) noexcept {
  if (at == nullptr || (~Equal32(at, seqTail_.bytes) & seqTail_.need) != 0) return nullptr;
  record.seq = seq_;
  record.text = {start, static_cast<size_t>(at + seqTail_.size - start)};
  CountSeq();
  return &record;
}

const Record* QuickRecords::ReadValue(const char* at) noexcept {
  const uint64_t equal = Equal32(at, valueHead_.bytes) | Equal32(at + 32, valueHead_.bytes + 32) << 32;
  if ((~equal & valueHead_.need) != 0 && !AdoptValueHead(at)) return nullptr;
  value_.flaws = 0;
  value_.time = {at + kValueBegin.size, kTimeSize};
  value_.group = valueGroup_;
  const char* next = PassText(at + valueHead_.size, value_.name, value_.flaws);
  next = Pass(next, kDataLead);
  if (next != nullptr) next = PassText(next, value_.value, value_.flaws);
  return Finish(at, next, value_);
}

const Record* QuickRecords::ReadEvent(const char* at) noexcept {
  if (!Is(at, kEventBegin)) return nullptr;
  event_.flaws = 0;
  const char* next = PassDocument(at + kEventBegin.size, event_.doc);
  next = Pass(next, kCategoryLead);
  if (next != nullptr) next = PassText(next, event_.category, event_.flaws);
  next = Pass(next, kSubcategoryLead);
  if (next != nullptr) next = PassText(next, event_.subcategory, event_.flaws);
  next = Pass(next, kNameLead);
  if (next != nullptr) next = PassText(next, event_.name, event_.flaws);
  return Finish(at, PassTime(next, event_), event_);
}

const Record* QuickRecords::ReadGroup(const char* at) noexcept {
  if (!Is(at, kGroupBegin)) return nullptr;
  group_.flaws = 0;
  const char* next = PassText(at + kGroupBegin.size, group_.category, group_.flaws);
  next = Pass(next, kSubcategoryLead);
  if (next != nullptr) next = PassText(next, group_.subcategory, group_.flaws);
  next = Pass(next, kNameLead);
  if (next != nullptr) next = PassText(next, group_.name, group_.flaws);
  next = PassTime(next, group_);
  if (next == nullptr || (~Equal32(next, groupTail_.bytes) & groupTail_.need) != 0) return nullptr;
  group_.group = nextGroup_;
  next = PassDocument(next + groupTail_.size, group_.doc);
  const Record* const record = Finish(at, next, group_);
  if (record != nullptr) LearnGroup(nextGroup_);
  return record;
}

const Record* QuickRecords::Read(const char* at) noexcept {
  switch (at[1]) {
    case 'D':
      return ReadValue(at);
    case 'E':
      return ReadEvent(at);
    case 'N':
      return ReadGroup(at);
    default:
      return nullptr;
  }
}

}  // namespace vantra::reader
