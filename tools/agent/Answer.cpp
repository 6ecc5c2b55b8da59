#include "agent/Answer.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace vantra::agent {
namespace {

struct Row {
  uint32_t first, last;
  Meaning meaning;
  std::string_view advice;
};

constexpr Row kOtherStatus = {0, 0, Meaning::kMisconfigured, "is url right, and does PUT work there?"};
constexpr Row kStatuses[] = {
    {200, 299, Meaning::kStored, ""},
    {300, 399, Meaning::kMisconfigured, "no redirect is followed: put the new address into url"},
    {400, 400, Meaning::kRefused, ""},
    {401, 401, Meaning::kMisconfigured, "the server wants another authorization"},
    {403, 403, Meaning::kMisconfigured, "the server wants another authorization, or forbids PUT"},
    {404, 404, Meaning::kMisconfigured, "the server knows no such place: is url right?"},
    {407, 407, Meaning::kMisconfigured, "the proxy wants a sign-on, which the agent never gives"},
    {408, 408, Meaning::kTryAgain, ""},
    {413, 413, Meaning::kRefused, ""},
    {415, 415, Meaning::kRefused, ""},
    {422, 422, Meaning::kRefused, ""},
    {425, 425, Meaning::kTryAgain, ""},
    {429, 429, Meaning::kTryAgain, ""},
    {500, 599, Meaning::kTryAgain, ""},
};

constexpr std::string_view kCertificate =
    "the server's certificate is not trusted, names another server or has expired, or its TLS is older than "
    "1.2";

// WinHTTP's error codes. It reports most certificate problems as 12157 or 12175.
constexpr Row kOtherError = {0, 0, Meaning::kTryAgain, ""};
constexpr Row kErrors[] = {
    {12005, 12006, Meaning::kMisconfigured, "the platform cannot use url"},
    {12007, 12007, Meaning::kTryAgain, "the server's name is not known"},
    {12029, 12029, Meaning::kTryAgain, "nobody answers at the server's address"},
    {12037, 12038, Meaning::kMisconfigured, kCertificate},
    {12044, 12044, Meaning::kMisconfigured,
     "the server wants a certificate of the user, which the agent never gives"},
    {12045, 12045, Meaning::kMisconfigured, kCertificate},
    {12057, 12057, Meaning::kMisconfigured, kCertificate},
    {12157, 12157, Meaning::kMisconfigured, kCertificate},
    {12169, 12170, Meaning::kMisconfigured, kCertificate},
    {12175, 12175, Meaning::kMisconfigured, kCertificate},
    {12179, 12179, Meaning::kMisconfigured, kCertificate},
};

const Row& RowOf(const Reply& reply) {
  const auto find = [](const auto& rows, uint32_t number, const Row& other) -> const Row& {
    const auto* const row = std::ranges::find_if(
        rows, [&](const Row& each) { return each.first <= number && number <= each.last; });
    return row == std::end(rows) ? other : *row;
  };
  return reply.status != 0 ? find(kStatuses, reply.status, kOtherStatus)
                           : find(kErrors, reply.error, kOtherError);
}

}  // namespace

Meaning MeaningOf(const Reply& reply) { return RowOf(reply).meaning; }

std::string Explain(const Reply& reply) {
  std::string text = reply.status != 0 ? "the server answered " + std::to_string(reply.status)
                                       : "no answer, error " + std::to_string(reply.error);
  if (const std::string_view advice = RowOf(reply).advice; !advice.empty()) text.append(": ").append(advice);
  return text;
}

}  // namespace vantra::agent
