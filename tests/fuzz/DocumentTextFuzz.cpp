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

// What an XML reader makes of the record.
std::map<std::string, std::string> ReadAttributes(const std::string& record) {
  std::map<std::string, std::string> attributes;
  for (size_t at = record.find(' '); record.at(at + 1) != '/'; ++at) {
    const size_t equals = record.find("=\"", at);
    std::string& value = attributes[record.substr(at + 1, equals - at - 1)];
    for (at = equals + 2; record.at(at) != '"'; ++at) {
      const bool isReference = record[at] == '&';
      Require(record[at] != '<' &&
              (!isReference || (record.substr(at, 2) == "&#" && record.at(at + 4) == ';')));
      value += isReference ? static_cast<char>(std::stoi(record.substr(at + 2, 2))) : record[at];
      if (isReference) at += 4;
    }
  }
  return attributes;
}

void Run(std::string_view input) {
  const std::string_view first = input.substr(0, input.size() / 2), second = input.substr(input.size() / 2);
  vantra::util::TextBuffer out;
  vantra::session::AppendNewGroup(out, {first, second, input, {}}, vantra::util::Counter(1), {});
  Require(out.Text() == "<NewGroup category=\"" + EscapePlainly(first) + "\" subcategory=\"" +
                            EscapePlainly(second) + "\" name=\"" + EscapePlainly(input) +
                            "\" time=\"\" group=\"1\" doc=\"NOVALUE\" seq=\"0\" />\n");
  const std::string_view name = input.substr(0, input.find('\0'));
  Require(ReadAttributes(std::string(out.Text()))["name"] == (name.empty() ? "NOVALUE" : name));
}
