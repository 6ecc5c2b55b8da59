#include "Escape.h"

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

#include "reader/Text.h"
#include "util/ByteScans.h"

namespace vantra::inspect {
namespace {

using util::kBlock;
using util::LoadWholeBlock;
using util::StoreBlock;

// The escaped form of an ASCII character.
struct Escaped {
  char text[7];
  uint8_t size;
};
using Table = std::array<Escaped, 128>;

constexpr Escaped AsIs(char c) { return {{c}, 1}; }
constexpr Escaped Pair(char a, char b) { return {{a, b}, 2}; }

constexpr Table MakeTable(Escaping escaping) {
  Table table{};
  for (size_t i = 0; i < table.size(); ++i) {
    const char hex = "0123456789abcdef"[i % 16];
    table[i] = i < ' ' ? Escaped{{'\\', 'u', '0', '0', static_cast<char>('0' + i / 16), hex}, 6}
                       : AsIs(static_cast<char>(i));
  }
  if (escaping == Escaping::Csv) {
    for (const char c : {'\t', '\n', '\r'}) table[static_cast<size_t>(c)] = AsIs(c);
    table['"'] = Pair('"', '"');
    return table;
  }
  table['\b'] = Pair('\\', 'b');
  table['\t'] = Pair('\\', 't');
  table['\n'] = Pair('\\', 'n');
  table['\f'] = Pair('\\', 'f');
  table['\r'] = Pair('\\', 'r');
  table['"'] = Pair('\\', '"');
  table['\\'] = Pair('\\', '\\');
  return table;
}

template <Escaping kEscaping>
constexpr Table kTable = MakeTable(kEscaping);

char* Put(char* at, const Escaped& escaped) noexcept {
  std::memcpy(at, &escaped, sizeof escaped);
  return at + escaped.size;
}

// Writes a run of references, which are frequent in some texts.
template <Escaping kEscaping>
char* PutReferences(char* at, const char*& from) noexcept {
  for (char c = reader::ReadReference(from); c != '\0'; c = reader::ReadReference(from)) {
    at = Put(at, kTable<kEscaping>[static_cast<size_t>(c)]);
    from += reader::kReferenceSize;
  }
  return at;
}

char* PutCharacter(char* at, const char*& from, const char* end) noexcept {
  constexpr std::string_view kReplacement = "\xEF\xBF\xBD";
  const reader::Character character = reader::ReadCharacter(from, end);
  const std::string_view written =
      character.size == 0 ? kReplacement : std::string_view(from, static_cast<size_t>(character.size));
  from += character.size + character.invalid;
  return at + written.copy(at, written.size());
}

}  // namespace

template <Escaping kEscaping>
char* PutEscaped(char* at, std::string_view text, bool hasReferences) noexcept {
  const char* from = text.data();
  const char* const end = from + text.size();
  while (from < end) {
    const util::Block block = LoadWholeBlock(from);
    StoreBlock(at, block);
    const auto plain =
        static_cast<ptrdiff_t>(std::countr_zero(util::Find<reader::Unordinary>(block) | 1U << kBlock));
    if (plain >= end - from) return at + (end - from);
    at += plain;
    from += plain;
    if (plain == kBlock) continue;
    if (*from < 0) {
      at = PutCharacter(at, from, end);
      continue;
    }
    const char* const before = from;
    if (hasReferences && *from == '&') at = PutReferences<kEscaping>(at, from);
    if (from == before) at = Put(at, kTable<kEscaping>[static_cast<size_t>(*from++)]);
  }
  return at;
}

template char* PutEscaped<Escaping::Json>(char*, std::string_view, bool) noexcept;
template char* PutEscaped<Escaping::Csv>(char*, std::string_view, bool) noexcept;

}  // namespace vantra::inspect
