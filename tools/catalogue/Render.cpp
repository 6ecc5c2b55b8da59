#include "Render.h"

#include <algorithm>
#include <kainjow/mustache.hpp>
#include <stdexcept>

#include "Escape.h"
#include "Names.h"
#include "util/Ascii.h"

namespace vantra::catalogue {
namespace {

using kainjow::mustache::data;

constexpr Language kLanguages[] = {
    {"c", &kTemplateC, ".h", InC},
    {"cpp", &kTemplateCpp, ".hpp", InC},
    {"csharp", &kTemplateCsharp, ".cs", InScript},
    {"typescript", &kTemplateTypescript, ".ts", InScript},
};

// A text; false if it is empty, so that its section is left out.
data TextOrNone(const std::string& text) { return text.empty() ? data(false) : data(text); }

void SetStyles(data& object, const std::string& words) {
  object.set("snake", Styled(words, Style::Snake));
  object.set("upper", Styled(words, Style::Upper));
  object.set("camel", Styled(words, Style::Camel));
  object.set("pascal", Styled(words, Style::Pascal));
}

// A catalogue as templates see it. Every name is set in every object, since templates look for a missing one
// in the enclosing objects.
class View {
 public:
  View(const Catalogue& catalogue, const Source& source, std::string_view day)
      : catalogue_(catalogue), source_(source), day_(day) {}

  [[nodiscard]] data Whole() const {
    data whole;
    SetStyles(whole, JoinedWords({source_.stem}));
    whole.set("file", Styled(JoinedWords({source_.stem}), Style::Snake));
    whole.set("fileUpper", Styled(JoinedWords({source_.stem}), Style::Upper));
    whole.set("source", source_.file);
    whole.set("usageKey", catalogue_.product.usageKey);
    whole.set("family", catalogue_.product.family);
    whole.set("product", catalogue_.product.name);
    whole.set("contact", TextOrNone(catalogue_.product.contact));
    whole.set("kept", catalogue_.product.kept);
    whole.set("choices", List(catalogue_.choices, [this](const Choice& choice) { return OfChoice(choice); }));
    whole.set("sessionValues",
              List(catalogue_.values, [this](const Value& value) { return OfValue(value); }));
    whole.set("hasSessionValues", !catalogue_.values.empty());
    for (const bool isGroup : {false, true}) {
      data records{data::type::list};
      for (const Record& record : catalogue_.records) {
        if (record.isGroup == isGroup) records.push_back(OfRecord(record));
      }
      whole.set(isGroup ? "hasGroups" : "hasEvents", records.is_non_empty_list());
      whole.set(isGroup ? "groups" : "events", records);
    }
    whole.set("hasNumbers", HasNumbers());
    return whole;
  }

 private:
  template <class Each, class Make>
  static data List(const std::vector<Each>& all, Make make) {
    data list{data::type::list};
    for (const Each& each : all) list.push_back(make(each));
    return list;
  }

  [[nodiscard]] bool HasNumbers() const {
    const auto hasNumber = [](const std::vector<Value>& values) {
      return std::ranges::find(values, Type::Number, &Value::type) != values.end();
    };
    return hasNumber(catalogue_.values) ||
           std::ranges::any_of(catalogue_.records, hasNumber, &Record::values);
  }

  static void SetChoice(data& object, const Choice* choice) {
    const std::string words = choice == nullptr ? "" : JoinedWords({choice->name});
    object.set("isChoice", choice != nullptr);
    object.set("choice", Styled(words, Style::Snake));
    object.set("choiceUpper", Styled(words, Style::Upper));
    object.set("choicePascal", Styled(words, Style::Pascal));
  }

  [[nodiscard]] data OfChoice(const Choice& choice) const {
    data object;
    SetStyles(object, JoinedWords({choice.name}));
    object.set("options", List(choice.options, [&choice](const Option& option) {
                 data inner;
                 SetStyles(inner, option.name);
                 SetChoice(inner, &choice);
                 inner.set("beforeDigit", util::IsAsciiDigit(option.name.front()) ? "_" : "");
                 inner.set("text", option.text);
                 return inner;
               }));
    return object;
  }

  void SetReasons(data& object, const Reasons& reasons) const {
    object.set("purpose", reasons.purpose);
    object.set("comment", InComment(reasons.purpose));
    object.set("owner", reasons.owner);
    object.set("since", reasons.since.text);
    object.set("until", TextOrNone(reasons.until ? reasons.until->text : ""));
    object.set("kept", reasons.kept);
    object.set("expired", TextOrNone(ExpiryOf(reasons, catalogue_.product.version, day_)));
  }

