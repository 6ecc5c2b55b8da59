#include "log/Log.h"

#include "util/TextBuffer.h"
#include "util/Windows.h"

namespace vantra::log {
namespace {

using util::Append;
using util::Decimal;
using util::Raw;

struct Appender {
  util::TextBuffer& out;

  void operator()(std::string_view text) const { Append(out, Raw{text}); }
  void operator()(int64_t number) const { Append(out, Decimal{number}); }
  // Converts in place rather than through a std::string: a crashing process logs paths too.
  void operator()(std::wstring_view text) const {
    constexpr size_t kMostBytesAUnit = 3;
    const size_t room = text.size() * kMostBytesAUnit;
    char* const at = out.Reserve(room);
    out.Commit(at + WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), at,
                                        static_cast<int>(room), nullptr, nullptr));
  }
};

}  // namespace

void Report(LevelOperation level, const Message& message, std::initializer_list<Value> values) noexcept {
  try {
    char storage[1024];
    util::TextBuffer text(storage);
    const Appender append{text};
    append(message.text);
    for (const Value& value : values) std::visit(append, value);
    (logger->*level)(text.Text(), message.source, message.line);
  } catch (...) {
    // Losing a line is better than failing the host's call.
  }
}

}  // namespace vantra::log
