#include "Fuzz.h"
#include "TextRules.h"
#include "session/UsageDocument.h"

std::string Plainly(std::string_view text) { return vantra::test::Escaped(text.substr(0, text.find('\0'))); }

void Run(std::string_view input) {
  const std::string_view first = input.substr(0, input.size() / 2), second = input.substr(input.size() / 2);
  vantra::util::TextBuffer out;
  vantra::session::AppendNewGroup(out, {first, second, input, {}}, vantra::util::Counter(1), {});
  Require(out.Text() == "<NewGroup category=\"" + Plainly(first) + "\" subcategory=\"" + Plainly(second) +
                            "\" name=\"" + Plainly(input) +
                            "\" time=\"\" group=\"1\" doc=\"NOVALUE\" seq=\"0\" />\n");
}
