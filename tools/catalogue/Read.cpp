#include "Read.h"

#include <algorithm>
#include <functional>
#include <span>
#include <string>

#include "Names.h"
#include "Rules.h"
#include "TableReader.h"

namespace vantra::catalogue {
namespace {

constexpr std::string_view kTopKeys[] = {"product", "choice", "value", "event", "group"};
constexpr std::string_view kProductKeys[] = {"usage-key", "family", "name",   "version",
                                             "kept",      "owner",  "contact"};
constexpr std::string_view kChoiceKeys[] = {"name", "options"};
constexpr std::string_view kOptionKeys[] = {"text", "as"};
constexpr std::string_view kSubcategoryKeys[] = {"choice"};
constexpr std::string_view kValueKeys[] = {"key", "type", "as", "purpose", "owner", "kept", "since", "until"};
constexpr std::string_view kEventKeys[] = {"category", "subcategory", "name", "document", "as",
                                           "purpose",  "owner",       "kept", "since",    "until"};
constexpr std::string_view kGroupKeys[] = {"category", "subcategory", "name", "document", "as",   "value",
                                           "purpose",  "owner",       "kept", "since",    "until"};

class Reader {
 public:
  explicit Reader(std::vector<Mistake>& mistakes) : mistakes_(mistakes) {}

  Catalogue ReadAll(const toml::table& file) {
    const TableReader top(file, "a catalogue", kTopKeys, mistakes_);
    if (const toml::table* const product = top.Table("product")) ReadProduct(*product);
    top.ForEach("choice", [this](const toml::table& table) { ReadChoice(table); });
    top.ForEach("value", [this](const toml::table& table) {
      catalogue_.values.push_back(ReadValue(table, FaultOfSessionKey, nullptr));
    });
    top.ForEach("event", [this](const toml::table& table) { ReadRecord(table, false); });
    top.ForEach("group", [this](const toml::table& table) { ReadRecord(table, true); });
    // In the order of the file, whatever the kinds.
    std::ranges::stable_sort(catalogue_.records, {}, &Record::place);
    return std::move(catalogue_);
  }

 private:
  void ReadProduct(const toml::table& table) {
    const TableReader product(table, "the product", kProductKeys, mistakes_);
    catalogue_.product.usageKey =
        product.Text("usage-key", Need::Must, [](auto text) { return FaultOfText(text, api::kUsageKey); });
    catalogue_.product.family = product.Text("family", Need::Must, FaultOfProductName);
    catalogue_.product.name = product.Text("name", Need::Must, FaultOfProductName);
    catalogue_.product.contact = product.Text("contact", Need::May);
    owner_ = product.Text("owner", Need::May);
    catalogue_.product.kept = product.Text("kept", Need::Must);
    const std::string version = product.Text("version", Need::May, [](std::string_view text) {
      return Version::Parse(text, true) ? "" : " is no version, which is numbers with dots: \"1.2.0\"";
    });
    catalogue_.product.version = Version::Parse(version, true);
  }

  void ReadChoice(const toml::table& table) {
    const TableReader reader(table, "a choice", kChoiceKeys, mistakes_);
    Choice choice{reader.At(), reader.Text("name", Need::Must, FaultOfName), {}};
    if (std::ranges::find(kTypeNames, choice.name) != std::end(kTypeNames))
      reader.Complain("name", " is that of a type");
    reader.ForEachNode("options", [&](const toml::node& node) {
      Option option{PlaceOf(node), {}, {}};
      const auto faultOf = [](std::string_view text) { return FaultOfText(text, api::kLabel); };
      if (const toml::table* const inner = node.as_table()) {
        const TableReader both(*inner, "an option", kOptionKeys, mistakes_);
        option.text = both.Text("text", Need::Must, faultOf);
        option.name = both.NameInCode({option.text});
      } else if (const auto text = node.value_exact<std::string>()) {
        option.text = *text;
        option.name = JoinedWords({*text});
        if (const std::string fault = faultOf(*text); !fault.empty()) Add(option.place, "the option" + fault);
        if (option.name.empty()) {
          Add(option.place,
              "the option gives no name in code; write { text = \"" + *text + "\", as = \"...\" }");
        }
      } else {
        Add(option.place, "an option is a text, or { text = \"C++\", as = \"Cpp\" }");
      }
      choice.options.push_back(std::move(option));
    });
    catalogue_.choices.push_back(std::move(choice));
  }

  Value ReadValue(const toml::table& table, const FaultOf& faultOfKey, const Reasons* above) {
    const TableReader reader(table, "a value", kValueKeys, mistakes_);
    Value value;
    value.place = reader.At();
    value.key = reader.Text("key", Need::Must, faultOfKey);
    value.name = reader.NameInCode({value.key});
    value.reasons = ReadReasons(reader, above);
    const std::string type = reader.Text("type", Need::Must);
    const auto* const known = std::ranges::find(kTypeNames, type);
    if (known != std::end(kTypeNames)) {
      value.type = static_cast<Type>(known - kTypeNames);
    } else if (!type.empty()) {
      value.type = Type::Choice;
      value.choice = ChoiceOf(reader, "type", type,
                              " is none of text, integer, number, boolean, and no choice has that name")
                         .value_or(0);
    }
    return value;
  }

