#include "Rows.h"

#include <array>
#include <charconv>
#include <cmath>
#include <string>

#include "Escape.h"
#include "reader/Text.h"
#include "util/BlockText.h"
#include "util/Counter.h"
#include "util/TextBuffer.h"

namespace vantra::inspect {
namespace {

using reader::Facts;
using reader::Kind;
using reader::kKinds;
using reader::Record;
using reader::Text;

constexpr std::array<std::string_view, kKinds> kKindNames = {"start", "resume", "group", "value",
                                                             "event", "split",  "end"};

// The session's columns, between the number and the time.
struct Column {
  std::string_view name;
  std::string Facts::*text;
};
constexpr Column kFacts[] = {{"family", &Facts::family},     {"product", &Facts::product},
                             {"version", &Facts::version},   {"build", &Facts::build},
                             {"language", &Facts::language}, {"user", &Facts::user},
                             {"session", &Facts::session}};

[[gnu::always_inline]] inline char* Put(char* at, std::string_view text) noexcept {
  const auto blocks = util::BlockText::Of(text);
  return blocks ? blocks->Write(at) : at + text.copy(at, text.size());
}

template <size_t N>
[[gnu::always_inline]] inline char* Put(char* at, const char (&text)[N]) noexcept {
  return util::Literal{text}.Write(at);
}

char* PutKind(char* at, Kind kind) noexcept {
  const std::string_view name = kKindNames[static_cast<size_t>(kind)];
  return at + name.copy(at, name.size());
}

// Makes the bytes after a text readable.
void Pad(std::string& text) { text.reserve(text.size() + reader::kPadding); }

// Writes numbers, of which most follow the one before.
class Digits {
 public:
  [[nodiscard]] char* Put(char* at, int32_t number) noexcept {
    if (number == counter_.Value() + 1 && number > 0) {
      counter_.Increment();
    } else if (number != counter_.Value()) {
      counter_ = util::Counter(number);
    }
    return counter_.Text().Write(at);
  }

 private:
  util::Counter counter_{0};
};

bool IsNothing(std::string_view doc) noexcept { return doc.empty() || doc == "0" || doc == "NOVALUE"; }

template <Escaping kEscaping>
void AppendEscaped(std::string_view text, std::string& out) {
  if (util::FindFirst<reader::Unordinary>(text.data(), text.size()) == text.size()) {
    out += text;
    return;
  }
  std::string padded(text);
  Pad(padded);
  const size_t before = out.size();
  out.resize(before + text.size() * 6 + util::kBlock);
  out.resize(static_cast<size_t>(PutEscaped<kEscaping>(out.data() + before, padded, false) - out.data()));
}

// Rows begin with the document, the record's number, and what all rows of the document have in common.
class CommonRows : public RowWriter {
 protected:
  [[nodiscard, gnu::always_inline]] char* PutCommon(char* at, int32_t seq) noexcept {
    return Put(seq_.Put(Put(at, head_), seq), common_);
  }

  std::string head_;
  std::string common_;
  Digits group_;

 private:
  Digits seq_;
};

// One JSON object a line.
class JsonRows final : public CommonRows {
 public:
  [[nodiscard]] std::string_view Header() const noexcept override { return {}; }

  void Begin(std::string_view document, const Facts& facts, std::optional<int32_t> index) override {
    head_ = "{\"document\":";
    AppendQuoted(document, head_);
    head_ += ",\"seq\":";
    common_.assign(",\"origin\":\"").append(NameOf(facts.origin)) += '"';
    for (const auto& [name, text] : kFacts) {
      common_.append(",\"").append(name).append("\":");
      AppendQuoted(facts.*text, common_);
    }
    common_.append(",\"file_index\":").append(index ? std::to_string(*index) : "null").append(",\"time\":\"");
    Pad(head_);
    Pad(common_);
  }

  [[nodiscard]] char* Write(const Record& record, char* at) override {
    at = PutCommon(at, record.seq);
    at = record.time.empty() ? Put(at - 1, "null,") : Put(Put(at, record.time), "\",");
    switch (record.kind) {
      case Kind::Value:
        at = group_.Put(Put(at, "\"kind\":\"value\",\"group_id\":"), record.group);
        at = PutText(Put(at, ",\"doc\":null,\"category\":null,\"subcategory\":null,\"name\":"), record.name);
        at = PutText(Put(at, ",\"value\":"), record.value);
        return Put(at, "}\n");
      case Kind::Event:
        at = Put(at, "\"kind\":\"event\",\"group_id\":null,\"doc\":");
        return PutLabels(at, record);
      case Kind::Group:
        at = group_.Put(Put(at, "\"kind\":\"group\",\"group_id\":"), record.group);
        return PutLabels(Put(at, ",\"doc\":"), record);
      default:
        at = PutKind(Put(at, "\"kind\":\""), record.kind);
        return Put(at,
                   "\",\"group_id\":null,\"doc\":null,\"category\":null,\"subcategory\":null,\"name\":null,"
                   "\"value\":null}\n");
    }
  }

