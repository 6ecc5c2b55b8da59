#include "Rules.h"

#include <algorithm>
#include <array>

namespace vantra::catalogue {
namespace {

using api::CheckedText;

constexpr std::string_view kOwnCategory = "Skylamp";
constexpr std::string_view kOwnSessionKeys[] = {
    "ProductFamily", "ProductName", "ProductVersion", "ProductBuild", "ProductLanguage", "User", "UserType"};
constexpr std::string_view kSentinels[] = {"NOVALUE", "SK_STR_NULL", "SK_STR_EMPTY", "SK_INVALID_STRING",
                                           "SK_INVALID_GROUPID"};

std::string Quoted(std::string_view text) { return std::string("\"").append(text).append("\""); }

// Characters that are not seen: the first and the last of each run.
struct Range {
  char32_t first, last;
};
constexpr Range kUnseen[] = {{0x00, 0x08},     {0x0b, 0x0c},      {0x0e, 0x1f},     {0x7f, 0x9f},
                             {0xad, 0xad},     {0x34f, 0x34f},    {0x61c, 0x61c},   {0x115f, 0x1160},
                             {0x17b4, 0x17b5}, {0x180b, 0x180e},  {0x200b, 0x200f}, {0x2028, 0x202e},
                             {0x2060, 0x206f}, {0x3164, 0x3164},  {0xfeff, 0xfeff}, {0xffa0, 0xffa0},
                             {0xfff0, 0xfffb}, {0xe0000, 0xe007f}};

// The character at the front of valid UTF-8, which it takes away.
char32_t TakeCharacter(std::string_view& utf8) noexcept {
  const auto first = static_cast<unsigned char>(utf8.front());
  const size_t size = first < 0x80 ? 1 : first < 0xe0 ? 2 : first < 0xf0 ? 3 : 4;
  char32_t character = size == 1 ? first : first & (0x7fU >> size);
  for (size_t i = 1; i < std::min(size, utf8.size()); ++i)
    character = character << 6 | (static_cast<unsigned char>(utf8[i]) & 0x3fU);
  utf8.remove_prefix(std::min(size, utf8.size()));
  return character;
}

}  // namespace

bool HasUnseen(std::string_view utf8) noexcept {
  while (!utf8.empty()) {
    const char32_t character = TakeCharacter(utf8);
    if (std::ranges::any_of(kUnseen, [=](Range r) { return character >= r.first && character <= r.last; }))
      return true;
  }
  return false;
}

std::string FaultOfText(std::string_view text, api::TextFlag flag) {
  if (text.empty()) return " must not be empty";
  if (HasUnseen(text) || text.find_first_of("\t\r\n") != text.npos)
    return " holds a character that nobody sees";
  if (std::ranges::find(kSentinels, text) != std::end(kSentinels))
    return " is " + Quoted(text) + ", which the library writes itself for a text that is missing or wrong";
  const std::string copy(text);
  const api::TextCheck check = api::CheckFor(flag);
  const CheckedText checked(copy.c_str(), check);
  const std::string_view recorded = checked.Value().Text();
  if (checked.Code() == api::TextCode::kCut)
    return " has " + std::to_string(text.size()) + " bytes, and the library cuts it after " +
           std::to_string(recorded.size());
  if (!checked.IsAccepted()) return " is a text that the library refuses: a backslash is in it";
  if (recorded != text) return " is " + Quoted(text) + ", and the library would record " + Quoted(recorded);
  return {};
}

std::string FaultOfCategory(std::string_view text, api::TextFlag flag) {
  return IsOwnCategory(text) ? " is the one of the library's own records" : FaultOfText(text, flag);
}

std::string FaultOfSessionKey(std::string_view text) {
  return IsOwnSessionKey(text) ? " is one that the library itself adds to each session"
                               : FaultOfText(text, api::kKey);
}

std::string FaultOfProductName(std::string_view text) {
  return text.find_first_of("\\/:*?\"<>|") != text.npos
             ? " becomes part of file names, which cannot hold one of \\ / : * ? \" < > |"
             : FaultOfText(text, api::kValue);
}

bool IsOwnCategory(std::string_view category) noexcept { return category == kOwnCategory; }

bool IsOwnSessionKey(std::string_view key) noexcept {
  return std::ranges::find(kOwnSessionKeys, key) != std::end(kOwnSessionKeys);
}

}  // namespace vantra::catalogue
