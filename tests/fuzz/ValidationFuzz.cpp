#include <algorithm>
#include <cctype>

#include "Fuzz.h"
#include "api/Validation.h"

using namespace vantra::api;

// Identifier, name, or a limit of so many bytes.
constexpr std::pair<uint32_t, char> kRules[] = {{0x1, 'i'},   {0x2, '1'},        {0x4, 'i'},    {0x8, '5'},
                                                {0x10, '6'},  {0x20, '1'},       {0x40, '6'},   {0x80, '1'},
                                                {0x100, 'i'}, {0x40000000, 'n'}, {0x60000, '1'}};

std::pair<int, std::string> CheckPlainly(std::string text, uint32_t flags) {
  if (text.empty()) return (flags & 0x4000000) != 0 ? std::pair(0, "NOVALUE") : std::pair(5, "SK_STR_EMPTY");
  if (text.find('\\') != text.npos && (flags & 0x10) != 0) return {6, text};
  const auto* rule = std::ranges::find_if(kRules, [=](const auto& row) { return (flags & row.first) != 0; });
  if (rule == std::end(kRules)) return {0, text};
  const char kind = rule->second;
  if (kind == 'i' && !std::isalpha(static_cast<unsigned char>(text[0]))) text = "SK_" + text;
  const size_t length = text.size(), limit = kind == '5' ? 512 : kind == '6' || kind == 'n' ? 64 : 128;
  text.resize(std::min(length, limit));
  const auto isBad = [=](unsigned char c) {
    return !std::isalnum(c) && c != '_' && (kind == 'i' || c != ' ');
  };
  if (kind == 'i' || kind == 'n') std::ranges::replace_if(text, isBad, '_');
  return {length > limit, text};
}

// The first four bytes are flags too.
void Run(std::string_view input) {
  const CheckedDocumentId id = CheckDocumentId(input.data(), static_cast<uint32_t>(input.size()));
  const std::string text(input.substr(0, input.find('\0')));
  Require(input.data() == nullptr || (id.isAccepted && id.text == text));

  uint32_t own = 0;
  input.copy(reinterpret_cast<char*>(&own), sizeof(own));
  const char* const host = AtPageEnd({text.c_str(), text.size() + 1});
  for (uint32_t bit = 1; bit != 0; bit <<= 1) {
    for (const uint32_t flags : {bit, bit | own, bit ^ own}) {
      const CheckedText checked(host, CheckFor(flags));
      Require(std::pair(static_cast<int>(checked.Code()), std::string(checked.Value().text)) ==
              CheckPlainly(text, flags));
      const auto [value, isPlain] = checked.Value();
      Require(!isPlain || (!value.empty() && value.find_first_of("&<>\"'\\") == value.npos));
    }
  }
}
