#include "Fuzz.h"
#include "TextRules.h"
#include "api/Validation.h"

using namespace vantra::api;
using vantra::test::Rule;

// What is checked, and the rule for it.
constexpr std::pair<TextCheck, Rule> kChecks[] = {
    {{}, {SIZE_MAX}},
    {{TextRule::kLimit, 64, true}, vantra::test::kUsageKey},
    {{TextRule::kLimit, 512, false, false, true}, vantra::test::kOptional512},
    {{TextRule::kIdentifier, 128}, vantra::test::kIdentifier},
    {{TextRule::kName, 64}, {.limit = 64, .isName = true}}};

void Run(std::string_view input) {
  const CheckedDocumentId id = CheckDocumentId(input.data(), static_cast<uint32_t>(input.size()));
  const std::string text(input.substr(0, input.find('\0')));
  Require(input.data() == nullptr || (id.isAccepted && id.text == text));

  const char* const host = AtPageEnd({text.c_str(), text.size() + 1});
  for (const auto& [check, rule] : kChecks) {
    const CheckedText checked(host, check);
    const auto [value, isRefused, isCut] = vantra::test::Check(text, rule);
    const TextCode code = isRefused ? text.empty() ? TextCode::kEmptyRefused : TextCode::kBackslashRefused
                          : isCut   ? TextCode::kCut
                                    : TextCode::kAccepted;
    Require(checked.Code() == code && checked.Value().Text() == value);
    const auto plain = checked.Value().AsPlain();
    Require(!plain || (!plain->View().empty() && plain->View().find_first_of("&<>\"'\\") == text.npos));
  }
}
