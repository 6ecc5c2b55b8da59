// The optional disguise of documents: not a cipher, only no plain text for a passer-by.
#pragma once

#include <span>
#include <string_view>

namespace vantra::session {

// Written as it is at the start of a file whose text is transformed.
constexpr std::string_view kObfuscationMarker = "R-M$ke#$vQPo5lupadix";

// Rotates the printable characters '!' to '~' by half their number, in place, up to the first NUL. Its own
// inverse; all other bytes stay.
void Obfuscate(std::span<char> text) noexcept;

// The same beyond NULs: what a reader does who cannot tell where one text ends.
void Rotate(std::span<char> text) noexcept;

}  // namespace vantra::session
