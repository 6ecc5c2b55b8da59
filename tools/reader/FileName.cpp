#include "reader/FileName.h"

#include <charconv>
#include <utility>

#include "reader/Grammar.h"

namespace vantra::reader {
namespace {

constexpr std::string_view kPacked = ".gz";
constexpr std::pair<std::string_view, Ending> kEndings[] = {
    {".xml", Ending::Xml}, {".rdy", Ending::Rdy}, {".tmp", Ending::Tmp}};

bool TakeEnd(std::string_view& text, std::string_view end) noexcept {
  if (!text.ends_with(end)) return false;
  text.remove_suffix(end.size());
  return true;
}

// "_GUID" at the end of the text.
std::string_view TakeGuid(std::string_view& text) noexcept {
  if (text.size() <= kGuidSize || text[text.size() - kGuidSize - 1] != '_') return {};
  const std::string_view guid = text.substr(text.size() - kGuidSize);
  if (!IsGuid(guid)) return {};
  text.remove_suffix(kGuidSize + 1);
  return guid;
}

// "_NUMBER" at the end of the text, if a GUID stands before it.
std::optional<int32_t> TakeIndex(std::string_view& text) noexcept {
  const size_t joint = text.rfind('_');
  if (joint == std::string_view::npos) return {};
  int32_t index = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data() + joint + 1, end, index);
  if (error != std::errc() || stop != end || index < 0) return {};
  std::string_view before = text.substr(0, joint);
  if (TakeGuid(before).empty()) return {};
  text.remove_suffix(text.size() - joint);
  return index;
}

}  // namespace

std::optional<FileName> ParseFileName(std::string_view name) noexcept {
  FileName parsed{};
  parsed.isPacked = TakeEnd(name, kPacked);
  for (const auto& [text, ending] : kEndings) {
    if (!TakeEnd(name, text)) continue;
    parsed.ending = ending;
    parsed.stem = name;
    if (!name.starts_with("ulog_")) return parsed;
    parsed.index = TakeIndex(name);
    parsed.session = TakeGuid(name);
    if (!parsed.session.empty()) parsed.user = TakeGuid(name);
    return parsed;
  }
  return {};
}

}  // namespace vantra::reader
