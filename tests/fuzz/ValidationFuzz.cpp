#include "Fuzz.h"
#include "api/Validation.h"

using namespace vantra::api;

std::pair<int, std::string> CheckPlainly(std::string text, const TextCheck& check) {
  if (text.empty()) return check.isEmptyAllowed ? std::pair(0, "NOVALUE") : std::pair(5, "SK_STR_EMPTY");
  if (check.isBackslashRefused && text.find('\\') != text.npos) return {6, text};
  if (check.rule == TextRule::kNone) return {0, text};
  const bool isIdentifier = check.rule == TextRule::kIdentifier;
  if (isIdentifier && !std::isalpha(static_cast<unsigned char>(text[0]))) text = "SK_" + text;
  const size_t length = text.size();
  text.resize(std::min<size_t>(length, check.limit));
  const auto isBad = [=](unsigned char c) {
    return !std::isalnum(c) && c != '_' && (isIdentifier || c != ' ');
  };
  if (check.rule != TextRule::kLimit) std::ranges::replace_if(text, isBad, '_');
  return {length > check.limit, text};
}

constexpr TextCheck kChecks[] = {{},
                                 {TextRule::kLimit, 64, true},
                                 {TextRule::kLimit, 512, false, false, true},
                                 {TextRule::kIdentifier, 128},
                                 {TextRule::kName, 64}};

void Run(std::string_view input) {
  const CheckedDocumentId id = CheckDocumentId(input.data(), static_cast<uint32_t>(input.size()));
  const std::string text(input.substr(0, input.find('\0')));
  Require(input.data() == nullptr || (id.isAccepted && id.text == text));

  const char* const host = AtPageEnd({text.c_str(), text.size() + 1});
  for (const TextCheck& check : kChecks) {
    const CheckedText checked(host, check);
    Require(std::pair(static_cast<int>(checked.Code()), std::string(checked.Value().Text())) ==
            CheckPlainly(text, check));
    const auto plain = checked.Value().AsPlain();
    Require(!plain || (!plain->View().empty() && plain->View().find_first_of("&<>\"'\\") == text.npos));
  }
}
