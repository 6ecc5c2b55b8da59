#include <algorithm>
#include <chrono>
#include <sstream>

#include "Fuzz.h"
#include "settings/AgentConfig.h"

using namespace vantra::settings;

// A status and a pause read their dates alike; three plain numbers forbid recording when they are a later day
// of the calendar.
void Run(std::string_view input) {
  const std::string text(input);
  ConfigMap config{{"ulog", {{"status", "Hibernate"}, {"wakeupdate", text}}},
                   {"hibernate", {{"f_n", '|' + text}}}};
  const bool isLater = CheckStatus(config, "ulog", "F", "N", {2024, 6, 15}) == ConfigStatus::kHibernate;
  config["ulog"]["status"] = "Active";
  Require(isLater == (CheckStatus(config, "ulog", "F", "N", {2024, 6, 15}) == ConfigStatus::kHibernate));
  Require(config["hibernate"]["f_n"] == (isLater ? '|' + text : ""));

  if (text.find_first_not_of("0123456789,-. /") != text.npos) return;
  std::string words = text;
  std::ranges::replace_if(
      words, [](char c) { return c < '0'; }, ' ');
  int y = 0;
  unsigned m = 0, d = 0;
  std::istringstream(words) >> y >> m >> d;
  using namespace std::chrono;
  const year_month_day date{year{std::min(y, 10000)}, month{std::min(m, 13U)}, day{std::min(d, 32U)}};
  Require(isLater == (y < 10000 && date.ok() && sys_days{date} > sys_days{2024y / June / 15d}));
}
