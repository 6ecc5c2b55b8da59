// How the library logs: log::Info(kMessage) or log::Debug(kMessage, value, ...). While logging is off, a call
// costs one test of a flag.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string_view>
#include <variant>

#include "log/Logger.h"

namespace vantra::log {

// A text, and the place that support tools search for. The line number is fixed and does not follow the
// source.
struct Message {
  std::string_view source;  // "..\" and the unit's name
  std::string_view text;
  int line;
};

// A value logged directly after the message's text, without a separator.
using Value = std::variant<std::string_view, std::wstring_view, int64_t>;

using LevelOperation = void (Logger::*)(std::string_view message, std::string_view file, int line) noexcept;
[[gnu::cold]] void Report(LevelOperation level, const Message& message,
                          std::initializer_list<Value> values) noexcept;

template <class... Values>
void Info(const Message& message, const Values&... values) noexcept {
  if (IsOn()) [[unlikely]]
    Report(&Logger::Info, message, {Value(values)...});
}

template <class... Values>
void Debug(const Message& message, const Values&... values) noexcept {
  if (IsOn()) [[unlikely]]
    Report(&Logger::Debug, message, {Value(values)...});
}

}  // namespace vantra::log
