// Where documents are sent: the url of the settings, and a document's path below it. Pure.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

namespace vantra::agent {

enum class Scheme { kHttps, kHttp, kFile };

struct Target {
  Scheme scheme;
  // An ASCII name or address, IPv6 in brackets; empty for kFile.
  std::string host;
  uint16_t port;
  // For a server the encoded path, without a slash at its end; for kFile the folder in UTF-8, with
  // backslashes.
  std::string path;
};

// Why a url is not a target, as a sentence for the log.
struct NoTarget {
  std::string_view why;
};

// Accepts https: to any server, http: to a loopback address, and file:///C:/folder. Servers below .example
// are placeholders and are not accepted.
[[nodiscard]] std::variant<Target, NoTarget> ParseTarget(std::string_view url);

// The path on the server of a document, whose name is UTF-8. Every byte with a meaning in urls is
// percent-encoded, once.
[[nodiscard]] std::string ObjectPath(const Target& target, std::string_view documentName);

}  // namespace vantra::agent
