// Builds one kind of record a given number of times, so that its instructions can be counted.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string>

#include "api/Validation.h"
#include "session/Obfuscation.h"
#include "session/UsageDocument.h"
#include "util/TimeStamp.h"

namespace vantra {
namespace {

using api::CheckedText;
using api::CheckFor;

constexpr auto kDigest = session::FreeText::Plain(util::BlockText("73f319ab4389e4c8f85cf407435972ff"));
const std::string longValue(512, 'v');
const std::string escapes(200, '<');

util::TextBuffer record;
session::RecordStamp stamp;
util::Counter group(0);

const session::RecordStamp& Stamp(int i) {
  stamp.time.Set(1'299'215'167 + i / 1000);
  stamp.seq.Increment();
  return stamp;
}

constexpr api::TextCheck kLabel = CheckFor(api::kLabel | api::kNullAllowed | api::kEmptyAllowed);
constexpr api::TextCheck kValue = CheckFor(api::kValue | api::kNullAllowed | api::kEmptyAllowed);
constexpr api::TextCheck kKey = CheckFor(api::kKey);

void Event(int i, const session::FreeText& doc) {
  const CheckedText category("File", kLabel);
  const CheckedText subcategory("Menu", kLabel);
  const CheckedText name("Save", kLabel);
  session::AppendEventRec(
      record,
      {.category = category.Value(), .subcategory = subcategory.Value(), .name = name.Value(), .doc = doc},
      Stamp(i));
}

void Data(int i, const char* text) {
  const CheckedText key("Theme", kKey);
  const CheckedText value(text, kValue);
  session::AppendDataRec(record, 7, key.Value(), value.Value(), Stamp(i));
}

struct Kind {
  const char* name;
  void (*build)(int);
};

constexpr Kind kKinds[] = {
    {"event", [](int i) { Event(i, api::kNoDocument); }},
    {"event-with-document", [](int i) { Event(i, kDigest); }},
    {"data", [](int i) { Data(i, "dark"); }},
    {"data-512-bytes", [](int i) { Data(i, longValue.c_str()); }},
    {"data-200-escapes", [](int i) { Data(i, escapes.c_str()); }},
    {"group",
     [](int i) {
       const CheckedText category("Drawing", kKey);
       const CheckedText name("Shapes", kKey);
       const CheckedText subcategory("Size", kLabel);
       group.Increment();
       session::AppendNewGroup(record,
                               {.category = category.Value(),
                                .subcategory = subcategory.Value(),
                                .name = name.Value(),
                                .doc = api::kNoDocument},
                               group, Stamp(i));
     }},
    {"event-obfuscated",
     [](int i) {
       Event(i, api::kNoDocument);
       session::Obfuscate(record.Bytes());
     }},
};

}  // namespace
}  // namespace vantra

int main(int count, char** arguments) {
  for (const vantra::Kind& kind : vantra::kKinds) {
    if (count < 2) std::puts(kind.name);
    if (count < 3 || std::strcmp(arguments[1], kind.name) != 0) continue;
    const int records = std::atoi(arguments[2]);
    for (int i = 0; i < records; ++i) {
      vantra::record.Clear();
      kind.build(i);
    }
  }
  return 0;
}
