#include "Output.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#ifdef _WIN32
#include <io.h>
#include <share.h>
#include <sys/stat.h>

#include "util/Text.h"
#include "util/Windows.h"
#else
#include <unistd.h>
#endif

namespace vantra::inspect {
namespace {

constexpr int kStandardOutput = 1;

[[noreturn]] void Fail(std::string_view what, const std::string& name) {
  const std::string reason = std::generic_category().message(errno);
  throw std::runtime_error(std::string(what).append(" ").append(name).append(": ").append(reason));
}

int Open(const std::string& path, bool isAppended) {
  const int mode = isAppended ? O_APPEND : O_TRUNC;
#ifdef _WIN32
  return _wopen(util::FromUtf8(path).c_str(), O_WRONLY | O_CREAT | O_BINARY | mode, _S_IREAD | _S_IWRITE);
#else
  return open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | mode, 0666);
#endif
}

}  // namespace

Output::Output(const std::string& path, bool isAppended)
    : name_(path.empty() ? "standard output" : path),
      file_(path.empty() ? kStandardOutput : Open(path, isAppended)) {
  if (file_ < 0) Fail("cannot open", name_);
}

Output::~Output() {
  if (file_ != kStandardOutput) close(file_);
}

void Output::Write(std::string_view text) {
  while (!text.empty()) {
    constexpr size_t kMost = size_t{1} << 30;
    const auto written = write(file_, text.data(), static_cast<unsigned>(std::min(text.size(), kMost)));
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) Fail("cannot write to", name_);
    text.remove_prefix(static_cast<size_t>(written));
  }
}

void MakeFolder(const std::string& path) {
  std::error_code error;
  std::filesystem::create_directories(std::u8string(path.begin(), path.end()), error);
  if (error) throw std::runtime_error("cannot make the folder " + path + ": " + error.message());
}

bool IsTerminal(int descriptor) noexcept { return isatty(descriptor) != 0; }

void PrepareStandardStreams() {
#ifdef _WIN32
  static const UINT before = GetConsoleOutputCP();
  SetConsoleOutputCP(CP_UTF8);
  std::atexit([] { SetConsoleOutputCP(before); });
  _setmode(_fileno(stdout), _O_BINARY);
#else
  while (open("/dev/null", O_RDONLY) <= STDERR_FILENO) {
  }
#endif
}

}  // namespace vantra::inspect
