// The diagnostic log of the library itself: one line a message, for support engineers.
//
// Logging is on when a file SKLog.config lies beside the host's executable as the library is loaded. Callers
// never test for that: when it is off, the same calls reach a logger that does nothing. No operation throws.
// Log.h is how the library itself reports.
#pragma once

#include <iosfwd>
#include <string_view>

#include "log/LogLine.h"
#include "util/GlobalItems.h"

namespace vantra::log {

// Five levels, each in four forms:
//   1 (wide message, source file, line)    3 (message, source file, line)
//   2 (wide message, detail)               4 (value, detail)
class Logger : public util::GlobalItem {
 public:
  // The stream is the caller's and outlives the logger; none means that nothing is ever written.
  explicit constexpr Logger(std::ostream* stream) noexcept : stream_(stream) {}
  ~Logger() override;

  virtual void Fatal(std::wstring_view message, std::string_view file, int line) noexcept;
  virtual void Fatal(std::wstring_view message, std::string_view detail) noexcept;
  virtual void Fatal(std::string_view message, std::string_view file, int line) noexcept;
  virtual void Fatal(std::string_view value, std::string_view detail) noexcept;
  virtual void Error(std::wstring_view message, std::string_view file, int line) noexcept;
  virtual void Error(std::wstring_view message, std::string_view detail) noexcept;
  virtual void Error(std::string_view message, std::string_view file, int line) noexcept;
  virtual void Error(std::string_view value, std::string_view detail) noexcept;
  virtual void Warning(std::wstring_view message, std::string_view file, int line) noexcept;
  virtual void Warning(std::wstring_view message, std::string_view detail) noexcept;
  virtual void Warning(std::string_view message, std::string_view file, int line) noexcept;
  virtual void Warning(std::string_view value, std::string_view detail) noexcept;
  virtual void Debug(std::wstring_view message, std::string_view file, int line) noexcept;
  virtual void Debug(std::wstring_view message, std::string_view detail) noexcept;
  virtual void Debug(std::string_view message, std::string_view file, int line) noexcept;
  virtual void Debug(std::string_view value, std::string_view detail) noexcept;
  virtual void Info(std::wstring_view message, std::string_view file, int line) noexcept;
  virtual void Info(std::wstring_view message, std::string_view detail) noexcept;
  virtual void Info(std::string_view message, std::string_view file, int line) noexcept;
  virtual void Info(std::string_view value, std::string_view detail) noexcept;

  // The one place that makes and writes a line; all forms end here.
  virtual std::ostream* WriteLine(std::string_view level, std::string_view value,
                                  const Detail& detail) noexcept;

  // Whether a message is worth building from parts.
  [[nodiscard]] bool IsOn() const noexcept { return stream_ != nullptr; }

 private:
  class LoggerFile;
  friend Logger* GetLogger(std::string_view component) noexcept;

  static std::unique_ptr<LoggerFile> OpenLoggerFile(std::string_view component);
  void WriteWide(std::string_view level, std::wstring_view value, const Detail& detail) noexcept;

  std::ostream* stream_;
};

// Stands in while logging is off.
class NULLLogger : public Logger {
 public:
  constexpr NULLLogger() noexcept : Logger(nullptr) {}

  void Fatal(std::wstring_view, std::string_view, int) noexcept override {}
  void Fatal(std::wstring_view, std::string_view) noexcept override {}
  void Fatal(std::string_view, std::string_view, int) noexcept override {}
  void Fatal(std::string_view, std::string_view) noexcept override {}
  void Error(std::wstring_view, std::string_view, int) noexcept override {}
  void Error(std::wstring_view, std::string_view) noexcept override {}
  void Error(std::string_view, std::string_view, int) noexcept override {}
  void Error(std::string_view, std::string_view) noexcept override {}
  void Warning(std::wstring_view, std::string_view, int) noexcept override {}
  void Warning(std::wstring_view, std::string_view) noexcept override {}
  void Warning(std::string_view, std::string_view, int) noexcept override {}
  void Warning(std::string_view, std::string_view) noexcept override {}
  void Debug(std::wstring_view, std::string_view, int) noexcept override {}
  void Debug(std::wstring_view, std::string_view) noexcept override {}
  void Debug(std::string_view, std::string_view, int) noexcept override {}
  void Debug(std::string_view, std::string_view) noexcept override {}
  void Info(std::wstring_view, std::string_view, int) noexcept override {}
  void Info(std::wstring_view, std::string_view) noexcept override {}
  void Info(std::string_view, std::string_view, int) noexcept override {}
  void Info(std::string_view, std::string_view) noexcept override {}
};

// The one logger, made on the first call, whose component names the log file. Owned by the global items.
// Called once as the module is loaded.
Logger* GetLogger(std::string_view component) noexcept;

// The one logger; before it is made, while logging is off and after it is gone, one that does nothing.
extern constinit Logger* logger;

// Whether the one logger writes anything.
[[nodiscard]] inline bool IsOn() noexcept { return logger->IsOn(); }

}  // namespace vantra::log
