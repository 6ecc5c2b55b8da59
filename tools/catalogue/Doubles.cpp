#include <algorithm>
#include <map>
#include <span>

#include "Names.h"
#include "Rules.h"
#include "util/Ascii.h"

namespace vantra::catalogue {
namespace {

// What no function, member or constant can be called in one of the languages. Some are macros of common
// headers.
constexpr std::string_view kReserved =
    " abnormal_termination alignas alignof and and_eq any arguments as asm assert async auto await bitand"
    " bitor bool boolean break case catch cdecl char char16_t char32_t char8_t class co_await co_return"
    " co_yield compl concept const const_cast consteval constexpr constinit constructor continue debugger"
    " declare decltype default delete do double dynamic_cast else enum environ errno eval exception_code"
    " exception_info explicit export exports extends extern false far finally float for friend function"
    " goto hyper if implements import in inline instanceof int interface let long main max min module"
    " mutable namespace near never new noexcept not not_eq null nullptr number object offsetof operator or"
    " or_eq package pascal private protected public register reinterpret_cast require requires return"
    " setjmp short signed sizeof small static static_assert static_cast stderr stdin stdout string struct"
    " super switch symbol template this thread_local throw true try type typedef typeid typename typeof"
    " undefined union unknown unsigned using var virtual void volatile wchar_t while with xor xor_eq yield ";
// What generated files cannot be called, and what they declare by themselves.
constexpr std::string_view kNamespaces[] = {"std", "system", "vantra"};
constexpr std::string_view kDeclared[] = {"declared",     "declared value",    "group",   "product family",
                                          "product name", "product usage key", "session", "write number"};
constexpr std::string_view kConstants[] = {"usage key"};
// What every object of C# has, and one of a closed list besides.
constexpr std::string_view kMembers[] = {"equals",    "finalize",         "get hash code",
                                         "get type",  "memberwise clone", "reference equals",
                                         "to string", "recorded text"};

bool IsReserved(const std::string& snake) { return kReserved.find(" " + snake + " ") != kReserved.npos; }

// The names of one scope, which must differ in every style.
class Scope {
 public:
  // These are there already.
  Scope(std::vector<Mistake>& mistakes, std::initializer_list<std::span<const std::string_view>> taken)
      : mistakes_(mistakes) {
    for (const auto& some : taken) {
      for (const std::string_view words : some) Add(std::string(words), kTaken);
    }
  }

  // Adds a name that stands by itself; Add takes one that may also be part of a longer name.
  void AddWhole(const std::string& words, Place place) {
    const std::string name = Styled(words, Style::Snake);
    if (IsReserved(name)) return Report(place, "the name \"" + name + "\" is taken");
    if (!name.empty() && util::IsAsciiDigit(name.front()))
      return Report(place, "the name \"" + name + "\" begins with a digit");
    Add(words, place);
  }
  // Whether it can be called so.
  bool Add(const std::string& words, Place place) {
    if (words.empty()) return false;
    for (const std::string& name : {Styled(words, Style::Snake), Styled(words, Style::Pascal)}) {
      const auto [it, isNew] = names_.try_emplace(name, place);
      if (isNew || it->second == place) continue;
      Report(place,
             "the name \"" + name + "\" is " +
                 (it->second == kTaken ? "taken" : "also that of line " + std::to_string(it->second.line)));
      return false;
    }
    return true;
  }

 private:
  static constexpr Place kTaken{0, 0};

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

  void Add(std::string_view what, const std::string& text, Place place) {
    const auto [it, isNew] = places_.try_emplace(std::string(what) + text, place);
    if (!isNew && !text.empty())
      mistakes_.push_back(
          {place, it->first + " is declared twice, first in line " + std::to_string(it->second.line)});
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
  Scope names(mistakes, {kDeclared, kMembers});
  Scope constants(mistakes, {kConstants});
  Recorded recorded(mistakes);
  for (const Choice& choice : catalogue.choices) {
    const std::string words = JoinedWords({choice.name});
    recorded.Add("the choice ", choice.name, choice.place);
    names.AddWhole(words, choice.place);
    Scope options(mistakes, {kMembers});
    options.Add(words, choice.place);
    Recorded texts(mistakes);
    for (const Option& option : choice.options) {
      if (options.Add(option.name, option.place)) constants.Add(words + " " + option.name, option.place);
      texts.Add("the option ", option.text, option.place);
    }
  }
  for (const Value& value : catalogue.values) {
    recorded.Add("the session's value ", value.key, value.place);
    names.Add("session " + value.name, value.place);
  }
  for (const Record& record : catalogue.records) {
    names.AddWhole(record.nameInCode, record.place);
    if (record.isGroup) names.Add("open " + record.nameInCode, record.place);
    Scope members(mistakes, {kMembers});
    members.Add(record.nameInCode, record.place);
    Recorded keys(mistakes);
    for (const Value& value : record.values) {
      keys.Add("the value ", value.key, value.place);
      members.AddWhole(value.name, value.place);
      if (!value.name.empty()) names.Add(record.nameInCode + " " + value.name, value.place);
    }
  }
}

bool IsTaken(const Catalogue& catalogue, const std::string& words) {
  const std::string name = Styled(words, Style::Pascal);
  const auto isName = [&](const std::string& other) { return Styled(other, Style::Pascal) == name; };
  return IsReserved(Styled(words, Style::Snake)) ||
         std::ranges::find(kNamespaces, words) != std::end(kNamespaces) ||
         std::ranges::any_of(catalogue.choices, isName,
                             [](const Choice& c) { return JoinedWords({c.name}); }) ||
         std::ranges::any_of(catalogue.values, isName, [](const Value& v) { return "session " + v.name; }) ||
         std::ranges::any_of(catalogue.records, isName, &Record::nameInCode);
}

}  // namespace vantra::catalogue
