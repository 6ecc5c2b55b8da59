#include "TableReader.h"

#include <algorithm>
#include <cstdio>

#include "Names.h"
#include "Rules.h"
#include "util/Ascii.h"

namespace vantra::catalogue {

Place PlaceOf(const toml::source_region& source) noexcept {
  return {std::max<uint32_t>(source.begin.line, 1), std::max<uint32_t>(source.begin.column, 1)};
}

std::string FaultOfName(std::string_view text) {
  const bool isName = util::IsAsciiLetter(text.front()) && std::ranges::all_of(text, [](char c) {
                        return util::IsAsciiLetter(c) || util::IsAsciiDigit(c) || c == '_';
                      });
  return isName ? "" : " must be a name in code: ASCII letters, digits and _, beginning with a letter";
}

TableReader::TableReader(const toml::table& table, std::string_view what,
                         std::span<const std::string_view> keys, std::vector<Mistake>& mistakes)
    : table_(table), what_(what), mistakes_(mistakes) {
  for (const auto& [key, value] : table) {
    if (std::ranges::find(keys, key.str()) != keys.end()) continue;
    std::string sentence = "\"" + std::string(key.str()) + "\" is no key of " + what_ + "; there are ";
    for (const std::string_view known : keys)
      sentence.append(known).append(known == keys.back()             ? ""
                                    : known == keys[keys.size() - 2] ? " and "
                                                                     : ", ");
    Add(PlaceOf(key.source()), std::move(sentence));
  }
}

std::string TableReader::Text(std::string_view key, Need need, const FaultOf& faultOf) const {
  const toml::node* const node = Find(key);
  if (node == nullptr) {
    if (need == Need::Must) Add(At(), what_ + " needs " + std::string(key) + " = a text");
    return {};
  }
  std::optional<std::string> text = node->value_exact<std::string>();
  std::string fault;
  if (!text) {
    fault = " must be a text in quotes";
  } else if (faultOf) {
    fault = text->empty() ? " must not be empty" : faultOf(*text);
  } else if (HasUnseen(*text)) {
    fault = " holds a character that nobody sees";
  } else {
    std::ranges::replace_if(
        *text, [](char c) { return c == '\n' || c == '\r' || c == '\t'; }, ' ');
    text = util::Trim(*text);
    if (text->empty()) fault = " must not be empty";
  }
  if (!fault.empty()) Complain(key, fault);
  return text.value_or("");
}

std::string TableReader::NameInCode(const std::vector<std::string_view>& texts) const {
  if (Find("as") != nullptr) return JoinedWords({Text("as", Need::Must, FaultOfName)});
  std::string words = JoinedWords(texts);
  const bool isText = std::ranges::any_of(texts, [](std::string_view text) { return !text.empty(); });
  if (words.empty() && isText)
    Add(At(), what_ + " of such texts gives no name in code; say one with as = \"...\"");
  return words;
}

std::optional<Moment> TableReader::When(std::string_view key) const {
  const toml::node* const node = Find(key);
  if (node == nullptr) return std::nullopt;
  Moment moment{PlaceOf(*node), {}, {}};
  if (const auto day = node->value_exact<toml::date>()) {
    char text[16];
    std::snprintf(text, sizeof text, "%04u-%02u-%02u", unsigned{day->year}, unsigned{day->month},
                  unsigned{day->day});
    moment.text = text;
    return moment;
  }
  if (node->is_number()) {
    Complain(key, " is a number; a version is a text in quotes: \"1.10\" and \"1.1\" are two");
    return std::nullopt;
  }
  moment.text = node->value_exact<std::string>().value_or("");
  moment.version = Version::Parse(moment.text, true);
  if (moment.version) return moment;
  Complain(key, " must be a version such as \"1.2.0\", or a day such as 2027-01-31 without quotes");
  return std::nullopt;
}

const toml::table* TableReader::Table(std::string_view key) const {
  const toml::node* const node = Find(key);
  if (node == nullptr) {
    Add(At(), what_ + " needs a table [" + std::string(key) + "]");
  } else if (!node->is_table()) {
    Complain(key, " must be a table: [" + std::string(key) + "]");
  }
  return node == nullptr ? nullptr : node->as_table();
}

void TableReader::ForEach(std::string_view key, const std::function<void(const toml::table&)>& visit) const {
  const toml::node* const node = Find(key);
  if (node == nullptr) return;
  const toml::array* const array = node->as_array();
  if (array == nullptr)
    return Complain(key, " must be tables with double brackets: [[" + std::string(key) + "]]");
  for (const toml::node& each : *array) {
    if (const toml::table* const table = each.as_table()) {
      visit(*table);
    } else {
      Add(PlaceOf(each), "each " + std::string(key) + " must be a table");
    }
  }
}

void TableReader::ForEachNode(std::string_view key,
                              const std::function<void(const toml::node&)>& visit) const {
  const toml::node* const node = Find(key);
  const toml::array* const array = node == nullptr ? nullptr : node->as_array();
  if (array == nullptr || array->empty()) {
    return Add(node == nullptr ? At() : PlaceOf(*node),
               what_ + " needs " + std::string(key) + " = [\"...\", ...]");
  }
  for (const toml::node& each : *array) visit(each);
}

void TableReader::Complain(std::string_view key, std::string_view fault) const {
  const toml::node* const node = Find(key);
  Add(node == nullptr ? At() : PlaceOf(*node), std::string(key).append(fault));
}

}  // namespace vantra::catalogue
