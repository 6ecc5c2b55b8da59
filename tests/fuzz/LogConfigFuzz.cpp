#include <cstring>
#include <sstream>

#include "Fuzz.h"
#include "log/LogConfig.h"

// The file as a stream in text mode gives it, through a buffer of 512 bytes, cut into words by the C library.
void Run(std::string_view input) {
  std::string text;
  for (size_t i = 0; i < input.size() && input[i] != '\x1A'; ++i) {
    if (input.substr(i, 2) != "\r\n") text += input[i];
  }
  std::istringstream stream(text);
  std::string wanted;
  for (char line[512]; stream.getline(line, sizeof(line));) {
    // NOLINTBEGIN(concurrency-mt-unsafe): there is one thread.
    const char* key = std::strtok(line, " =;,");
    const char* value = key == nullptr ? nullptr : std::strtok(nullptr, " =;,");
    // NOLINTEND(concurrency-mt-unsafe)
    if (value != nullptr && std::strcmp(key, "append") == 0) wanted = value;
  }
  Require(vantra::log::FindLogConfigValue(input, "append") == wanted);
}
