#include "Fuzz.h"
#include "api/Validation.h"

using namespace vantra::api;

// Whatever the text and the flags, of which the first four bytes are some: nothing behind the text is read,
// and a result keeps to its limit. What each export makes of its texts is told by the tests of hosts.
void Run(std::string_view input) {
  const CheckedDocumentId id = CheckDocumentId(input.data(), static_cast<uint32_t>(input.size()));
  const std::string text(input.substr(0, input.find('\0')));
  Require(input.data() == nullptr || (id.isAccepted && id.text == text));

  uint32_t own = 0;
  input.copy(reinterpret_cast<char*>(&own), sizeof(own));
  const char* const host = AtPageEnd({text.c_str(), text.size() + 1});
  for (uint32_t bit = 1; bit != 0; bit <<= 1) {
    for (const uint32_t flags : {bit, bit | own, bit ^ own}) {
      const TextCheck check = CheckFor(flags);
      const CheckedText checked(host, check);
      const auto [value, isPlain] = checked.Value();
      Require(!checked.IsAccepted() || !value.empty());
      Require(checked.Code() != TextCode::kCut || value.size() == check.limit);
      Require(!checked.IsAccepted() || check.rule == TextRule::kNone || value.size() <= check.limit);
      Require(!isPlain || value.find_first_of("&<>\"'\\") == value.npos);
    }
  }
}
