#include <algorithm>
#include <map>
#include <set>

#include "Names.h"
#include "Rules.h"
#include "util/Ascii.h"

namespace vantra::catalogue {
namespace {

// Names that functions, members and constants cannot have: reserved in one of the languages, or taken.
constexpr std::string_view kReserved[] = {
    "alignas", "alignof", "and", "any", "as", "asm", "async", "auto", "await", "bitand", "bitor", "bool",
    "boolean", "break", "case", "catch", "char", "class", "compl", "concept", "const", "consteval",
    "constexpr", "constinit", "constructor", "continue", "debugger", "declare", "decltype", "default",
    "delete", "do", "double", "else", "enum", "eval", "explicit", "export", "extends", "extern", "false",
    "finally", "float", "for", "friend", "function", "goto", "if", "implements", "import", "in", "inline",
    "instanceof", "int", "interface", "let", "long", "module", "mutable", "namespace", "never", "new",
    "noexcept", "not", "null", "nullptr", "number", "object", "operator", "or", "package", "private",
    "protected", "public", "register", "require", "requires", "return", "short", "signed", "sizeof", "static",
    "string", "struct", "super", "switch", "symbol", "template", "this", "throw", "true", "try", "type",
    "typedef", "typeid", "typename", "typeof", "undefined", "union", "unknown", "unsigned", "using", "var",
    "virtual", "void", "volatile", "while", "with", "xor", "yield",
    // Taken by the generated files and by C#'s objects.
    "arguments", "declared", "declared_value", "document_id", "encoding", "equals", "finalize",
    "get_hash_code", "get_type", "group", "int_ptr", "memberwise_clone", "product_family", "product_name",
    "product_usage_key", "reference_equals", "session", "to_string", "vantra"};

// The names of one scope, which must differ in every style.
class Scope {
 public:
  explicit Scope(std::vector<Mistake>& mistakes) : mistakes_(mistakes) {}

  // Adds a name that stands by itself; Add takes one that may also be part of a longer name.
  void AddWhole(const std::string& words, Place place) {
    static const std::set<std::string_view> reserved(std::begin(kReserved), std::end(kReserved));
    const std::string name = Styled(words, Style::Snake);
    if (reserved.contains(name)) return Report(place, "the name \"" + name + "\" is taken");
    if (!name.empty() && util::IsAsciiDigit(name.front()))
      return Report(place, "the name \"" + name + "\" begins with a digit");
    Add(words, place);
  }
  void Add(const std::string& words, Place place) {
    if (words.empty()) return;
    for (const std::string& name : {Styled(words, Style::Snake), Styled(words, Style::Pascal)}) {
      const auto [it, isNew] = names_.try_emplace(name, place);
      if (isNew || it->second == place) continue;
      return Report(place,
                    "the name \"" + name + "\" is also that of line " + std::to_string(it->second.line));
    }
  }

 private:
  void Report(Place place, const std::string& sentence) {
    mistakes_.push_back({place, sentence + " in code; give it another one with as = \"...\""});
  }

  std::vector<Mistake>& mistakes_;
  std::map<std::string, Place> names_;
};

// What is recorded under a name: the places where that is declared.
class Recorded {
 public:
  explicit Recorded(std::vector<Mistake>& mistakes) : mistakes_(mistakes) {}

  void Add(const std::string& what, Place place) {
    const auto [it, isNew] = places_.try_emplace(what, place);
    if (!isNew)
      mistakes_.push_back(
          {place, what + " is declared twice, first in line " + std::to_string(it->second.line)});
  }

 private:
  std::vector<Mistake>& mistakes_;
  std::map<std::string, Place> places_;
};

bool Overlap(const Catalogue& catalogue, const Record& a, const Record& b) {
  if (a.isGroup != b.isGroup || a.category != b.category || a.name != b.name) return false;
  if (!a.choice && !b.choice) return a.subcategory == b.subcategory;
  if (!a.choice) return catalogue.choices[*b.choice].Has(a.subcategory);
  if (!b.choice) return catalogue.choices[*a.choice].Has(b.subcategory);
  return std::ranges::any_of(catalogue.choices[*a.choice].options, [&](const Option& option) {
    return catalogue.choices[*b.choice].Has(option.text);
  });
}

void FindDoubleRecords(const Catalogue& catalogue, std::vector<Mistake>& mistakes) {
  std::map<std::pair<std::string, std::string>, std::vector<const Record*>> byName;
  for (const Record& record : catalogue.records) {
    auto& others = byName[{record.category, record.name}];
    const auto same =
        std::ranges::find_if(others, [&](const Record* other) { return Overlap(catalogue, *other, record); });
    if (same != others.end()) {
      mistakes.push_back({record.place, std::string(record.isGroup ? "the group" : "the event") +
                                            " is declared twice, first in line " +
                                            std::to_string((*same)->place.line)});
    }
    others.push_back(&record);
  }
}

}  // namespace

void FindDoubles(const Catalogue& catalogue, std::vector<Mistake>& mistakes) {
  FindDoubleRecords(catalogue, mistakes);
  Scope names(mistakes);
  Recorded recorded(mistakes);
  for (const Choice& choice : catalogue.choices) {
    recorded.Add("the choice " + choice.name, choice.place);
    names.AddWhole(JoinedWords({choice.name}), choice.place);
    Scope options(mistakes);
    options.Add(JoinedWords({choice.name}), choice.place);
    options.Add("recorded text", choice.place);
    Recorded texts(mistakes);
    for (const Option& option : choice.options) {
      options.Add(option.name, option.place);
      texts.Add("the option \"" + option.text + "\"", option.place);
    }
  }
  for (const Value& value : catalogue.values) {
    recorded.Add("the session's value " + value.key, value.place);
    names.Add("session " + value.name, value.place);
  }
  for (const Record& record : catalogue.records) {
    names.AddWhole(record.nameInCode, record.place);
    if (record.isGroup) names.Add("open " + record.nameInCode, record.place);
    Scope members(mistakes);
    Recorded keys(mistakes);
    for (const Value& value : record.values) {
      keys.Add("the value " + value.key, value.place);
      members.AddWhole(value.name, value.place);
      if (!value.name.empty()) names.Add(record.nameInCode + " " + value.name, value.place);
    }
  }
}

}  // namespace vantra::catalogue