  [[nodiscard]] std::string TextsOf(const Choice& choice) const {
    std::string texts;
    for (const Option& option : choice.options) texts.append(texts.empty() ? "" : ", ").append(option.text);
    return texts;
  }

  [[nodiscard]] data OfValue(const Value& value) const {
    data object;
    SetStyles(object, value.name);
    const Choice* const choice = value.type == Type::Choice ? &catalogue_.choices[value.choice] : nullptr;
    SetChoice(object, choice);
    object.set("key", value.key);
    object.set("isText", value.type == Type::Text);
    object.set("isInteger", value.type == Type::Integer);
    object.set("isNumber", value.type == Type::Number);
    object.set("isBoolean", value.type == Type::Boolean);
    object.set("typeText", choice == nullptr ? catalogue_.TypeName(value) : "one of: " + TextsOf(*choice));
    SetReasons(object, value.reasons);
    return object;
  }

  [[nodiscard]] data OfRecord(const Record& record) const {
    data object;
    SetStyles(object, record.nameInCode);
    const Choice* const choice = record.choice ? &catalogue_.choices[*record.choice] : nullptr;
    SetChoice(object, choice);
    object.set("isFixed", choice == nullptr && !record.subcategory.empty());
    object.set("isAbsent", choice == nullptr && record.subcategory.empty());
    object.set("category", record.category);
    object.set("subcategory", record.subcategory);
    object.set("name", record.name);
    object.set("title", TitleOf(catalogue_, record));
    object.set("choiceName", choice == nullptr ? "" : choice->name);
    object.set("choiceTexts", TextOrNone(choice == nullptr ? "" : TextsOf(*choice)));
    object.set("document", TextOrNone(record.document));
    SetReasons(object, record.reasons);
    object.set("hasOwnFacts", std::ranges::any_of(record.values, [&](const Value& value) {
                 const auto facts = [](const Reasons& r) {
                   return std::tuple(r.owner, r.since.text, r.until ? r.until->text : "", r.kept);
                 };
                 return facts(value.reasons) != facts(record.reasons);
               }));
    object.set("values", List(record.values, [&](const Value& value) {
                 data inner = OfValue(value);
                 inner.set("group", Styled(record.nameInCode, Style::Snake));
                 inner.set("groupPascal", Styled(record.nameInCode, Style::Pascal));
                 inner.set("groupName", record.name);
                 return inner;
               }));
    return object;
  }

  const Catalogue& catalogue_;
  const Source& source_;
  std::string_view day_;
};

std::string Rendered(std::string_view text, std::string (*escape)(std::string_view), const data& view) {
  kainjow::mustache::mustache rendering{std::string(text)};
  rendering.set_custom_escape([escape](const std::string& plain) { return escape(plain); });
  std::string rendered = rendering.render(view);
  if (!rendering.is_valid()) throw std::logic_error(rendering.error_message());
  // The blank lines around an omitted section end up next to each other.
  for (size_t at; (at = rendered.find("\n\n\n")) != rendered.npos;) rendered.erase(at, 1);
  return rendered;
}

}  // namespace

std::span<const Language> Languages() noexcept { return kLanguages; }

std::string FileName(const Language& language, const Source& source) {
  return source.stem + std::string(language.ending);
}

std::string Generated(const Language& language, const Catalogue& catalogue, const Source& source,
                      std::string_view day) {
  return Rendered(*language.text, language.escape, View(catalogue, source, day).Whole());
}

std::string Page(const Catalogue& catalogue, const Source& source) {
  return Rendered(kTemplatePage, InMarkdown, View(catalogue, source, {}).Whole());
}

std::string TitleOf(const Catalogue& catalogue, const Record& record) {
  const std::string subcategory =
      record.choice ? "<" + catalogue.choices[*record.choice].name + ">" : record.subcategory;
  return record.category + " / " + (subcategory.empty() ? "" : subcategory + " / ") + record.name;
}

std::string ExpiryOf(const Reasons& reasons, const std::optional<Version>& product, std::string_view day) {
  return reasons.until && reasons.until->HasCome(product, day) ? "recorded until " + reasons.until->text : "";
}

}  // namespace vantra::catalogue
