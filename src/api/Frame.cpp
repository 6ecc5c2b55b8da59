#include "api/Frame.h"

#include "log/Logger.h"
#include "util/TextBuffer.h"

namespace vantra::api {
namespace {

const log::LoggerPointer logger("Vantra");

constexpr std::string_view kWrapperSource = "..\\WrapperUTLogData";
constexpr std::string_view kExportSource = "..\\UTLogData";

// Calls log(text) with message and value as one text, when there is a log to write it to.
template <class Piece, class Log>
void WithValue(const Message& message, const Piece& value, Log&& log) noexcept {
  if (!logger->IsOn()) return;
  try {
    char storage[512];
    util::TextBuffer text(storage);
    Append(text, util::Raw{message.text}, value);
    log(text.Text());
  } catch (...) {
    // A line that cannot be made is lost; the host's call goes on.
  }
}

}  // namespace

Frame::Frame(const Message& entryTrace) noexcept { Trace(entryTrace); }

void Trace(const Message& message) noexcept { logger->Info(message.text, kWrapperSource, message.line); }

void TraceValue(const Message& message, std::string_view value) noexcept {
  WithValue(message, util::Raw{value},
            [&](std::string_view text) { logger->Info(text, kWrapperSource, message.line); });
}

void Report(const Message& message) noexcept { logger->Debug(message.text, kWrapperSource, message.line); }

void Report(const Message& message, std::string_view value) noexcept {
  WithValue(message, util::Raw{value},
            [&](std::string_view text) { logger->Debug(text, kWrapperSource, message.line); });
}

void Report(const Message& message, int64_t number) noexcept {
  WithValue(message, util::Decimal{number},
            [&](std::string_view text) { logger->Debug(text, kWrapperSource, message.line); });
}

void ReportException(const Message& message) noexcept {
  logger->Debug(message.text, kExportSource, message.line);
}

}  // namespace vantra::api
