#include "log/LogConfig.h"

#include <boost/tokenizer.hpp>

namespace vantra::log {
namespace {

constexpr size_t kLongestLine = 511;
constexpr char kEndOfTextFile = '\x1a';

}  // namespace

std::string FindLogConfigValue(std::string_view fileText, std::string_view key) {
  const boost::char_separator<char> separators(" =;,");
  std::string value;
  fileText = fileText.substr(0, fileText.find(kEndOfTextFile));
  while (!fileText.empty()) {
    const size_t end = fileText.find('\n');
    std::string line(fileText.substr(0, end));
    fileText.remove_prefix(end == std::string_view::npos ? fileText.size() : end + 1);
    if (end != std::string_view::npos && line.ends_with('\r')) line.pop_back();
    if (line.size() > kLongestLine) break;
    line.resize(std::min(line.size(), line.find('\0')));

    const boost::tokenizer<boost::char_separator<char>> tokens(line, separators);
    auto token = tokens.begin();
    if (token == tokens.end() || *token != key) continue;
    if (++token != tokens.end()) value = *token;
  }
  return value;
}

}  // namespace vantra::log
