#include "api/Frame.h"

#include "log/Logger.h"
#include "util/TextBuffer.h"

namespace vantra::api {
namespace {

using util::Decimal;
using util::Literal;
using util::Raw;

const log::LoggerPointer logger("Vantra");

constexpr std::string_view kWrapperSource = "..\\WrapperUTLogData";
constexpr std::string_view kExportSource = "..\\UTLogData";

// Calls log(text) with the pieces as one text, when there is a log to write it to.
template <class Log, class... Piece>
void WithText(Log&& log, const Piece&... pieces) noexcept {
  if (!logger->IsOn()) return;
  try {
    char storage[512];
    util::TextBuffer text(storage);
    Append(text, pieces...);
    log(text.Text());
  } catch (...) {
    // A line that cannot be made is lost; the host's call goes on.
  }
}

auto AtInfo(const Message& message) noexcept {
  return [&message](std::string_view text) { logger->Info(text, kWrapperSource, message.line); };
}

auto AtDebug(const Message& message) noexcept {
  return [&message](std::string_view text) { logger->Debug(text, kWrapperSource, message.line); };
}

}  // namespace

void LogTrace(const Message& message) noexcept { logger->Info(message.text, kWrapperSource, message.line); }

void Trace(const Message& message, int64_t number) noexcept {
  WithText(AtInfo(message), Raw{message.text}, Decimal{number});
}

void Trace(const Message& message, std::string_view usageKey, int64_t optIn) noexcept {
  WithText(AtInfo(message), Raw{message.text}, Raw{usageKey}, Literal{"value: "}, Decimal{optIn});
}

void LogReport(const Message& message) noexcept { logger->Debug(message.text, kWrapperSource, message.line); }

void Report(const Message& message, std::string_view value) noexcept {
  WithText(AtDebug(message), Raw{message.text}, Raw{value});
}

void Report(const Message& message, int64_t number) noexcept {
  WithText(AtDebug(message), Raw{message.text}, Decimal{number});
}

void ReportException(const Message& message) noexcept {
  logger->Debug(message.text, kExportSource, message.line);
}

}  // namespace vantra::api
