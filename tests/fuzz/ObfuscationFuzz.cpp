#include "Fuzz.h"
#include "session/Obfuscation.h"

void Run(std::string_view input) {
  std::string wanted(input), text(input);
  for (size_t i = 0; i < wanted.size() && wanted[i] != '\0'; ++i) {
    const auto byte = static_cast<signed char>(wanted[i]);
    if (byte < 33 || byte == 127) continue;
    wanted[i] = static_cast<char>(byte + 47 > 126 ? byte + 47 - 94 : byte + 47);
  }
  vantra::session::Obfuscate(text);
  Require(text == wanted);
  vantra::session::Obfuscate(text);
  Require(text == input);
}
