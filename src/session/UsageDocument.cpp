#include "session/UsageDocument.h"

#include <algorithm>
#include <array>
#include <utility>

namespace vantra::session {
namespace {

using util::Append;
using util::Decimal;
using util::Literal;
using util::Raw;

constexpr char kRecordEnd[] = "\" />\n";
constexpr char kDocumentEnd[] = "\" />\n</UsageDoc>\n";
constexpr char kNoValue[] = "NOVALUE";

// One byte of free text as it is written: itself, or a character reference.
struct Encoded {
  char text[7];
  uint8_t size;
};

constexpr size_t kReferenceSize = 5;

constexpr std::array<Encoded, 256> kEncoded = []() {
  std::array<Encoded, 256> encoded{};
  for (size_t i = 1; i < encoded.size(); ++i) {
    const char c = static_cast<char>(i);
    const char tens = static_cast<char>('0' + c / 10);
    const char ones = static_cast<char>('0' + c % 10);
    encoded[i] = Markup::Has(c) ? Encoded{{'&', '#', tens, ones, ';'}, kReferenceSize} : Encoded{{c}, 1};
  }
  return encoded;
}();

// Free text as an attribute value.
struct Free {
  const FreeText& value;

  [[nodiscard]] size_t MaxSize() const noexcept {
    return value.Text().size() * kReferenceSize + util::kBlock;
  }

  [[nodiscard, gnu::always_inline]] char* Write(char* at) const noexcept {
    const auto plain = value.AsPlain();
    return plain ? plain->Write(at) : WriteAny(at, value.Text().data(), value.Text().size());
  }

 private:
  // Writes a block of special characters. All have the same size, so no write waits for the one before it.
  template <size_t... kPlaces>
  [[nodiscard]] static char* PutReferences(char* at, const char* text,
                                           std::index_sequence<kPlaces...> /*places*/) noexcept {
    (std::memcpy(at + kPlaces * kReferenceSize, &kEncoded[static_cast<uint8_t>(text[kPlaces])],
                 sizeof(Encoded)),
     ...);
    return at + sizeof...(kPlaces) * kReferenceSize;
  }

  [[nodiscard, gnu::noinline]] static char* WriteAny(char* start, const char* text, size_t size) noexcept {
    char* at = start;
    const char* const end = text + size;
    const auto put = [&at](char c) {
      const Encoded& encoded = kEncoded[static_cast<uint8_t>(c)];
      std::memcpy(at, &encoded, sizeof encoded);
      at += encoded.size;
    };
    for (; end - text >= static_cast<ptrdiff_t>(util::kBlock); text += util::kBlock) {
      const util::Block block = util::LoadBlock(text, static_cast<size_t>(end - text));
      const unsigned special = util::Find<MarkupOrNul>(block);
      if (special == 0) {
        util::StoreBlock(at, block);
        at += util::kBlock;
      } else if (util::Find<util::Nul>(block) != 0) {
        break;
      } else if (special == util::kAllBits) {
        at = PutReferences(at, text, std::make_index_sequence<util::kBlock>());
      } else {
        for (size_t i = 0; i < util::kBlock; i += 4) {
          put(text[i]);
          put(text[i + 1]);
          put(text[i + 2]);
          put(text[i + 3]);
        }
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
