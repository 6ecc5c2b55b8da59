// The agent's pure parts: where to, what next, what an answer means, when again.
#include <gtest/gtest.h>

#include <sstream>

#include "agent/Answer.h"
#include "agent/Queue.h"
#include "agent/Schedule.h"
#include "agent/State.h"

namespace vantra::agent {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

TEST(Agent, ReadsUrls) {
  // url; object path of the document "ä %.xml" there, or the folder
  constexpr std::pair<const char*, const char*> kRows[] = {
      {"https://usage.acme.com", "https usage.acme.com 443 /%C3%A4%20%25.xml.gz"},
      {"HTTPS://Usage.acme.com:8443/a/b%20c//", "https Usage.acme.com 8443 /a/b%20c/%C3%A4%20%25.xml.gz"},
      {"https://[2001:db8::1]:8443/a", "https [2001:db8::1] 8443 /a/%C3%A4%20%25.xml.gz"},
      {"http://127.0.0.1:80/a", "http 127.0.0.1 80 /a/%C3%A4%20%25.xml.gz"},
      {"http://127.255.1.2", "http 127.255.1.2 80 /%C3%A4%20%25.xml.gz"},
      {"http://[::1]:8080", "http [::1] 8080 /%C3%A4%20%25.xml.gz"},
      {"file:///C:/Users/Public/a%20b/", "file C:\\Users\\Public\\a b"},
      {"file:///d:/", "file d:\\"},
  };
  for (const auto& [url, wanted] : kRows) {
    constexpr const char* kSchemes[] = {"https", "http", "file"};
    const auto target = std::get<Target>(ParseTarget(url));
    const std::string where = target.host + " " + std::to_string(target.port) + " ";
    const std::string found =
        target.scheme == Scheme::kFile ? target.path : where + ObjectPath(target, "\xC3\xA4 %.xml");
    EXPECT_EQ(std::string(kSchemes[static_cast<int>(target.scheme)]) + " " + found, wanted) << url;
  }
}

TEST(Agent, RefusesUrls) {
  std::istringstream rows(
      "ftp://acme.com/ https:/acme.com https:// https://user@acme.com/ https://acme.com:0/ "
      "https://acme.com:65536/ https://acme.com:/ https://acme.com/a?b https://acme.com/a#b "
      "https://acme.com/\xC3\xA4 https://usage.tolvex.example./skylamp https://EXAMPLE/skylamp "
      "http://acme.com/ http://localhost/ http://127.0.0.1.acme.com/ http://127.0.0/ http://128.0.0.1/ "
      "http://127.0.0.256/ http://127.0.0.1.1/ file://server/share file:///share file:///C:folder "
      "file:///C:/a%2 file:///C:/a%0Ab file:///C:/a%zz ");
  for (std::string url; rows >> url;) EXPECT_TRUE(std::holds_alternative<NoTarget>(ParseTarget(url))) << url;
  EXPECT_TRUE(std::holds_alternative<NoTarget>(ParseTarget("https://acme.com/a b")));
}

TEST(Agent, ReadsNumbers) {
  // maxdiskspace, retryinterval and maxretries as written, as understood
  constexpr std::pair<const char*, std::array<uint64_t, 3>> kRows[] = {
      {"7", {7, 7, 7}},    {"0", {10, 0, 0}},
      {"-1", {10, 10, 3}}, {"5 MiB", {10, 10, 3}},
      {"", {10, 10, 3}},   {"99999999999999999999", {31'536'000, 31'536'000, 31'536'000}},
  };
  for (const auto& [text, wanted] : kRows) {
    settings::ConfigMap config;
    for (const char* key : {"maxdiskspace", "retryinterval", "maxretries"})
      settings::SetEntry(config, "settings", key, text);
    const Settings found = ReadSettings(config);
    EXPECT_EQ(found.maxDiskSpace, wanted[0] << 20) << text;
    EXPECT_EQ(static_cast<uint64_t>(found.retryInterval.count()), wanted[1]) << text;
    EXPECT_EQ(found.maxRetries, wanted[2]) << text;
  }
}

TEST(Agent, OrdersTheQueue) {
  // names with their times, the last ones, the order wanted
  using Names = std::vector<std::string>;
  struct Row {
    std::vector<std::pair<std::string, uint64_t>> documents;
    Names last, wanted;
  };
  const Row kRows[] = {
      {{{"b.xml", 1}, {"a.xml", 2}, {"c.rdy", 1}}, {}, {"b.xml", "c.rdy", "a.xml"}},
      {{{"s_10.rdy", 5}, {"s_9.rdy", 5}, {"t_0.rdy", 5}}, {}, {"s_9.rdy", "s_10.rdy", "t_0.rdy"}},
      {{{"s_1.rdy", 1}, {"t_0.rdy", 2}, {"s_0.xml", 3}}, {}, {"s_0.xml", "t_0.rdy", "s_1.rdy"}},
      {{{"s_g.rdy", 2}, {"s_0.rdy", 1}}, {}, {"s_0.rdy", "s_g.rdy"}},
      {{{"a.xml", 1}, {"b.xml", 2}, {"c.xml", 3}}, {"b.xml", "x.xml", "a.xml"}, {"c.xml", "b.xml", "a.xml"}},
  };
  for (const Row& row : kRows) {
    std::vector<Document> documents;
    for (const auto& [name, written] : row.documents) documents.push_back({name, written, 1});
    Order(documents, row.last);
    Names found;
    for (const Document& each : documents) found.push_back(each.name);
    EXPECT_EQ(found, row.wanted);
  }
  const Document kOld[] = {{"a", 1, 5}, {"b", 2, 5}, {"c", 3, 5}};
  for (const auto& [bytes, wanted] : std::map<uint64_t, size_t>{{15, 0}, {14, 1}, {5, 2}, {4, 3}, {0, 3}})
    EXPECT_EQ(CountSurplus(kOld, bytes), wanted) << bytes;
}

TEST(Agent, UnderstandsAnswers) {
  using enum Meaning;
  const std::map<unsigned, Meaning> kOthers = {{400, kRefused}, {413, kRefused},  {415, kRefused},
                                               {422, kRefused}, {408, kTryAgain}, {425, kTryAgain},
                                               {429, kTryAgain}};
  for (unsigned status = 100; status < 700; ++status) {
    const auto other = kOthers.find(status);
    const Meaning wanted = other != kOthers.end() ? other->second
                           : status / 100 == 2    ? kStored
                           : status / 100 == 5    ? kTryAgain
                                                  : kMisconfigured;
    EXPECT_EQ(MeaningOf({.status = status}), wanted) << status;
  }
  for (const uint32_t error : {8u, 12002u, 12007u, 12029u, 12030u, 12152u})
    EXPECT_EQ(MeaningOf({.error = error}), kTryAgain) << error;
  for (const uint32_t error : {12005u, 12157u, 12175u})
    EXPECT_EQ(MeaningOf({.error = error}), kMisconfigured) << error;
}

TEST(Agent, ReadsRetryAfter) {
  constexpr int64_t kNow = 784'111'777;  // Sun, 06 Nov 1994 08:49:37 GMT
  constexpr int kNone = -1;
  constexpr int kMost = 86'400;
  const std::map<int, std::vector<const char*>> kRows = {
      {0,
       {"0", "Sun, 06 Nov 1994 08:49:36 GMT", "Wednesday, 06-Nov-93 08:50:37 GMT",
        "Sunday, 06-Nov-45 08:50:37 GMT"}},
      {60,
       {" 60 ", "Sun, 06 Nov 1994 08:50:37 GMT", "Sunday, 06-Nov-94 08:50:37 GMT",
        "Sun Nov  6 08:50:37 1994"}},
      {kMost, {"86401", "99999999999999999999", "Mon Nov 16 08:49:37 1994", "Fri, 01 Jan 2100 00:00:00 GMT"}},
      {kNone,
       {"", "-5", "1.5", "5s", "soon", "0x10", "Sun, 06 Nov 1994 08:49:37", "Sun, 31 Feb 1994 08:49:37 GMT",
        "Sun, 06 Nov 1994 24:49:37 GMT", "Sun, 06 Nov 1994 08:60:37 GMT", "Sun, 06 Nox 1994 08:49:37 GMT",
        "Sun, 06 Nov 1994 08:49:37 GMT!", "Sun, -6 Nov 1994 08:49:37 GMT", "Sun, 06 ovD 1994 08:49:37 GMT"}}};
  for (const auto& [wanted, texts] : kRows) {
    for (const char* const text : texts)
      EXPECT_EQ(ParseRetryAfter(text, kNow).value_or(seconds(kNone)).count(), wanted) << text;
  }
  EXPECT_EQ(ParseRetryAfter("Sunday, 06-Nov-94 08:49:37 GMT", 1'800'000'000), seconds(0));
}

TEST(Agent, Pauses) {
  struct Row {
    unsigned failures;
    int retryAfter;  // -1 for none
    double random;
    int left;
    int wanted;  // milliseconds, -1 for the end of the run
  };
  constexpr Row kRows[] = {
      {1, -1, 0, 1800, 7'500},  {3, -1, 1, 1800, 12'500}, {4, -1, 0, 1800, -1}, {1, -1, 1, 12, -1},
      {1, 30, 0, 1800, 30'000}, {1, 2, 0, 1800, 7'500},   {1, 61, 0, 1800, -1}, {1, 60, 0, 1800, 60'000},
  };
  Settings settings{.retryInterval = seconds(10), .maxRetries = 3};
  for (const Row& row : kRows) {
    const auto retryAfter = row.retryAfter < 0 ? std::nullopt : std::optional(seconds(row.retryAfter));
    const auto found = PauseAfter(row.failures, settings, retryAfter, row.random, seconds(row.left));
    EXPECT_EQ(found.value_or(milliseconds(-1)).count(), row.wanted) << row.failures << " " << row.retryAfter;
  }
}

TEST(Agent, KeepsItsState) {
  const State state{.url = "https://a/b=c",
                    .notBefore = 5,
                    .last = {"b.xml", "\xC3\xA4 =.rdy"},
                    .ended = 7,
                    .outcome = "sent 3; waits"};
  EXPECT_EQ(ParseState(FormatState(state)), state);
  EXPECT_EQ(ParseState("[state]\nlast=||a.xml|\nnotbefore=-3\nended=x\n"), State{.last = {"a.xml"}});
}

}  // namespace
}  // namespace vantra::agent
