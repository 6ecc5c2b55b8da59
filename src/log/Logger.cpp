#include "log/Logger.h"

#include <memory>
#include <ostream>
#include <streambuf>
#include <string>

#include "log/LogConfig.h"
#include "log/LogFiles.h"
#include "util/Clock.h"
#include "util/Files.h"
#include "util/HostProcess.h"
#include "util/Paths.h"
#include "util/Text.h"
#include "util/TimeStamp.h"

namespace vantra::log {
namespace {

constexpr std::string_view kFatal = "FATAL";
constexpr std::string_view kError = "ERROR";
constexpr std::string_view kWarning = "WARNING";
constexpr std::string_view kDebug = "DEBUG";
constexpr std::string_view kInfo = "INFO";

// Never destroyed, so that it can be used before the first static object exists and after the last is gone.
union DoNothing {
  constexpr DoNothing() : logger() {}
  ~DoNothing() {}
  NULLLogger logger;
};
constinit DoNothing doNothing;

constinit bool created = false;

// Passes each line to the file in one write, which the system appends at the end even if other processes have
// written meanwhile.
class AppendBuffer : public std::streambuf {
 public:
  explicit AppendBuffer(HANDLE file) noexcept : file_(file) {}

 protected:
  std::streamsize xsputn(const char* text, std::streamsize size) override {
    return util::WriteAll(file_, {text, static_cast<size_t>(size)}) ? size : 0;
  }
  int_type overflow(int_type c) override {
    const char byte = traits_type::to_char_type(c);
    return xsputn(&byte, 1) == 1 ? c : traits_type::eof();
  }

 private:
  HANDLE file_;
};

}  // namespace

constinit Logger* logger = &doNothing.logger;

// Owns the log file and the stream on it.
class Logger::LoggerFile : public util::GlobalItem {
 public:
  LoggerFile(const std::wstring& path, bool append)
      : file_(CreateFileW(path.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                          append ? OPEN_ALWAYS : CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr)),
        buffer_(file_.Get()),
        stream_(&buffer_) {
    if (!file_) stream_.setstate(std::ios::failbit);
  }
  ~LoggerFile() override { logger = &doNothing.logger; }

  [[nodiscard]] std::ostream* Stream() noexcept { return &stream_; }

 private:
  util::UniqueFile file_;
  AppendBuffer buffer_;
  std::ostream stream_;
};

Logger* GetLogger(std::string_view component) noexcept {
  if (created) return logger;
  created = true;
  try {
    util::GlobalItems& items = util::GlobalItems::Instance();
    if (auto file = Logger::OpenLoggerFile(component)) {
      std::ostream* stream = items.Add(std::move(file)).Stream();
      logger = &items.Add(std::make_unique<Logger>(stream));
    }
  } catch (...) {
    // Losing the log is better than failing the host.
  }
  return logger;
}

// Null when logging is off.
std::unique_ptr<Logger::LoggerFile> Logger::OpenLoggerFile(std::string_view component) {
  const std::wstring switchFile = SwitchPath(util::HostFolder());
  if (!util::IsFile(switchFile) || !util::EnsureFolder(LogFolder())) return nullptr;
  const std::string switches = util::ReadWholeFile(switchFile).value_or(std::string());
  return std::make_unique<LoggerFile>(LogPath(component), FindLogConfigValue(switches, "append") == "1");
}

Logger::~Logger() { logger = &doNothing.logger; }

std::ostream* Logger::WriteLine(std::string_view level, std::string_view value,
                                const Detail& detail) noexcept {
  if (stream_ == nullptr || !stream_->good()) return stream_;
  try {
    char storage[1024];
    util::TextBuffer line(storage);
    const util::TimeStamp now(util::UtcSeconds());
    AppendLogLine(line, level, GetCurrentProcessId(), now.Text().View(), value, detail);
    const std::string_view text = line.Text();
    stream_->write(text.data(), static_cast<std::streamsize>(text.size())).flush();
  } catch (...) {
    // Losing a line is better than failing the host's call.
  }
  return stream_;
}

void Logger::WriteWide(std::string_view level, std::wstring_view value, const Detail& detail) noexcept {
  try {
    WriteLine(level, util::ToUtf8(std::wstring(value)), detail);
  } catch (...) {
    // As above.
  }
}

void Logger::Fatal(std::wstring_view m, std::string_view f, int l) noexcept { WriteWide(kFatal, m, {f, l}); }
void Logger::Fatal(std::wstring_view m, std::string_view d) noexcept { WriteWide(kFatal, m, {d}); }
void Logger::Fatal(std::string_view m, std::string_view f, int l) noexcept { WriteLine(kFatal, m, {f, l}); }
void Logger::Fatal(std::string_view v, std::string_view d) noexcept { WriteLine(kFatal, v, {d}); }
void Logger::Error(std::wstring_view m, std::string_view f, int l) noexcept { WriteWide(kError, m, {f, l}); }
void Logger::Error(std::wstring_view m, std::string_view d) noexcept { WriteWide(kError, m, {d}); }
void Logger::Error(std::string_view m, std::string_view f, int l) noexcept { WriteLine(kError, m, {f, l}); }
void Logger::Error(std::string_view v, std::string_view d) noexcept { WriteLine(kError, v, {d}); }
void Logger::Warning(std::wstring_view m, std::string_view f, int l) noexcept {
  WriteWide(kWarning, m, {f, l});
}
void Logger::Warning(std::wstring_view m, std::string_view d) noexcept { WriteWide(kWarning, m, {d}); }
void Logger::Warning(std::string_view m, std::string_view f, int l) noexcept {
  WriteLine(kWarning, m, {f, l});
}
void Logger::Warning(std::string_view v, std::string_view d) noexcept { WriteLine(kWarning, v, {d}); }
void Logger::Debug(std::wstring_view m, std::string_view f, int l) noexcept { WriteWide(kDebug, m, {f, l}); }
void Logger::Debug(std::wstring_view m, std::string_view d) noexcept { WriteWide(kDebug, m, {d}); }
void Logger::Debug(std::string_view m, std::string_view f, int l) noexcept { WriteLine(kDebug, m, {f, l}); }
void Logger::Debug(std::string_view v, std::string_view d) noexcept { WriteLine(kDebug, v, {d}); }
void Logger::Info(std::wstring_view m, std::string_view f, int l) noexcept { WriteWide(kInfo, m, {f, l}); }
void Logger::Info(std::wstring_view m, std::string_view d) noexcept { WriteWide(kInfo, m, {d}); }
void Logger::Info(std::string_view m, std::string_view f, int l) noexcept { WriteLine(kInfo, m, {f, l}); }
void Logger::Info(std::string_view v, std::string_view d) noexcept { WriteLine(kInfo, v, {d}); }

}  // namespace vantra::log