 private:
  static void AppendQuoted(std::string_view text, std::string& out) {
    if (text.empty()) {
      out += "null";
      return;
    }
    out += '"';
    AppendEscaped<Escaping::Json>(text, out);
    out += '"';
  }

  [[gnu::always_inline]] static char* PutText(char* at, const Text& text) noexcept {
    if (!text.HasValue()) return Put(at, "null");
    *at++ = '"';
    at = text.isPlain ? Put(at, text.raw) : PutEscaped<Escaping::Json>(at, text.raw, true);
    *at++ = '"';
    return at;
  }

  static char* PutLabels(char* at, const Record& record) noexcept {
    at = IsNothing(record.doc) ? Put(at, "null") : Put(Put(Put(at, "\""), record.doc), "\"");
    at = PutText(Put(at, ",\"category\":"), record.category);
    at = PutText(Put(at, ",\"subcategory\":"), record.subcategory);
    at = PutText(Put(at, ",\"name\":"), record.name);
    return Put(at, ",\"value\":null}\n");
  }
};

// By RFC 4180. A text that is absent is an empty field without quotes.
class CsvRows final : public CommonRows {
 public:
  [[nodiscard]] std::string_view Header() const noexcept override {
    return "document,seq,origin,family,product,version,build,language,user,session,file_index,time,kind,"
           "group_id,doc,"
           "category,subcategory,name,value\r\n";
  }

  void Begin(std::string_view document, const Facts& facts, std::optional<int32_t> index) override {
    head_.clear();
    AppendQuoted(document, head_);
    head_ += ',';
    common_.assign(",").append(NameOf(facts.origin));
    for (const Column& column : kFacts) AppendQuoted(facts.*column.text, common_ += ',');
    common_.append(",").append(index ? std::to_string(*index) : "") += ',';
    Pad(head_);
    Pad(common_);
  }

  [[nodiscard]] char* Write(const Record& record, char* at) override {
    at = PutCommon(at, record.seq);
    if (!record.time.empty()) at = Put(at, record.time);
    switch (record.kind) {
      case Kind::Value:
        at = group_.Put(Put(at, ",value,"), record.group);
        at = PutText(Put(at, ",,,,"), record.name);
        *at++ = ',';
        return Put(PutText(at, record.value), "\r\n");
      case Kind::Event:
        return PutLabels(Put(at, ",event,,"), record);
      case Kind::Group:
        at = group_.Put(Put(at, ",group,"), record.group);
        return PutLabels(Put(at, ","), record);
      default:
        at = PutKind(Put(at, ","), record.kind);
        return Put(at, ",,,,,,\r\n");
    }
  }

 private:
  static void AppendQuoted(std::string_view text, std::string& out) {
    if (text.empty()) return;
    out += IsFormula(text) ? "\"'" : "\"";
    AppendEscaped<Escaping::Csv>(text, out);
    out += '"';
  }

  // Whether a spreadsheet would take the text for a formula. A signed number is not one.
  static bool IsFormula(std::string_view text) noexcept {
    constexpr std::string_view kBeginnings = "=+-@\t\r\n";
    if (kBeginnings.find(text[0]) == std::string_view::npos) return false;
    return (text[0] != '-' && text[0] != '+') || !IsNumber(text.substr(1));
  }

  static bool IsNumber(std::string_view text) noexcept {
    double number;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && stop == end && text[0] != '-' && std::isfinite(number);
  }

  [[gnu::always_inline]] static char* PutText(char* at, const Text& text) noexcept {
    if (!text.HasValue()) return at;
    *at++ = '"';
    if (IsFormula(text.raw)) *at++ = '\'';
    at = text.isPlain ? Put(at, text.raw) : PutEscaped<Escaping::Csv>(at, text.raw, true);
    *at++ = '"';
    return at;
  }

  static char* PutLabels(char* at, const Record& record) noexcept {
    if (!IsNothing(record.doc)) at = Put(at, record.doc);
    *at++ = ',';
    at = PutText(at, record.category);
    *at++ = ',';
    at = PutText(at, record.subcategory);
    *at++ = ',';
    return Put(PutText(at, record.name), ",\r\n");
  }
};

}  // namespace

std::unique_ptr<RowWriter> MakeRowWriter(Format format) {
  if (format == Format::Csv) return std::make_unique<CsvRows>();
  return std::make_unique<JsonRows>();
}

}  // namespace vantra::inspect
