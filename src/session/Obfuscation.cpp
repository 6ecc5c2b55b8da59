#include "session/Obfuscation.h"

namespace vantra::session {

void Obfuscate(std::span<char> text) noexcept {
  constexpr unsigned char kFirst = '!';
  constexpr unsigned char kCount = '~' - '!' + 1;
  constexpr unsigned char kHalf = kCount / 2;
  const std::string_view bytes(text.data(), text.size());
  for (char& c : text.first(std::min(text.size(), bytes.find('\0')))) {
    const auto offset = static_cast<unsigned char>(c - kFirst);
    if (offset < kCount) c = static_cast<char>(offset < kHalf ? c + kHalf : c - kHalf);
  }
}

}  // namespace vantra::session
