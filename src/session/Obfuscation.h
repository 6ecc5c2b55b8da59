// The optional obfuscation of documents: not a cipher, it only keeps the text from being read at a glance.
#pragma once

#include <span>
#include <string_view>

namespace vantra::session {

// The first bytes, not rotated themselves, of a file whose text is obfuscated.
constexpr std::string_view kObfuscationMarker = "R-M$ke#$vQPo5lupadix";

// Rotates the characters '!' to '~' by 47, half their number, in place, up to the first NUL. All other bytes
// stay. Applying it twice restores the text.
void Obfuscate(std::span<char> text) noexcept;

}  // namespace vantra::session
