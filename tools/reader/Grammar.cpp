#include "reader/Grammar.h"

#include <algorithm>
#include <charconv>
#include <span>

#include "reader/Text.h"
#include "util/ByteScans.h"

namespace vantra::reader {
namespace {

enum class Type : uint8_t { Free, Number, Identifier, Time, Document, Raw };

// One attribute: the text before its value, and where the value is stored.
struct Attribute {
  constexpr Attribute(std::string_view lead, Text Record::*target)
      : before(lead), type(Type::Free), text(target) {}
  constexpr Attribute(std::string_view lead, int32_t Record::*target)
      : before(lead), type(Type::Number), number(target) {}
  constexpr Attribute(std::string_view lead, Type kind, std::string_view Record::*target)
      : before(lead), type(kind), view(target) {}
  constexpr Attribute(std::string_view lead, Type kind, std::string_view ResumeTexts::*target)
      : before(lead), type(kind), resume(target) {}

  std::string_view before;
  Type type;
  Text Record::*text = nullptr;
  int32_t Record::*number = nullptr;
  std::string_view Record::*view = nullptr;
  std::string_view ResumeTexts::*resume = nullptr;
};

constexpr Attribute kTime{"\" time=\"", Type::Time, &Record::time};
constexpr Attribute kSeq{"\" seq=\"", &Record::seq};
constexpr Attribute kGroup{"\" group=\"", &Record::group};
constexpr Attribute kSubcategory{"\" subcategory=\"", &Record::subcategory};
constexpr Attribute kName{"\" name=\"", &Record::name};

constexpr Attribute kStartAttributes[] = {
    {"<StartSession id=\"", Type::Identifier, &Record::id}, kTime, kSeq};
constexpr Attribute kResumeAttributes[] = {{"<ResumeSession id=\"", Type::Identifier, &Record::id},
                                           {"\" ProductFamily=\"", Type::Raw, &ResumeTexts::family},
                                           {"\" ProductName=\"", Type::Raw, &ResumeTexts::product},
                                           {"\" ProductVersion=\"", Type::Raw, &ResumeTexts::version},
                                           {"\" ProductBuild=\"", Type::Raw, &ResumeTexts::build},
                                           {"\" ProductLanguage=\"", Type::Raw, &ResumeTexts::language},
                                           {"\" SessionStartTime=\"", Type::Time, &ResumeTexts::startTime},
                                           {"\" User=\"", Type::Raw, &ResumeTexts::user},
                                           kTime,
                                           kSeq};
constexpr Attribute kGroupAttributes[] = {
    {"<NewGroup category=\"", &Record::category}, kSubcategory, kName, kTime, kGroup,
    {"\" doc=\"", Type::Document, &Record::doc},  kSeq};
constexpr Attribute kValueAttributes[] = {
    {"<DataRec time=\"", Type::Time, &Record::time}, kGroup, kName, {"\" data=\"", &Record::value}, kSeq};
constexpr Attribute kEventAttributes[] = {{"<EventRec doc=\"", Type::Document, &Record::doc},
                                          {"\" category=\"", &Record::category},
                                          kSubcategory,
                                          kName,
                                          kTime,
                                          kSeq};
constexpr Attribute kSplitAttributes[] = {
    {"<SplitSession id=\"", Type::Identifier, &Record::id}, kTime, kSeq};
constexpr Attribute kEndAttributes[] = {{"<EndSession id=\"", Type::Identifier, &Record::id}, kTime, kSeq};

// In the order of Kind.
constexpr std::array<std::span<const Attribute>, kKinds> kElements = {
    kStartAttributes, kResumeAttributes, kGroupAttributes, kValueAttributes,
    kEventAttributes, kSplitAttributes,  kEndAttributes};

constexpr std::string_view kDeclaration = "<?xml";
constexpr std::string_view kRoot = "<UsageDoc";
constexpr std::string_view kDoctype = "<!DOCTYPE";

// An element's beginning, such as "<DataRec ".
std::string_view NameOf(std::span<const Attribute> element) noexcept {
  return element[0].before.substr(0, element[0].before.find(' ') + 1);
}

// Whether sixteen bytes have the form 2011-03-04T05:06.
bool AreDateAndMinute(const char* text) noexcept {
  constexpr unsigned kDigits = 0b1101'1011'0110'1111;
  const util::Block block = util::LoadWholeBlock(text);
  const unsigned signs = util::FindSame(block, util::LoadWholeBlock("....-..-..T..:.."));
  return util::Find<util::ByteRange<'0', '9'>>(block) == kDigits && (signs | kDigits) == util::kAllBits;
}

// Parses one record, up to the first error or the end of the text.
class Reading {
 public:
  explicit Reading(std::string_view text) noexcept : text_(text) {}

