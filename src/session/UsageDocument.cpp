#include "session/UsageDocument.h"

#include <algorithm>
#include <array>

namespace vantra::session {
namespace {

using util::Append;
using util::Decimal;
using util::Literal;
using util::Raw;

constexpr char kRecordEnd[] = "\" />\n";
constexpr char kDocumentEnd[] = "\" />\n</UsageDoc>\n";
constexpr char kNoValue[] = "NOVALUE";

// How one byte of free text is written: itself, or the reference that stands for it.
struct Written {
  char text[7];
  uint8_t size;
};

constexpr std::string_view kSpecial = "&<>\"'\\";
constexpr size_t kLongestWritten = 5;

constexpr std::array<Written, 256> kWritten = []() {
  std::array<Written, 256> written{};
  for (size_t i = 1; i < written.size(); ++i) written[i] = {{static_cast<char>(i)}, 1};
  for (const char c : kSpecial) {
    const char tens = static_cast<char>('0' + c / 10);
    const char ones = static_cast<char>('0' + c % 10);
    written[static_cast<uint8_t>(c)] = {{'&', '#', tens, ones, ';'}, kLongestWritten};
  }
  return written;
}();

// One bit for each byte of the block that is special or NUL.
unsigned FindSpecial(__m128i block) noexcept {
  const auto isOneOf = [block](char c, char ignoredBit) {
    const __m128i compared = ignoredBit == 0 ? block : _mm_andnot_si128(_mm_set1_epi8(ignoredBit), block);
    return _mm_cmpeq_epi8(compared, _mm_set1_epi8(c));
  };
  static_assert(('&' | 1) == '\'' && ('<' | 2) == '>');
  __m128i hits = _mm_or_si128(isOneOf('\0', 0), isOneOf('"', 0));
  hits = _mm_or_si128(hits, _mm_or_si128(isOneOf('&', 1), isOneOf('<', 2)));
  return util::Bits(_mm_or_si128(hits, isOneOf('\\', 0)));
}

// A caller's text as an attribute value.
struct Free {
  std::string_view text;

  [[nodiscard]] size_t MaxSize() const noexcept { return text.size() * kLongestWritten + util::kBlock; }

  // Most texts are short and plain.
  [[nodiscard, gnu::always_inline]] char* Write(char* at) const noexcept {
    if (text.size() - 1 < util::kBlock && util::IsBlockReadable(text.data())) [[likely]] {
      const __m128i block = util::LoadWholeBlock(text.data());
      if ((FindSpecial(block) & util::TextBits(text.size())) == 0) [[likely]] {
        util::StoreBlock(at, block);
        return at + text.size();
      }
    }
    return WriteLong(at, text.data(), text.size());
  }

 private:
  [[nodiscard, gnu::noinline]] static char* WriteLong(char* start, const char* text, size_t size) noexcept {
    char* at = start;
    for (size_t done = 0; size - done >= util::kBlock; done += util::kBlock, at += util::kBlock) {
      const __m128i block = util::LoadWholeBlock(text + done);
      if (FindSpecial(block) != 0) break;
      util::StoreBlock(at, block);
    }
    const auto plain = static_cast<size_t>(at - start);
    return plain == size && size != 0 ? at : WriteAny(start, at, text + plain, size - plain);
  }

  [[nodiscard, gnu::noinline]] static char* WriteAny(char* start, char* at, const char* text,
                                                     size_t length) noexcept {
    for (size_t done = 0; done < length; done += util::kBlock) {
      const size_t size = std::min(length - done, util::kBlock);
      const char* const from = text + done;
      const __m128i block = util::LoadBlock(from, size);
      if ((FindSpecial(block) & util::TextBits(size)) == 0) {
        util::StoreBlock(at, block);
        at += size;
        continue;
      }
      const size_t end = util::BoundedLength(from, size);
      for (size_t i = 0; i < end; ++i) {
        const Written& written = kWritten[static_cast<uint8_t>(from[i])];
        std::memcpy(at, &written, sizeof written);
        at += written.size;
      }
      if (end != size) break;
    }
    return Finish(start, at);
  }

