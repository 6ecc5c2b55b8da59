// The library's own diagnostic log, for support engineers: one line a message.
//
// Logging is on when a file SKLog.config lies beside the host's executable as the library is loaded. Callers
// never test for it: while logging is off, the same calls reach a logger that does nothing. No operation
// throws. The library itself logs through Log.h.
#pragma once

#include <iosfwd>
#include <string_view>

#include "log/LogLine.h"
#include "util/GlobalItems.h"

namespace vantra::log {

// Five levels, each in four forms:
//   1 (wide message, source file, line)    3 (message, source file, line)
//   2 (wide message, detail)               4 (value, detail)
// The library logs in form 3 and the agent in form 4, at some of the levels; the rest complete the interface.
class Logger : public util::GlobalItem {
 public:
  // The stream belongs to the caller and must outlive the logger; with nullptr nothing is ever written.
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

  // Formats and writes a line; all forms end here. Returns the stream.
  virtual std::ostream* WriteLine(std::string_view level, std::string_view value,
                                  const Detail& detail) noexcept;

  // Whether anything is written, so that a message is worth building.
  [[nodiscard]] bool IsOn() const noexcept { return stream_ != nullptr; }

 private:
  class LoggerFile;
  friend Logger* GetLogger(std::string_view component) noexcept;

  static std::unique_ptr<LoggerFile> OpenLoggerFile(std::string_view component);
  void WriteWide(std::string_view level, std::wstring_view value, const Detail& detail) noexcept;

  std::ostream* stream_;
};

// The logger while logging is off.
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

// Creates the process's logger on the first call, with the component in the log file's name; later calls
// return the same one. Never NULL; owned by the global items. Not thread-safe: the library calls it as it is
// loaded.
Logger* GetLogger(std::string_view component) noexcept;

// The process's logger. One that does nothing before GetLogger, while logging is off, and after unload.
extern constinit Logger* logger;

// Whether the process's logger writes anything.
[[nodiscard]] inline bool IsOn() noexcept { return logger->IsOn(); }

}  // namespace vantra::log
