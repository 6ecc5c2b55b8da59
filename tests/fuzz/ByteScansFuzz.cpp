#include <algorithm>

#include "Fuzz.h"
#include "api/Validation.h"
#include "session/Obfuscation.h"

using namespace vantra::util;

// Scans from each position in a block, up to an end with readable bytes after it and up to one with
// unreadable bytes after it.
template <class Class>
void Compare(std::string_view text) {
  for (size_t i = 0; i < 2 * kBlock && !text.empty(); ++i, text.remove_prefix(1)) {
    const unsigned found = Find<Class>(LoadBlock(text.data(), text.size()));
    for (size_t at = 0; at < std::min(kBlock, text.size()); ++at)
      Require((found >> at & 1) == Class::Has(text[at]));
    for (const std::string_view part : {text, text.substr(0, text.size() / 2)}) {
      const size_t first = static_cast<size_t>(std::ranges::find_if(part, Class::Has) - part.begin());
      Require(FindFirst<Class>(part.data(), part.size()) == first);
      Require(HasOnly<Class>(part) == std::ranges::all_of(part, Class::Has));
    }
  }
}

void Run(std::string_view input) {
  Compare<vantra::session::MarkupOr<ControlOrNotAscii>>(input);
  Compare<vantra::session::MarkupOrNul>(input);
  Compare<vantra::api::IdentifierByte>(input);

  const size_t size = input.size(), length = BoundedLength(input.data(), size);
  std::string text(input), wanted(input), copy(size + 2 * kBlock, '?');
  std::transform(input.begin(), input.begin() + length, wanted.begin(), [](char c) { return Rotated(c); });
  vantra::session::Obfuscate(text);
  Require(text == wanted);
  vantra::session::Obfuscate(text);
  Require(text == input && SameBytes(text.data(), input.data(), size));
  if (size != 0) text[static_cast<uint8_t>(input[0]) % size] ^= 1;
  Require(size == 0 || !SameBytes(text.data(), input.data(), size));

  const auto blocks = BlockText::Of(input);
  Require(blocks.has_value() == (size >= kBlock));
  if (!blocks) return;
  Require(blocks->Write(copy.data()) == copy.data() + size && copy.starts_with(input));
  uint8_t bytes[kBlock];
  char digits[2 * kBlock];
  input.copy(reinterpret_cast<char*>(bytes), kBlock);
  WriteHex(bytes, digits);
  for (size_t i = 0; i < sizeof(digits); ++i)
    Require(digits[i] == HexDigit(i % 2 == 0 ? bytes[i / 2] >> 4 : bytes[i / 2] & 15U));
}