  Parsed Read(Kind kind, Record& record) noexcept {
    record.flaws = 0;
    for (const Attribute& attribute : kElements[static_cast<size_t>(kind)]) {
      if (!Pass(attribute.before) || !ReadValue(attribute, record)) return Failed();
    }
    if (!Pass(kRecordEnd)) return Failed();
    record.kind = kind;
    record.text = text_.substr(0, at_);
    return {Piece::Record, kind, {}, false, at_};
  }

 private:
  [[nodiscard]] Parsed Failed() const noexcept {
    return {Piece::Malformed, {}, isIncomplete_ ? Rule::Cut : rule_, isIncomplete_, at_};
  }

  bool Fail(Rule rule) noexcept {
    rule_ = rule;
    return false;
  }

  bool Pass(std::string_view literal) noexcept {
    const std::string_view rest = text_.substr(at_);
    if (rest.starts_with(literal)) {
      at_ += literal.size();
      return true;
    }
    isIncomplete_ = literal.starts_with(rest);
    return Fail(Rule::Attributes);
  }

  bool ReadValue(const Attribute& attribute, Record& record) noexcept {
    if (attribute.type == Type::Free) return ReadFree(record.*attribute.text, record.flaws);
    const std::string_view value = TakeValue(attribute);
    if (isIncomplete_) return false;
    if (attribute.type == Type::Number)
      return ReadNumber(value, record.*attribute.number) || Fail(Rule::Number);
    if (attribute.view != nullptr) record.*attribute.view = value;
    if (attribute.resume != nullptr) record.resume.*attribute.resume = value;
    switch (attribute.type) {
      case Type::Identifier:
        return value.empty() || IsGuid(value) || Fail(Rule::Identifier);
      case Type::Time:
        return value.empty() || IsTime(value) || Fail(Rule::Time);
      case Type::Document:
        return value.empty() || IsDocumentId(value) || Fail(Rule::Document);
      default:
        return CheckRaw(value, record.flaws);
    }
  }

  // Takes the value up to the quote. A raw text may hold quotes: it extends to the text before the next
  // attribute's value.
  std::string_view TakeValue(const Attribute& attribute) noexcept {
    const std::string_view rest = text_.substr(at_);
    size_t size = rest.find('"');
    if (attribute.type == Type::Raw) size = rest.find(NextOf(attribute).before);
    isIncomplete_ = size == std::string_view::npos;
    if (!isIncomplete_) at_ += size;
    return rest.substr(0, size);
  }

  static const Attribute& NextOf(const Attribute& attribute) noexcept { return *(&attribute + 1); }

  bool ReadFree(Text& text, uint8_t& flaws) noexcept {
    const char* const start = text_.data() + at_;
    const FreeScan scan = ScanFree(start);
    text = {{start, static_cast<size_t>(scan.end - start)}, scan.isPlain};
    flaws |= scan.flaws;
    at_ += text.raw.size();
    // The scan may have run past the end of the text, into the padding.
    isIncomplete_ = at_ > text_.size();
    if (isIncomplete_) return false;
    if (*scan.end == '"') return !text.raw.empty() || Fail(Rule::Escaping);
    const std::string_view rest = text_.substr(at_);
    isIncomplete_ = rest.empty() || (rest[0] == '&' && rest.size() < kReferenceSize);
    return Fail(*scan.end == '\0' ? Rule::Nul : Rule::Escaping);
  }

  static bool ReadNumber(std::string_view text, int32_t& number) noexcept {
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && stop == end;
  }

  bool CheckRaw(std::string_view text, uint8_t& flaws) noexcept {
    if (util::FindFirst<Unordinary>(text.data(), text.size()) == text.size()) return true;
    for (const char* at = text.data(); at != text.data() + text.size();) {
      const Character character = ReadCharacter(at, text.data() + text.size());
      if (*at == '\0') return Fail(Rule::Nul);
      if (*at == '&' || *at == '<' || *at == '"') flaws |= kRawMarkup;
      if (*at >= 0 && *at < ' ' && *at != '\t' && *at != '\n' && *at != '\r') flaws |= kControlCharacter;
      if (character.size == 0) flaws |= kNotUtf8;
      if (character.isNoCharacter) flaws |= kNoCharacter;
      at += character.size + character.invalid;
    }
    return true;
  }