  void ReadRecord(const toml::table& table, bool isGroup) {
    const TableReader reader(table, isGroup ? "a group" : "an event",
                             isGroup ? std::span<const std::string_view>(kGroupKeys) : kEventKeys, mistakes_);
    Record record;
    record.place = reader.At();
    record.isGroup = isGroup;
    const auto category = isGroup ? api::kKey : api::kLabel;
    const auto name = isGroup ? api::kGroupName : api::kEventName;
    record.category =
        reader.Text("category", Need::Must, [=](auto text) { return FaultOfCategory(text, category); });
    record.name = reader.Text("name", Need::Must, [=](auto text) { return FaultOfText(text, name); });
    bool isUnknown = false;
    if (const toml::node* const node = reader.Find("subcategory"); node != nullptr && node->is_table()) {
      const TableReader inner(*node->as_table(), "a subcategory", kSubcategoryKeys, mistakes_);
      const std::string choice = inner.Text("choice", Need::Must);
      if (!choice.empty()) record.choice = ChoiceOf(inner, "choice", choice, " is the name of no choice");
      isUnknown = !record.choice;
    } else {
      record.subcategory =
          reader.Text("subcategory", Need::May, [](auto text) { return FaultOfText(text, api::kLabel); });
    }
    record.nameInCode = reader.NameInCode({record.category, record.subcategory, record.name});
    record.document = reader.Text("document", Need::May);
    record.reasons = ReadReasons(reader, nullptr);
    if (isGroup) {
      reader.ForEach("value", [&](const toml::table& inner) {
        const auto faultOfKey = [](std::string_view text) { return FaultOfText(text, api::kKey); };
        record.values.push_back(ReadValue(inner, faultOfKey, &record.reasons));
      });
      if (record.values.empty()) Add(record.place, "the group has no [[group.value]]");
    }
    if (!isUnknown) catalogue_.records.push_back(std::move(record));
  }

  // A value of a group has the group's reasons but its own purpose.
  Reasons ReadReasons(const TableReader& reader, const Reasons* above) {
    Reasons reasons;
    reasons.purpose = reader.Text("purpose", Need::Must);
    const auto inherited = [&](std::string_view key, const std::string& from) {
      return reader.Find(key) == nullptr && !from.empty() ? from : reader.Text(key, Need::Must);
    };
    reasons.owner = inherited("owner", above != nullptr ? above->owner : owner_);
    reasons.kept = reader.Find("kept") == nullptr ? (above != nullptr ? above->kept : catalogue_.product.kept)
                                                  : reader.Text("kept", Need::Must);
    const auto since = reader.When("since");
    if (since) {
      reasons.since = *since;
    } else if (above != nullptr) {
      reasons.since = above->since;
    } else if (reader.Find("since") == nullptr) {
      Add(reader.At(), reader.What() + " needs since = the version or the day from which on it is recorded");
    }
    const auto until = reader.When("until");
    reasons.until = until || above == nullptr ? until : above->until;
    if ((since || until) && !reasons.since.text.empty() && reasons.until &&
        !reasons.until->IsAfter(reasons.since)) {
      Add((until ? until : since)->place,
          "until is " + reasons.until->text + ", and that is not after since, " + reasons.since.text);
    }
    return reasons;
  }

  std::optional<size_t> ChoiceOf(const TableReader& reader, std::string_view key, std::string_view name,
                                 std::string_view fault) {
    const auto found = std::ranges::find(catalogue_.choices, name, &Choice::name);
    if (found != catalogue_.choices.end()) return static_cast<size_t>(found - catalogue_.choices.begin());
    reader.Complain(key, " is \"" + std::string(name) + "\", which" + std::string(fault));
    return std::nullopt;
  }

  void Add(Place place, std::string sentence) { mistakes_.push_back({place, std::move(sentence)}); }

  std::vector<Mistake>& mistakes_;
  Catalogue catalogue_;
  std::string owner_;  // of the product, for what has none of its own
};

}  // namespace

Catalogue Read(std::string_view text, std::vector<Mistake>& mistakes) {
  Catalogue catalogue;
  try {
    catalogue = Reader(mistakes).ReadAll(toml::parse(text));
    FindDoubles(catalogue, mistakes);
  } catch (const toml::parse_error& error) {
    mistakes.push_back({PlaceOf(error.source()), std::string(error.description())});
  }
  std::ranges::stable_sort(mistakes, {}, &Mistake::place);
  mistakes.erase(std::ranges::unique(mistakes).begin(), mistakes.end());
  return catalogue;
}

}  // namespace vantra::catalogue
