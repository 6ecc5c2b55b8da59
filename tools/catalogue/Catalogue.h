// What a catalogue declares: the model that all verbs stand on. Pure.
#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vantra::catalogue {

// A position in the file. Lines and columns start at 1; columns count characters.
struct Place {
  uint32_t line = 1;
  uint32_t column = 1;

  // NOLINTNEXTLINE(modernize-use-nullptr): finds a 0 in what the compiler writes
  auto operator<=>(const Place&) const = default;
};

// What is wrong with the file, in a sentence without a full stop.
struct Mistake {
  Place place;
  std::string sentence;

  bool operator==(const Mistake&) const = default;
};

// Numbers separated by dots: 1.10 is later than 1.9, and 1.0 is the same as 1.
struct Version {
  std::vector<uint64_t> numbers;

  // Reads the numbers that the text begins with. Fails when there are none, or, with isWhole, when more text
  // follows.
  [[nodiscard]] static std::optional<Version> Parse(std::string_view text, bool isWhole);
  // NOLINTNEXTLINE(modernize-use-nullptr): finds a 0 in what the compiler writes
  auto operator<=>(const Version&) const = default;
};

// A version of the product or a day, 2027-01-31.
struct Moment {
  Place place;
  std::string text;
  std::optional<Version> version;  // none when it is a day

  // Whether the moment has come for a product of this version on this day. If the version is unknown, a
  // version never has; if the day is empty, a day never has.
  [[nodiscard]] bool HasCome(const std::optional<Version>& product, std::string_view day) const noexcept;
  // Also of a version and a day, of which nobody knows.
  [[nodiscard]] bool IsAfter(const Moment& other) const noexcept {
    if (version.has_value() != other.version.has_value()) return true;
    return version ? *version > *other.version : text > other.text;
  }
};

// What readers want to know about anything that is recorded.
struct Reasons {
  std::string purpose, owner, kept;
  Moment since;
  std::optional<Moment> until;  // the first version, or the first day, without it

  // Whether the other ends at the same time.
  [[nodiscard]] bool IsUntil(const Reasons& other) const noexcept {
    return (until ? until->text : "") == (other.until ? other.until->text : "");
  }
};

// A text of a closed list, and the name that it has in code.
struct Option {
  Place place;
  std::string text, name;
};

struct Choice {
  Place place;
  std::string name;
  std::vector<Option> options;

  [[nodiscard]] bool Has(std::string_view text) const noexcept;
};

enum class Type : uint8_t { Text, Integer, Number, Boolean, Choice };
// A choice has a name of its own.
inline constexpr std::string_view kTypeNames[] = {"text", "integer", "number", "boolean"};

struct Value {
  Place place;
  std::string key;
  std::string name;  // in code
  Type type = Type::Text;
  size_t choice = 0;  // of Type::Choice: its index
  Reasons reasons;
};

// An event, or a group with its values.
struct Record {
  Place place;
  bool isGroup = false;
  std::string category, subcategory, name;
  std::optional<size_t> choice;  // in place of the subcategory
  std::string nameInCode;
  std::string document;  // what names the document that it concerns; empty when none is given
  Reasons reasons;
  std::vector<Value> values;
};

struct Product {
  std::string usageKey, family, name, contact, kept;
  std::optional<Version> version;
};

struct Catalogue {
  Product product;
  std::vector<Choice> choices;
  std::vector<Value> values;  // of the session
  std::vector<Record> records;

  [[nodiscard]] std::string TypeName(const Value& value) const;
};

// Whether a recorded text is one of the value's type.
[[nodiscard]] bool IsOfType(const Catalogue& catalogue, const Value& value, std::string_view text) noexcept;

}  // namespace vantra::catalogue
