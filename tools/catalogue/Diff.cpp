// diff: shows what two versions of a catalogue declare differently.
#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>

#include "Verb.h"
#include "inspect/Output.h"

namespace vantra::catalogue {
namespace {

// Everything declared, by name, with its fields.
using Fields = std::map<std::string, std::string>;
using Things = std::map<std::string, Fields>;

struct Difference {
  std::string change;  // "added", "removed", "changed"
  std::string thing, field, before, after;
  bool isBreaking = false;  // readers of documents, or the host's code, must change
};

Fields FieldsOf(const Reasons& reasons) {
  return {{"purpose", reasons.purpose},
          {"owner", reasons.owner},
          {"kept", reasons.kept},
          {"since", reasons.since.text},
          {"until", reasons.until ? reasons.until->text : ""}};
}

Fields FieldsOf(const Catalogue& catalogue, const Value& value) {
  Fields fields = FieldsOf(value.reasons);
  fields["type"] = catalogue.TypeName(value);
  fields["name in code"] = value.name;
  return fields;
}

Things ThingsOf(const Catalogue& catalogue) {
  Things things;
  const Product& product = catalogue.product;
  things["product"] = {{"usage-key", product.usageKey},
                       {"family", product.family},
                       {"name", product.name},
                       {"contact", product.contact},
                       {"kept", product.kept}};
  for (const Choice& choice : catalogue.choices) {
    for (const Option& option : choice.options)
      things["option " + choice.name + " / " + option.text] = {{"name in code", option.name}};
  }
  for (const Value& value : catalogue.values)
    things["value Session / " + value.key] = FieldsOf(catalogue, value);
  for (const Record& record : catalogue.records) {
    const std::string title = TitleOf(catalogue, record);
    Fields& fields = things[(record.isGroup ? "group " : "event ") + title];
    fields = FieldsOf(record.reasons);
    fields["document"] = record.document;
    fields["name in code"] = record.nameInCode;
    for (const Value& value : record.values) {
      // What the value takes from its group is shown there.
      Fields& own = things["value " + title + " / " + value.key];
      own = FieldsOf(catalogue, value);
      std::erase_if(own, [&](const auto& field) {
        return field.first != "name in code" && fields[field.first] == field.second;
      });
    }
  }
  return things;
}

std::string TextOf(const Fields& fields, const std::string& field) {
  const auto found = fields.find(field);
  return found == fields.end() ? "" : found->second;
}

std::vector<Difference> Compare(const Things& before, const Things& after) {
  std::vector<Difference> differences;
  for (const auto& [thing, fields] : before) {
    const auto found = after.find(thing);
    if (found == after.end()) {
      differences.push_back({"removed", thing, {}, {}, {}, true});
      continue;
    }
    Fields both = fields;
    both.insert(found->second.begin(), found->second.end());
    for (const auto& [field, ignored] : both) {
      const std::string text = TextOf(fields, field);
      const std::string now = TextOf(found->second, field);
      constexpr std::string_view kBreaking[] = {"type",      "name in code", "document",
                                                "usage-key", "family",       "name"};
      if (now == text) continue;
      const bool isBreaking = std::ranges::find(kBreaking, field) != std::end(kBreaking);
      differences.push_back({"changed", thing, field, text, now, isBreaking});
    }
  }
  for (const auto& [thing, fields] : after) {
    if (!before.contains(thing)) differences.push_back({"added", thing, {}, {}, {}, false});
  }
  std::ranges::stable_sort(differences, {}, &Difference::thing);
  return differences;
}

std::string AsJson(const Difference& difference) {
  nlohmann::ordered_json json = {
      {"change", difference.change}, {"thing", difference.thing}, {"breaking", difference.isBreaking}};
  if (!difference.field.empty()) {
    json["field"] = difference.field;
    json["before"] = difference.before;
    json["after"] = difference.after;
  }
  return json.dump();
}

std::string AsText(const Difference& difference) {
  std::string line = difference.change + (difference.isBreaking ? " (breaking): " : ": ") + difference.thing;
  if (difference.field.empty()) return line;
  const auto shown = [](const std::string& text) { return text.empty() ? "none" : "\"" + text + "\""; };
  return line + ": " + difference.field + " was " + shown(difference.before) + ", is " +
         shown(difference.after);
}

}  // namespace

int RunDiff(const DiffOptions& options) {
  const std::vector<Difference> differences =
      Compare(ThingsOf(Load(options.before)), ThingsOf(Load(options.after)));
  std::string lines;
  for (const Difference& difference : differences)
    lines.append(options.isJson ? AsJson(difference) : AsText(difference)).append("\n");
  inspect::Output().Write(lines);
  return differences.empty() ? kDone : kFindings;
}

}  // namespace vantra::catalogue