  std::string_view text_;
  size_t at_ = 0;
  Rule rule_ = Rule::Foreign;
  bool isIncomplete_ = false;
};

// The rule that an XML declaration other than ours breaks.
Rule RuleOfDeclaration(std::string_view text) noexcept {
  text.remove_prefix(std::min(text.find("?>"), text.size() - 2) + 2);
  text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n"), text.size()));
  const bool isOurs = text.empty() || text.starts_with(kRoot) || text.starts_with(kDoctype);
  return isOurs ? Rule::Prologue : Rule::Foreign;
}

Parsed Malformed(std::string_view text) noexcept {
  const auto because = [](Rule rule) { return Parsed{Piece::Malformed, {}, rule, false, 0}; };
  const auto may = [text](std::string_view literal) {
    return text.size() < literal.size() && literal.starts_with(text);
  };
  if (text[0] == '\0') return because(Rule::Nul);
  const auto isNamed = [text](const auto& attributes) { return text.starts_with(NameOf(attributes)); };
  const auto mayBe = [may](const auto& attributes) { return may(attributes[0].before); };
  if (may(kPrologue) || may(kEndTag) || may(kDoctype) || may(kRoot) || std::ranges::any_of(kElements, mayBe))
    return {Piece::Malformed, {}, Rule::Cut, true, 0};
  if (std::ranges::any_of(kElements, isNamed)) return because(Rule::Attributes);
  if (text.starts_with(kDeclaration)) return because(RuleOfDeclaration(text));
  return because(text.starts_with(kRoot)      ? Rule::Prologue
                 : text.starts_with(kDoctype) ? Rule::Doctype
                                              : Rule::Foreign);
}

}  // namespace

Records EmptyRecords() noexcept {
  Records records{};
  for (size_t i = 0; i < kKinds; ++i) records[i].kind = static_cast<Kind>(i);
  return records;
}

bool IsTime(std::string_view text) noexcept {
  const auto isDigit = [text](size_t at) { return text[at] >= '0' && text[at] <= '9'; };
  if (text.size() != 20 || !AreDateAndMinute(text.data())) return false;
  if (text[16] != ':' || !isDigit(17) || !isDigit(18) || text[19] != 'Z') return false;
  const auto pair = [text](size_t at) { return (text[at] - '0') * 10 + text[at + 1] - '0'; };
  const int month = pair(5);
  const bool isLeap = pair(2) % 4 == 0 && (pair(2) != 0 || pair(0) % 4 == 0);
  constexpr std::array<int, 13> kDays = {0, 31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  if (month < 1 || month > 12) return false;
  const int days = kDays[static_cast<size_t>(month)] + (month == 2 && isLeap ? 1 : 0);
  return pair(8) >= 1 && pair(8) <= days && pair(11) < 24 && pair(14) < 60 && pair(17) < 60;
}

bool IsGuid(std::string_view text) noexcept {
  constexpr size_t kSize = 36;
  constexpr uint64_t kJoints = uint64_t{1} << 8 | uint64_t{1} << 13 | uint64_t{1} << 18 | uint64_t{1} << 23;
  if (text.size() != kSize) return false;
  const auto digits = [text](size_t at) {
    return uint64_t{util::Find<HexDigit>(util::LoadWholeBlock(text.data() + at))} << at;
  };
  const bool areJoints = text[8] == '-' && text[13] == '-' && text[18] == '-' && text[23] == '-';
  return areJoints && (digits(0) | digits(16) | digits(20) | kJoints) == (uint64_t{1} << kSize) - 1;
}

bool IsDocumentId(std::string_view text) noexcept {
  constexpr size_t kDigest = 32;
  if (text.size() != kDigest) return text == "0" || text == "NOVALUE";
  const auto areDigits = [text](size_t at) {
    return util::Find<HexDigit>(util::LoadWholeBlock(text.data() + at)) == 0xFFFF;
  };
  return areDigits(0) && areDigits(16);
}

bool IsBeginning(std::string_view text) noexcept {
  if (text.starts_with(kEndTag) || text.starts_with(kDeclaration) || text.starts_with(kDoctype)) return true;
  return std::ranges::any_of(kElements,
                             [text](const auto& attributes) { return text.starts_with(NameOf(attributes)); });
}

Parsed Parse(std::string_view text, Records& records) noexcept {
  // Most differ in their second character.
  const auto isAt = [text](std::string_view literal) {
    return text.size() >= literal.size() && text[1] == literal[1] && text.starts_with(literal);
  };
  if (isAt(kPrologue)) return {Piece::Prologue, {}, {}, false, kPrologue.size()};
  if (isAt(kEndTag)) return {Piece::EndTag, {}, {}, false, kEndTag.size()};
  for (size_t i = 0; i < kKinds; ++i) {
    if (isAt(kElements[i][0].before)) return Reading(text).Read(static_cast<Kind>(i), records[i]);
  }
  return Malformed(text);
}

}  // namespace vantra::reader
