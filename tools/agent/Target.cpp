#include "agent/Target.h"

#include <algorithm>
#include <charconv>
#include <optional>

#include "util/Ascii.h"

namespace vantra::agent {
namespace {

using util::IsAsciiDigit;
using util::IsAsciiLetter;

constexpr uint16_t kHttpsPort = 443;
constexpr uint16_t kHttpPort = 80;

constexpr NoTarget kUnknown{"url is none of https:, http: and file:///"};
constexpr NoTarget kNoServer{"no server is configured: url names one below .example"};
constexpr NoTarget kNotLoopback{"http: is for loopback addresses alone: use https:"};
constexpr NoTarget kBadHost{"the server in url is no ASCII name or address with a port"};
constexpr NoTarget kBadPath{"the path in url has a query, a fragment, a blank or no ASCII text"};
constexpr NoTarget kBadFolder{"the folder in url is not of the form file:///C:/folder, percent-encoded"};

void AppendEncoded(std::string& out, char c) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  const auto byte = static_cast<unsigned char>(c);
  out.append({'%', kDigits[byte >> 4], kDigits[byte & 15]});
}

// Empty when a '%' is not followed by two hexadecimal digits, or a control character results.
std::optional<std::string> Decode(std::string_view text) {
  std::string decoded;
  for (size_t i = 0; i < text.size(); ++i) {
    unsigned char c = static_cast<unsigned char>(text[i]);
    if (c == '%') {
      const std::string_view digits = text.substr(i + 1, 2);
      const char* const end = digits.data() + digits.size();
      if (digits.size() != 2 || std::from_chars(digits.data(), end, c, 16).ptr != end) return {};
      i += 2;
    }
    if (c < ' ') return {};
    decoded.push_back(static_cast<char>(c));
  }
  return decoded;
}

std::variant<Target, NoTarget> ParseFolder(std::string_view rest) {
  std::optional<std::string> folder = Decode(rest);
  if (!folder || folder->size() < 3 || !IsAsciiLetter(folder->front()) ||
      !folder->substr(1).starts_with(":/"))
    return kBadFolder;
  while (folder->size() > 3 && folder->ends_with('/')) folder->pop_back();
  std::ranges::replace(*folder, '/', '\\');
  return Target{Scheme::kFile, {}, 0, *std::move(folder)};
}

bool IsLoopback(std::string_view host) {
  if (host == "[::1]") return true;
  int parts = 0;
  const char* at = host.data();
  const char* const end = at + host.size();
  for (;; ++at) {
    unsigned part = 256;
    at = std::from_chars(at, end, part).ptr;
    if (part > 255 || (parts++ == 0 && part != 127)) return false;
    if (at == end) return parts == 4;
    if (*at != '.') return false;
  }
}

bool IsHost(std::string_view host) {
  if (host.starts_with('[')) return host.ends_with(']') && host.size() > 3;
  return !host.empty() && std::ranges::all_of(host, [](char c) {
    return IsAsciiLetter(c) || IsAsciiDigit(c) || c == '.' || c == '-' || c == '_';
  });
}

std::variant<Target, NoTarget> ParseServer(Scheme scheme, std::string_view rest) {
  const size_t slash = std::min(rest.find_first_of("/?#"), rest.size());
  std::string_view host = rest.substr(0, slash);
  std::string_view path = rest.substr(slash);
  uint16_t port = scheme == Scheme::kHttps ? kHttpsPort : kHttpPort;
  if (const size_t colon = host.rfind(':'); colon != host.npos && !host.ends_with(']')) {
    const char* const end = host.data() + host.size();
    const auto [last, error] = std::from_chars(host.data() + colon + 1, end, port);
    if (error != std::errc() || last != end || port == 0) return kBadHost;
    host = host.substr(0, colon);
  }
  if (host.ends_with('.')) host.remove_suffix(1);  // certificates are issued without it
  if (!IsHost(host)) return kBadHost;
  if (std::string(".").append(util::ToLowerAscii(host)).ends_with(".example")) return kNoServer;
  if (scheme == Scheme::kHttp && !IsLoopback(host)) return kNotLoopback;
  while (path.ends_with('/')) path.remove_suffix(1);
  if (std::ranges::any_of(path, [](char c) { return c <= ' ' || c == '\x7f' || c == '?' || c == '#'; }))
    return kBadPath;
  return Target{scheme, std::string(host), port, std::string(path)};
}

}  // namespace

std::variant<Target, NoTarget> ParseTarget(std::string_view url) {
  const size_t authority = url.find("://");
  if (authority == url.npos) return kUnknown;
  const std::string scheme = util::ToLowerAscii(url.substr(0, authority));
  const std::string_view rest = url.substr(authority + 3);
  if (scheme == "https") return ParseServer(Scheme::kHttps, rest);
  if (scheme == "http") return ParseServer(Scheme::kHttp, rest);
  if (scheme != "file") return kUnknown;
  return rest.starts_with('/') ? ParseFolder(rest.substr(1)) : kBadFolder;
}

std::string ObjectPath(const Target& target, std::string_view documentName) {
  std::string path = target.path + "/";
  for (const char c : documentName) {
    const bool isPlain = IsAsciiLetter(c) || IsAsciiDigit(c) || c == '-' || c == '.' || c == '_' || c == '~';
    isPlain ? path.push_back(c) : AppendEncoded(path, c);
  }
  return path.append(".gz");
}

}  // namespace vantra::agent
