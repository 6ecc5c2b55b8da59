#include "session/UsageDocument.h"

#include <algorithm>
#include <array>

namespace vantra::session {
namespace {

using util::Append;
using util::Decimal;
using util::Literal;
using util::Raw;
using util::Whole;

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

// A caller's text as an attribute value.
struct Free {
  const FreeText& value;

  [[nodiscard]] size_t MaxSize() const noexcept { return value.text.size() * kLongestWritten + util::kBlock; }

  // Most texts are known to be plain.
  [[nodiscard, gnu::always_inline]] char* Write(char* at) const noexcept {
    return value.isPlain ? Whole{value.text}.Write(at) : WriteAny(at, value.text.data(), value.text.size());
  }

 private:
  [[nodiscard, gnu::noinline]] static char* WriteAny(char* start, const char* text, size_t size) noexcept {
    char* at = start;
    const char* const end = text + size;
    const auto put = [&at](char c) {
      const Written& written = kWritten[static_cast<uint8_t>(c)];
      std::memcpy(at, &written, sizeof written);
      at += written.size;
    };
    for (; end - text >= static_cast<ptrdiff_t>(util::kBlock); text += util::kBlock) {
      const __m128i block = util::LoadWholeBlock(text);
      if (FindSpecial(block) == 0) {
        util::StoreBlock(at, block);
        at += util::kBlock;
        continue;
      }
      if (util::FindNul(block) != 0) break;
      for (size_t i = 0; i < util::kBlock; i += 4) {
        put(text[i]);
        put(text[i + 1]);
        put(text[i + 2]);
        put(text[i + 3]);
      }
    }
    for (; text != end && *text != '\0'; ++text) put(*text);
    return at == start ? Literal{kNoValue}.Write(start) : at;
  }
};

template <class Doc>
void AppendGroup(util::TextBuffer& out, const Labels& labels, const Doc& doc, const util::Counter& group,
                 const RecordStamp& stamp) {
  Append(out, Literal{"<NewGroup category=\""}, Free{labels.category}, Literal{"\" subcategory=\""},
         Free{labels.subcategory}, Literal{"\" name=\""}, Free{labels.name}, Literal{"\" time=\""},
         stamp.time.Text(), Literal{"\" group=\""}, group.Text(), Literal{"\" doc=\""}, doc,
         Literal{"\" seq=\""}, stamp.seq.Text(), Literal{kRecordEnd});
}

}  // namespace

void AppendPrologue(util::TextBuffer& out) {
  Append(out, Literal{"<?xml version=\"1.0\" encoding=\"utf-8\"?>\n\n<UsageDoc version=\"0.5.4\">\n"});
}

void AppendStartSession(util::TextBuffer& out, std::string_view id, const RecordStamp& stamp) {
  Append(out, Literal{"<StartSession id=\""}, Raw{id}, Literal{"\" time=\""}, stamp.time.Text(),
         Literal{"\" seq=\""}, stamp.seq.Text(), Literal{kRecordEnd});
}

void AppendNewGroup(util::TextBuffer& out, const Labels& labels, const util::Counter& group,
                    const RecordStamp& stamp) {
  AppendGroup(out, labels, Free{labels.doc}, group, stamp);
}

void AppendNewGroupWithoutDoc(util::TextBuffer& out, const Labels& labels, const util::Counter& group,
                              const RecordStamp& stamp) {
  AppendGroup(out, labels, Raw{}, group, stamp);
}

void AppendEventRec(util::TextBuffer& out, const Labels& labels, const RecordStamp& stamp) {
  Append(out, Literal{"<EventRec doc=\""}, Free{labels.doc}, Literal{"\" category=\""}, Free{labels.category},
         Literal{"\" subcategory=\""}, Free{labels.subcategory}, Literal{"\" name=\""}, Free{labels.name},
         Literal{"\" time=\""}, stamp.time.Text(), Literal{"\" seq=\""}, stamp.seq.Text(),
         Literal{kRecordEnd});
}

void AppendDataRec(util::TextBuffer& out, int32_t group, const FreeText& name, const FreeText& data,
                   const RecordStamp& stamp) {
  Append(out, Literal{"<DataRec time=\""}, stamp.time.Text(), Literal{"\" group=\""}, Decimal{group},
         Literal{"\" name=\""}, Free{name}, Literal{"\" data=\""}, Free{data}, Literal{"\" seq=\""},
         stamp.seq.Text(), Literal{kRecordEnd});
}

void AppendEndSession(util::TextBuffer& out, std::string_view id, const RecordStamp& stamp) {
  Append(out, Literal{"<EndSession id=\""}, Raw{id}, Literal{"\" time=\""}, stamp.time.Text(),
         Literal{"\" seq=\""}, stamp.seq.Text(), Literal{kDocumentEnd});
}

void AppendSplitSession(util::TextBuffer& out, std::string_view id, const RecordStamp& stamp) {
  Append(out, Literal{"<SplitSession id=\""}, Raw{id}, Literal{"\" time=\""}, stamp.time.Text(),
         Literal{"\" seq=\""}, stamp.seq.Text(), Literal{kDocumentEnd});
}

void AppendResumeSession(util::TextBuffer& out, std::string_view id, const ProductTexts& product,
                         std::string_view startTime, std::string_view user, const RecordStamp& stamp) {
  Append(out, Literal{"<ResumeSession id=\""}, Raw{id}, Literal{"\" ProductFamily=\""}, Raw{product.family},
         Literal{"\" ProductName=\""}, Raw{product.name}, Literal{"\" ProductVersion=\""},
         Raw{product.version}, Literal{"\" ProductBuild=\""}, Raw{product.build},
         Literal{"\" ProductLanguage=\""}, Raw{product.language}, Literal{"\" SessionStartTime=\""},
         Raw{startTime}, Literal{"\" User=\""}, Raw{user.empty() ? std::string_view(kNoValue) : user},
         Literal{"\" time=\""}, stamp.time.Text(), Literal{"\" seq=\""}, stamp.seq.Text(),
         Literal{kRecordEnd});
}

}  // namespace vantra::session
