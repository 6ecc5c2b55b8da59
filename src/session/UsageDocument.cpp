#include "session/UsageDocument.h"

#include <emmintrin.h>

#include <array>
#include <bit>

namespace vantra::session {
namespace {

using util::Append;
using util::Decimal;
using util::Raw;

constexpr std::string_view kRecordEnd = "\" />\n";
constexpr std::string_view kDocumentEnd = "\" />\n</UsageDoc>\n";
constexpr std::string_view kNoValue = "NOVALUE";

// The characters that a value must not hold, and what stands for each: all of one length.
constexpr std::string_view kSpecial = "&<>\"'\\";
constexpr size_t kReferenceSize = 5;
constexpr char kReferences[][kReferenceSize + 1] = {"&#38;", "&#60;", "&#62;", "&#34;", "&#39;", "&#92;"};

enum : uint8_t { kPlain = 0, kEnd = 0xFF };  // any other class is a reference's index plus one

constexpr std::array<uint8_t, 256> kClasses = [] {
  std::array<uint8_t, 256> classes{};
  for (size_t i = 0; i < kSpecial.size(); ++i)
    classes[static_cast<uint8_t>(kSpecial[i])] = static_cast<uint8_t>(i + 1);
  classes[0] = kEnd;
  return classes;
}();

// Copies a run of sixteen bytes and tells with a bit each which of them are special or NUL.
unsigned CopyBlock(const char* from, char* to) noexcept {
  const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(to), block);
  __m128i hits = _mm_cmpeq_epi8(block, _mm_setzero_si128());
  for (const char c : kSpecial) hits = _mm_or_si128(hits, _mm_cmpeq_epi8(block, _mm_set1_epi8(c)));
  return static_cast<unsigned>(_mm_movemask_epi8(hits));
}

// A caller's text as an attribute value.
struct Free {
  std::string_view text;

  static constexpr size_t kBlock = 16;

  [[nodiscard]] size_t MaxSize() const noexcept { return text.size() * kReferenceSize + kBlock; }

  [[nodiscard]] char* Write(char* const start) const noexcept {
    char* at = start;
    const char* from = text.data();
    const char* const end = from + text.size();
    while (from != end) {
      if (static_cast<size_t>(end - from) >= kBlock) {
        const unsigned hits = CopyBlock(from, at);
        const size_t plain = hits == 0 ? kBlock : static_cast<size_t>(std::countr_zero(hits));
        from += plain;
        at += plain;
        if (hits == 0) continue;
      }
      const uint8_t kind = kClasses[static_cast<uint8_t>(*from)];
      if (kind == kPlain) {
        *at++ = *from++;
        continue;
      }
      if (kind == kEnd) break;
      std::memcpy(at, kReferences[kind - 1], kReferenceSize);
      at += kReferenceSize;
      ++from;
    }
    return at == start ? Raw{kNoValue}.Write(at) : at;
  }
};

template <class Doc>
void AppendGroup(util::TextBuffer& out, const Labels& labels, const Doc& doc, int32_t group,
                 const RecordStamp& stamp) {
  Append(out, Raw{"<NewGroup category=\""}, Free{labels.category}, Raw{"\" subcategory=\""},
         Free{labels.subcategory}, Raw{"\" name=\""}, Free{labels.name}, Raw{"\" time=\""}, Raw{stamp.time},
         Raw{"\" group=\""}, Decimal{group}, Raw{"\" doc=\""}, doc, Raw{"\" seq=\""}, Decimal{stamp.seq},
         Raw{kRecordEnd});
}

}  // namespace

void AppendPrologue(util::TextBuffer& out) {
  Append(out, Raw{"<?xml version=\"1.0\" encoding=\"utf-8\"?>\n\n<UsageDoc version=\"0.5.4\">\n"});
}

void AppendStartSession(util::TextBuffer& out, std::string_view id, const RecordStamp& stamp) {
  Append(out, Raw{"<StartSession id=\""}, Raw{id}, Raw{"\" time=\""}, Raw{stamp.time}, Raw{"\" seq=\""},
         Decimal{stamp.seq}, Raw{kRecordEnd});
}

void AppendNewGroup(util::TextBuffer& out, const Labels& labels, int32_t group, const RecordStamp& stamp) {
  AppendGroup(out, labels, Free{labels.doc}, group, stamp);
}

void AppendNewGroupWithoutDoc(util::TextBuffer& out, const Labels& labels, int32_t group,
                              const RecordStamp& stamp) {
  AppendGroup(out, labels, Raw{}, group, stamp);
}

void AppendEventRec(util::TextBuffer& out, const Labels& labels, const RecordStamp& stamp) {
  Append(out, Raw{"<EventRec doc=\""}, Free{labels.doc}, Raw{"\" category=\""}, Free{labels.category},
         Raw{"\" subcategory=\""}, Free{labels.subcategory}, Raw{"\" name=\""}, Free{labels.name},
         Raw{"\" time=\""}, Raw{stamp.time}, Raw{"\" seq=\""}, Decimal{stamp.seq}, Raw{kRecordEnd});
}

void AppendDataRec(util::TextBuffer& out, int32_t group, std::string_view name, std::string_view data,
                   const RecordStamp& stamp) {
  Append(out, Raw{"<DataRec time=\""}, Raw{stamp.time}, Raw{"\" group=\""}, Decimal{group}, Raw{"\" name=\""},
         Free{name}, Raw{"\" data=\""}, Free{data}, Raw{"\" seq=\""}, Decimal{stamp.seq}, Raw{kRecordEnd});
}

void AppendEndSession(util::TextBuffer& out, std::string_view id, const RecordStamp& stamp) {
  Append(out, Raw{"<EndSession id=\""}, Raw{id}, Raw{"\" time=\""}, Raw{stamp.time}, Raw{"\" seq=\""},
         Decimal{stamp.seq}, Raw{kDocumentEnd});
}

void AppendSplitSession(util::TextBuffer& out, std::string_view id, const RecordStamp& stamp) {
  Append(out, Raw{"<SplitSession id=\""}, Raw{id}, Raw{"\" time=\""}, Raw{stamp.time}, Raw{"\" seq=\""},
         Decimal{stamp.seq}, Raw{kDocumentEnd});
}

void AppendResumeSession(util::TextBuffer& out, std::string_view id, const ProductTexts& product,
                         std::string_view startTime, std::string_view user, const RecordStamp& stamp) {
  Append(out, Raw{"<ResumeSession id=\""}, Raw{id}, Raw{"\" ProductFamily=\""}, Raw{product.family},
         Raw{"\" ProductName=\""}, Raw{product.name}, Raw{"\" ProductVersion=\""}, Raw{product.version},
         Raw{"\" ProductBuild=\""}, Raw{product.build}, Raw{"\" ProductLanguage=\""}, Raw{product.language},
         Raw{"\" SessionStartTime=\""}, Raw{startTime}, Raw{"\" User=\""}, Raw{user}, Raw{"\" time=\""},
         Raw{stamp.time}, Raw{"\" seq=\""}, Decimal{stamp.seq}, Raw{kRecordEnd});
}

}  // namespace vantra::session
