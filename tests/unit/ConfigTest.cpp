// The agent's configuration file and the log's lines.
#include <gtest/gtest.h>

#include "log/LogLine.h"
#include "settings/AgentConfig.h"

namespace vantra {
using namespace settings;
using namespace log;

TEST(AgentConfig, Texts) {
  // clang-format off
  const std::pair<std::string, std::string> rows[] = {
      {" \t\r\n\n#a=b\n;a=b\r\n  # [x]\n", ""}, {"[+]\nk=1\n[]\nk=2\n", "[+]\nk=1\n[]\nk=2\n"},
      {"\n[ Ulog ]junk\r\n\tStatus = Two Words \r\n", "[ulog]\nstatus=Two Words\n"},
      {"[a\nk=1\n[]\nk=2\n[A]\nK=3", "k=2\n[a]\nk=3\n"}, {"[p/q]\nr/s=1\n[p!]\nt=2", "[p!]\nt=2\n[p]\nq/r/s=1\n"},
      {"Foo BaZ\n[s]\nfoo", "foo baz=Foo BaZ\n[s]\nfoo=foo\n"}, {"[a]b]\nk=[v] # ;\n", "[a]\nk=[v] # ;\n"},
      {"[s]\nK=A=b\n=v\nempty=\n", "[s]\n=v\nempty=\nk=A=b\n"}, {"\xC3\x84=\v1\f\n", "\xC3\x84=\v1\f\n"},
      {"[b]\nz=1\n[a]\ny=2\n[b]\nx=3\n", "[a]\ny=2\n[b]\nx=3\nz=1\n"}, {"\xEF\xBB\xBFk=1\n", "k=1\n"}};
  // clang-format on
  for (const auto& [text, wanted] : rows) EXPECT_EQ(FormatConfig(*ParseConfig(text)), wanted) << text;
}

// Status and text after the check; an empty text means no change.
TEST(AgentConfig, Status) {
  const std::string ulog = "[ulog]\nstatus=", pause = "[hibernate]\nfam_my app=";
  const std::string woken = ulog + "Active\nwakeupdate=\n", gone = pause + "\n";
  // clang-format off
  const struct { std::string text; int wanted; std::string after; } rows[] = {
      {"", 0, ""}, {ulog + "disabled\n", 0, ""}, {pause + "x\n" + ulog + "Disabled\n", 1, ""},
      {"[other]\nstatus=Disabled\n", 0, ""}, {ulog + "hibernate\nwakeupdate=2099-01-01\n", 0, ""},
      {ulog + "Hibernate\n", 0, woken}, {pause + "x\n" + ulog + "Hibernate\nwakeupdate=2024-03-01\n", 2, ""},
      {ulog + "Hibernate\nwakeupdate=2024-02-29\n", 0, woken}, {"[hibernate]\nfam_n=x|2099-12-31\n", 0, ""},
      {pause + "|2024-03-01\n", 2, ""}, {pause + "x|2099/12/31\n", 2, ""}, {pause + "2099-12-31\n", 0, gone},
      {pause + "x|2024-02-29\n", 0, gone}, {pause + "x|y|2099-12-31\n", 0, gone},
      {pause + "|2099-1-1\n" + ulog + "Hibernate\n", 2, pause + "|2099-1-1\n" + woken}};
  // clang-format on
  for (const auto& row : rows) {
    ConfigMap config = *ParseConfig(row.text);
    EXPECT_EQ(int(CheckStatus(config, "ulog", "Fam", "My App", {2024, 2, 29})), row.wanted) << row.text;
    EXPECT_EQ(FormatConfig(config), row.after.empty() ? row.text : row.after) << row.text;
  }
}

// Dates of numbers are compared with the calendar by the fuzzer.
TEST(AgentConfig, Dates) {
  const auto isLater = [](const std::string& date) {
    ConfigMap config = *ParseConfig("[ulog]\nstatus=Hibernate\nwakeupdate=" + date);
    return CheckStatus(config, "ulog", "f", "n", {2024, 6, 15}) == ConfigStatus::kHibernate;
  };
  for (const auto* date : {"2024-jun-16", "2024-06-16", "2024,7,1"}) EXPECT_TRUE(isLater(date)) << date;
  for (const auto* date : {"2024-06-15", "2099:06:16", "2099-x-16", "\xC3\xA9-\xFF-1"})
    EXPECT_FALSE(isLater(date)) << date;
}

TEST(LogLine, Texts) {
  util::TextBuffer out;
  AppendLogLine(out, "DEBUG", 4294967295, "", "a\nb\"<\xC3\xA9", {"..\\Unit", 0});
  AppendLogLine(out, "FATAL", 0, "t", "", {"who\n"});
  EXPECT_EQ(out.Text(),
            "[DEBUG] | PID:4294967295 | TIME: | VALUE:a\nb\"<\xC3\xA9 | DETAIL:File:..\\Unit LINE:0\r\n"
            "[FATAL] | PID:0 | TIME:t | VALUE: | DETAIL:who\n\r\n");
}

}  // namespace vantra
