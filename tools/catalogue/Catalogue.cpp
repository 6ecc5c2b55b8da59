#include "Catalogue.h"

#include <algorithm>
#include <charconv>

namespace vantra::catalogue {
namespace {

template <class Number>
bool IsNumber(std::string_view text) noexcept {
  Number number;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  return error == std::errc() && stop == end;
}

}  // namespace

std::optional<Version> Version::Parse(std::string_view text, bool isWhole) {
  Version version;
  const char* at = text.data();
  const char* const end = at + text.size();
  for (;;) {
    uint64_t number = 0;
    const auto [stop, error] = std::from_chars(at, end, number);
    if (error != std::errc()) return std::nullopt;
    version.numbers.push_back(number);
    at = stop;
    if (end - at < 2 || *at != '.' || at[1] < '0' || at[1] > '9') break;
    ++at;
  }
  if (isWhole && at != end) return std::nullopt;
  while (version.numbers.size() > 1 && version.numbers.back() == 0) version.numbers.pop_back();
  return version;
}

bool Moment::HasCome(const std::optional<Version>& product, std::string_view day) const noexcept {
  if (version) return product && *version <= *product;
  return !day.empty() && text <= day;
}

bool Choice::Has(std::string_view text) const noexcept {
  return std::ranges::any_of(options, [text](const Option& option) { return option.text == text; });
}

std::string Catalogue::TypeName(const Value& value) const {
  return value.type == Type::Choice ? choices[value.choice].name
                                    : std::string(kTypeNames[static_cast<size_t>(value.type)]);
}

bool IsOfType(const Catalogue& catalogue, const Value& value, std::string_view text) noexcept {
  switch (value.type) {
    case Type::Text:
      break;
    case Type::Integer:
      return IsNumber<int64_t>(text) || IsNumber<uint64_t>(text);
    case Type::Number:
      return IsNumber<double>(text);
    case Type::Boolean:
      return text == "true" || text == "false";
    case Type::Choice:
      return catalogue.choices[value.choice].Has(text);
  }
  return true;
}

}  // namespace vantra::catalogue
