#include "session/Obfuscation.h"

#include "util/ByteScans.h"

namespace vantra::session {

void Obfuscate(std::span<char> text) noexcept {
  // Bytes after the first NUL are rotated a second time, which restores them.
  if (util::Rotate(text)) util::Rotate(text.subspan(util::BoundedLength(text.data(), text.size())));
}

}  // namespace vantra::session
