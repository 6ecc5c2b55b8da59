// Checks documents against the format: the example of the documentation, spoilt in one way in each row.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>

#include "reader/Checker.h"
#include "reader/Facts.h"
#include "reader/Text.h"
#include "session/Obfuscation.h"

namespace vantra::reader {
namespace {

const std::string& Example() {
  static const std::string text = [] {
    std::ifstream file(VANTRA_EXAMPLE, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
  }();
  return text;
}

std::string Replaced(std::string text, std::string_view from, std::string_view to) {
  const size_t at = text.find(from);
  if (at == std::string::npos) throw std::runtime_error("not in the document: " + std::string(from));
  return text.replace(at, from.size(), to);
}

// The findings, as "rule@line rule@line", in a document of this name.
std::string Findings(const std::string& text, std::string_view name, bool isThorough, bool isObfuscated) {
  std::string bytes = text;
  if (isObfuscated) util::Rotate(bytes);
  if (isObfuscated) bytes.insert(0, session::kObfuscationMarker);
  TextSource source(bytes);
  DocumentReader reader(isThorough);
  Checker checker;
  std::string found;
  reader.Open(source);
  checker.Check({"", name, *ParseFileName(name)}, reader, [&](const Finding& finding) {
    const auto end = text.begin() + static_cast<ptrdiff_t>(finding.offset);
    found.append(found.empty() ? "" : " ").append(TextOf(finding.rule).name).append("@");
    found += std::to_string(std::count(text.begin(), end, '\n') + 1);
  });
  return found;
}

struct Spoilt {
  const char* name;
  std::string_view from, to;
  std::string_view wanted;
};

constexpr std::string_view kEnd = "</UsageDoc>\n";
constexpr std::string_view kStart =
    "<StartSession id=\"ba75520a-2a5a-4cd0-8658-84e928a7dd23\" time=\"2026-11-24T22:02:41Z\" seq=\"0\" />\n";
std::string Resume(std::string_view version) {
  return Replaced(
      "<ResumeSession id=\"ba75520a-2a5a-4cd0-8658-84e928a7dd23\" ProductFamily=\"Acme\" ProductName=\"D\" "
      "ProductVersion=\"?\" ProductBuild=\"\" ProductLanguage=\"en\" SessionStartTime=\"\" User=\"x\" "
      "time=\"2026-11-24T22:02:41Z\" seq=\"0\" />\n",
      "?", version);
}
const std::string kLess = Resume("3<"), kAnd = Resume("&3"), kQuote = Resume("\"3\"");
constexpr std::string_view kSplit =
    "</UsageDoc>\n<SplitSession id=\"ba75520a-2a5a-4cd0-8658-84e928a7dd23\" time=\"2026-11-24T22:02:41Z\" "
    "seq=\"44\" "
    "/>\n</UsageDoc>\n";
const std::string kLong(70'000, 'x');

const Spoilt kSpoilt[] = {
    {"whole", "", "", ""},
    {"version", "0.5.4", "0.6", "prologue@1"},
    {"no prologue", kPrologue, "", "no-prologue@1"},
    {"doctype", "<UsageDoc version", "<!DOCTYPE x [<!ENTITY y \"z\">]>\n<UsageDoc version",
     "prologue@1 doctype@3"},
    {"other XML", "<UsageDoc", "<Other", "foreign@1"},
    {"unknown element", "<EventRec ", "<Event ", "foreign@40"},
    {"comment", "<EventRec ", "<!-- <EventRec -->\n<EventRec ", "foreign@40"},
    {"order of attributes", "name=\"Theme\" data=\"dark\"", "data=\"dark\" name=\"Theme\"", "attributes@38"},
    {"space", "\"dark\" seq", "\"dark\"  seq", "attributes@38"},
    {"carriage return", "seq=\"34\" />", "seq=\"34\" />\r", "attributes@38"},
    {"raw character", "dark", "da'rk", "escaping@38"},
    {"unknown reference", "&#60;", "&#65;", "escaping@39"},
    {"named reference", "&#60;", "&lt;", "escaping@39"},
    {"empty text", "\"dark\"", "\"\"", "escaping@38"},
    {"NUL", "dark", std::string_view("da\0rk", 5), "nul@38"},
    {"control", "dark", "da\x1brk", "control@38"},
    {"line break and tab", "dark", "d\n\ta\rk", ""},
    {"long form", "dark", "\xE0\x80\xAF", "utf-8@38"},
    {"surrogate", "dark", "d\xED\xA0\x80", "utf-8@38"},
    {"cut character", "dark", "\xE6\x96\x87\xE6\x96", "utf-8@38"},
    {"East Asia", "dark", "\xE6\x96\x87\xE4\xBB\xB6\xE6\x96\x87\xE4\xBB\xB6\xE6\x96\x87\xF0\x9F\x98\x80", ""},
    {"U+FFFF", "dark", "\xE6\x96\x87\xEF\xBF\xBF", "no-character@38"},
    {"identifier", "ba75520a", "BA75520A", "identifier@4"},
    {"other session", "ba75520a", "ca75520a", "session@4"},
    {"no such day", "2026-11-24T22:02:41Z\" seq=\"36\"", "2026-11-31T22:02:41Z\" seq=\"36\"", "time@40"},
    {"no time", "2026-11-24T22:02:41Z\" seq=\"36\"", "\" seq=\"36\"", ""},
    {"back", "2026-11-24T22:02:41Z\" seq=\"36\"", "2000-02-29T22:02:41Z\" seq=\"36\"", "time-back@40"},
    {"large number", "seq=\"36\"", "seq=\"2147483648\"", "number@40"},
    {"gap", "seq=\"36\"", "seq=\"35\"", "gap@40 gap@41"},
    {"zero before", "seq=\"36\"", "seq=\"036\"", ""},
    {"first number", "seq=\"0\"", "seq=\"1\"", "gap@4 gap@5"},
    {"document id", "1d6ce0", "1D6CE0", "doc@40"},
    {"unopened group", "group=\"7\" name", "group=\"8\" name", "group@42"},
    {"no group", "group=\"7\" name", "group=\"-1\" name", "group@42"},
    {"next group", "group=\"7\" doc", "group=\"8\" doc", "group@41 group@43"},
    {"long record", "dark", kLong, "too-long@38"},
    {"cut", "</UsageDoc>\n", "</Usage", "cut@48"},
    {"no end tag", kEnd, "", "no-end-tag@48"},
    {"behind", kEnd, "</UsageDoc>\n ", "after-end@49"},
    {"again", kEnd,
     "</UsageDoc>\n<?xml version=\"1.0\" encoding=\"utf-8\"?>\n\n<UsageDoc version=\"0.5.4\">\n",
     "after-end@49"},
    {"full at its end", kEnd, kSplit, "split-after-end@49"},
    {"less in a product", kStart, kLess, "raw-markup@4"},
    {"ampersand in a product", kStart, kAnd, "raw-markup@4"},
    {"quote in a product", kStart, kQuote, "raw-markup@4"},
};

TEST(Reader, FindsWhatBreaksTheFormat) {
  constexpr std::string_view kPlain =
      "ulog_Acme_Draw_ee3ebfc2-9cf1-43b9-827a-84e9267912bf_ba75520a-2a5a-4cd0-8658-84e928a7dd23_0.tmp";
  for (const Spoilt& row : kSpoilt) {
    const std::string text = Replaced(Example(), row.from, row.to);
    for (const bool isThorough : {false, true}) {
      for (const bool isObfuscated : {false, true})
        EXPECT_EQ(Findings(text, kPlain, isThorough, isObfuscated), row.wanted) << row.name << isThorough;
    }
  }
}

// Records are read whole wherever the end of the reader's buffer falls.
TEST(Reader, GoesOnOverTheEndOfItsBuffer) {
  const size_t start = Example().find("<DataRec");
  const std::string first = Example().substr(0, start);
  for (size_t shift = 1; shift < 120; ++shift) {
    std::string text = first + "<DataRec time=\"2026-11-24T22:02:41Z\" group=\"1\" name=\"a\" data=\"" +
                       std::string(shift, 'x') + "\" seq=\"2\" />\n";
    for (int seq = 3; text.size() < 300'000; ++seq) {
      text +=
          "<DataRec time=\"2026-11-24T22:02:41Z\" group=\"1\" name=\"a\" data=\"&#38;\xE6\x96\x87\" seq=\"" +
          std::to_string(seq) + "\" />\n";
    }
    ASSERT_EQ(Findings(text, "a.xml", false, false),
              "open@" + std::to_string(std::ranges::count(text, '\n') + 1))
        << shift;
  }
  EXPECT_EQ(Findings(std::string(size_t{256} << 10, 'x'), "a.xml", false, false), "foreign@1");
}

TEST(Reader, KnowsTheProductConcerned) {
  const auto productIn = [](std::string text) {
    text.append(kPadding, '\0');
    const Facts facts = FactsIn(std::string_view(text).substr(0, text.size() - kPadding));
    return std::string(NameOf(facts.origin)) + " " + facts.family + " " + facts.product + " " +
           facts.version + " " + facts.user;
  };
  const auto valueOf = [](std::string_view name, std::string_view value) {
    return Replaced(Replaced("<DataRec time=\"\" group=\"2\" name=\"N\" data=\"V\" seq=\"5\" />\n", "\"N",
                             "\"" + std::string(name)),
                    "\"V", "\"" + std::string(value));
  };
  const auto beginOf = [](std::string_view subcategory) {
    return Replaced(Example().substr(0, Example().find("<DataRec")), "NOVALUE", subcategory) +
           "<DataRec time=\"\" group=\"1\" name=\"ProductFamily\" data=\"Skylamp\" seq=\"2\" />\n"
           "<NewGroup category=\"Skylamp\" subcategory=\"x\" name=\"x\" time=\"\" group=\"2\" doc=\"\" "
           "seq=\"4\" />\n";
  };
  EXPECT_FALSE(ParseFileName("ulog_Acme_Draw_2011.xml")->index);  // a year in a name of its own
  EXPECT_EQ(productIn(Example()), "session Acme Draw 3.1 ee3ebfc2-9cf1-43b9-827a-84e9267912bf");
  EXPECT_EQ(productIn(std::string(kPrologue).append(Resume("<\"3&"))), "session Acme D <\"3& x");
  EXPECT_EQ(productIn(beginOf("Crash") + valueOf("CrashProductName", "D&#38;") +
                      valueOf("CrashProductFamily", "A") + valueOf("UserID", "u")),
            "crash A D&  u");
  EXPECT_EQ(productIn(beginOf("OptinRate") + valueOf("OptinProductFamily", "A") +
                      valueOf("OptinProductVersion", "1")),
            "optin A  1 ");
}

}  // namespace
}  // namespace vantra::reader