  static char* Finish(char* start, char* end) noexcept {
    return end == start ? Literal{kNoValue}.Write(start) : end;
  }
};

template <class Doc>
void AppendGroup(util::TextBuffer& out, const Labels& labels, const Doc& doc, int32_t group,
                 const RecordStamp& stamp) {
  Append(out, Literal{"<NewGroup category=\""}, Free{labels.category}, Literal{"\" subcategory=\""},
         Free{labels.subcategory}, Literal{"\" name=\""}, Free{labels.name}, Literal{"\" time=\""},
         Raw{stamp.time}, Literal{"\" group=\""}, Decimal{group}, Literal{"\" doc=\""}, doc,
         Literal{"\" seq=\""}, Decimal{stamp.seq}, Literal{kRecordEnd});
}

}  // namespace

void AppendPrologue(util::TextBuffer& out) {
  Append(out, Literal{"<?xml version=\"1.0\" encoding=\"utf-8\"?>\n\n<UsageDoc version=\"0.5.4\">\n"});
}

void AppendStartSession(util::TextBuffer& out, std::string_view id, const RecordStamp& stamp) {
  Append(out, Literal{"<StartSession id=\""}, Raw{id}, Literal{"\" time=\""}, Raw{stamp.time},
         Literal{"\" seq=\""}, Decimal{stamp.seq}, Literal{kRecordEnd});
}

void AppendNewGroup(util::TextBuffer& out, const Labels& labels, int32_t group, const RecordStamp& stamp) {
  AppendGroup(out, labels, Free{labels.doc}, group, stamp);
}

void AppendNewGroupWithoutDoc(util::TextBuffer& out, const Labels& labels, int32_t group,
                              const RecordStamp& stamp) {
  AppendGroup(out, labels, Raw{}, group, stamp);
}

void AppendEventRec(util::TextBuffer& out, const Labels& labels, const RecordStamp& stamp) {
  Append(out, Literal{"<EventRec doc=\""}, Free{labels.doc}, Literal{"\" category=\""}, Free{labels.category},
         Literal{"\" subcategory=\""}, Free{labels.subcategory}, Literal{"\" name=\""}, Free{labels.name},
         Literal{"\" time=\""}, Raw{stamp.time}, Literal{"\" seq=\""}, Decimal{stamp.seq},
         Literal{kRecordEnd});
}

void AppendDataRec(util::TextBuffer& out, int32_t group, std::string_view name, std::string_view data,
                   const RecordStamp& stamp) {
  Append(out, Literal{"<DataRec time=\""}, Raw{stamp.time}, Literal{"\" group=\""}, Decimal{group},
         Literal{"\" name=\""}, Free{name}, Literal{"\" data=\""}, Free{data}, Literal{"\" seq=\""},
         Decimal{stamp.seq}, Literal{kRecordEnd});
}

void AppendEndSession(util::TextBuffer& out, std::string_view id, const RecordStamp& stamp) {
  Append(out, Literal{"<EndSession id=\""}, Raw{id}, Literal{"\" time=\""}, Raw{stamp.time},
         Literal{"\" seq=\""}, Decimal{stamp.seq}, Literal{kDocumentEnd});
}

void AppendSplitSession(util::TextBuffer& out, std::string_view id, const RecordStamp& stamp) {
  Append(out, Literal{"<SplitSession id=\""}, Raw{id}, Literal{"\" time=\""}, Raw{stamp.time},
         Literal{"\" seq=\""}, Decimal{stamp.seq}, Literal{kDocumentEnd});
}

void AppendResumeSession(util::TextBuffer& out, std::string_view id, const ProductTexts& product,
                         std::string_view startTime, std::string_view user, const RecordStamp& stamp) {
  Append(out, Literal{"<ResumeSession id=\""}, Raw{id}, Literal{"\" ProductFamily=\""}, Raw{product.family},
         Literal{"\" ProductName=\""}, Raw{product.name}, Literal{"\" ProductVersion=\""},
         Raw{product.version}, Literal{"\" ProductBuild=\""}, Raw{product.build},
         Literal{"\" ProductLanguage=\""}, Raw{product.language}, Literal{"\" SessionStartTime=\""},
         Raw{startTime}, Literal{"\" User=\""}, Raw{user}, Literal{"\" time=\""}, Raw{stamp.time},
         Literal{"\" seq=\""}, Decimal{stamp.seq}, Literal{kRecordEnd});
}

}  // namespace vantra::session
