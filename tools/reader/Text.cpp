#include "reader/Text.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

#include "reader/Record.h"
#include "util/ByteScans.h"

namespace vantra::reader {
namespace {

using util::Bits;
using util::kBlock;
using util::LoadWholeBlock;

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

uint32_t Load32(const char* at) noexcept {
  uint32_t loaded;
  std::memcpy(&loaded, at, sizeof loaded);
  return loaded;
}

bool IsContinuation(char c) noexcept { return (static_cast<uint8_t>(c) & 0xC0) == 0x80; }

// One bit for each byte of the block that fits a sequence of three-byte characters, of which most East Asian
// text consists. The last byte never fits, nor do lead bytes with exceptions to the rule.
unsigned FindThrees(const char* at) noexcept {
  using Exception = util::AnyOf<util::Byte<'\xE0'>, util::Byte<'\xED'>, util::Byte<'\xEF'>>;
  static constexpr char kMask[kBlock + 1] =
      "\xF0\xC0\xC0\xF0\xC0\xC0\xF0\xC0\xC0\xF0\xC0\xC0\xF0\xC0\xC0\x00";
  static constexpr char kWanted[kBlock + 1] =
      "\xE0\x80\x80\xE0\x80\x80\xE0\x80\x80\xE0\x80\x80\xE0\x80\x80\xFF";
  const util::Block block = LoadWholeBlock(at);
  const util::Block marks = util::MarkUnderMask(block, util::LoadHidden(kMask), util::LoadHidden(kWanted));
  return Bits(util::Without(marks, Exception::Mark(block)));
}

// Skips bytes of 128 and above.
const char* ScanHigh(const char* at, FreeScan& scan) noexcept {
  constexpr size_t kMost = 15;
  constexpr unsigned kAll = (1U << kMost) - 1;
  constexpr std::array<uint8_t, kMost> kWhole = {0, 0, 0, 3, 3, 3, 6, 6, 6, 9, 9, 9, 12, 12, 12};
  constexpr ptrdiff_t kLongest = 4;
  do {
    unsigned threes = FindThrees(at);
    for (; threes == kAll; threes = FindThrees(at)) at += kMost;
    at += kWhole[static_cast<size_t>(std::countr_one(threes))];
    if (*at >= 0) break;
    const Character character = ReadCharacter(at, at + kLongest);
    if (character.size == 0) scan.flaws |= kNotUtf8;
    if (character.isNoCharacter) scan.flaws |= kNoCharacter;
    scan.isPlain = scan.isPlain && character.size != 0;
    at += character.size + character.invalid;
  } while (*at < 0);
  return at;
}

// Handles an ASCII character that is special but not the quote. False when the text ends there.
bool ScanSpecial(const char*& at, FreeScan& scan) noexcept {
  switch (*at) {
    case '&':
      if (ReadReference(at) == '\0') return false;
      do at += kReferenceSize;
      while (ReadReference(at) != '\0');
      scan.isPlain = false;
      return true;
    case '<':
    case '>':
    case '\'':
    case '\\':
    case '\0':
      return false;
    default:
      if (*at != '\t' && *at != '\n' && *at != '\r') scan.flaws |= kControlCharacter;
      scan.isPlain = false;
      ++at;
      return true;
  }
}

// Indexed by the two digits, four bits each.
constexpr std::array<char, 256> kReferences = [] {
  std::array<char, 256> references{};
  for (const char c : std::string_view("&<>\"'\\")) references[static_cast<size_t>(c / 10 * 16 + c % 10)] = c;
  return references;
}();

}  // namespace

char ReadReference(const char* at) noexcept {
  // "#NN;", where N is any byte from 0x30 to 0x3f; their low halves select the character.
  constexpr uint32_t kDigits = 0x000F0F00;
  constexpr uint32_t kFrame = '#' | '0' << 8 | '0' << 16 | uint32_t{';'} << 24;
  const uint32_t reference = Load32(at + 1);
  if (*at != '&' || (reference & ~kDigits) != kFrame) return '\0';
  return kReferences[(reference >> 4 & 0xF0) | (reference >> 16 & 0x0F)];
}

Character ReadCharacter(const char* at, const char* end) noexcept {
  const auto byte = [at](size_t i) { return static_cast<uint8_t>(at[i]); };
  const auto left = static_cast<size_t>(end - at);
  const uint8_t lead = byte(0);
  if (lead < 0x80) return {1, 0, false};
  const auto size = static_cast<uint8_t>(lead < 0xC2   ? 0
                                         : lead < 0xE0 ? 2
                                         : lead < 0xF0 ? 3
                                         : lead < 0xF5 ? 4
                                                       : 0);
  if (size == 0) return {0, 1, false};
  // The range of the second byte excludes overlong forms, surrogates and code points above U+10FFFF.
  const uint8_t least = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
  const uint8_t most = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
  if (left < 2 || byte(1) < least || byte(1) > most) return {0, 1, false};
  for (uint8_t i = 2; i < size; ++i) {
    if (left <= i || !IsContinuation(at[i])) return {0, i, false};
  }
  return {size, 0, lead == 0xEF && byte(1) == 0xBF && byte(2) >= 0xBE};
}

FreeScan ScanFree(const char* at) noexcept {
  FreeScan scan{at, 0, true};
  for (;;) {
    const util::Block block = LoadWholeBlock(at);
    const unsigned stops = util::Find<Unordinary>(block);
    if (stops == 0) {
      at += kBlock;
      continue;
    }
    at += std::countr_zero(stops);
    if (*at == '"') break;
    if (*at < 0) {
      at = ScanHigh(at, scan);
      if (*at == '"') break;
    } else if (!ScanSpecial(at, scan)) {
      break;
    }
  }
  scan.end = at;
  return scan;
}

void AppendUtf8(std::string_view text, std::string& out) {
  using NotAscii = util::ByteRange<'\x80', '\xFF'>;
  const char* at = text.data();
  const char* const end = at + text.size();
  for (;;) {
    const size_t ascii = util::FindFirst<NotAscii>(at, static_cast<size_t>(end - at));
    out.append(at, ascii);
    at += ascii;
    if (at == end) return;
    const Character character = ReadCharacter(at, end);
    out += character.size != 0 ? std::string_view(at, character.size) : kReplacement;
    at += character.size + character.invalid;
  }
}

void Unescape(std::string_view raw, std::string& out) {
  while (!raw.empty()) {
    const size_t size = std::min(raw.find('&'), raw.size());
    AppendUtf8(raw.substr(0, size), out);
    raw.remove_prefix(size);
    const char c = raw.size() < kReferenceSize ? '\0' : ReadReference(raw.data());
    if (c != '\0')
      out += c;
    else
      out += raw.substr(0, 1);
    raw.remove_prefix(c != '\0' ? kReferenceSize : raw.empty() ? 0 : 1);
  }
}

}  // namespace vantra::reader
