#include <map>

#include "Fuzz.h"
#include "session/UsageDocument.h"

const std::map<char, std::string> kReferences = {{'&', "&#38;"}, {'<', "&#60;"},  {'>', "&#62;"},
                                                 {'"', "&#34;"}, {'\'', "&#39;"}, {'\\', "&#92;"}};

std::string EscapePlainly(std::string_view text) {
  std::string escaped;
  for (const char c : text.substr(0, text.find('\0')))
    escaped += kReferences.contains(c) ? kReferences.at(c) : std::string(1, c);
  return escaped.empty() ? "NOVALUE" : escaped;
}

void Run(std::string_view input) {
  const std::string_view first = input.substr(0, input.size() / 2), second = input.substr(input.size() / 2);
  vantra::util::TextBuffer out;
  vantra::session::AppendNewGroup(out, {first, second, input, {}}, vantra::util::Counter(1), {});
  Require(out.Text() == "<NewGroup category=\"" + EscapePlainly(first) + "\" subcategory=\"" +
                            EscapePlainly(second) + "\" name=\"" + EscapePlainly(input) +
                            "\" time=\"\" group=\"1\" doc=\"NOVALUE\" seq=\"0\" />\n");
}
