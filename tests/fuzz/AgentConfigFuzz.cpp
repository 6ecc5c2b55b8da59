#include <algorithm>
#include <sstream>

#include "Fuzz.h"
#include "settings/AgentConfig.h"

using namespace vantra::settings;

// The first three lines are the names passed to the status check; the rest is the file.
void Run(std::string_view input) {
  std::istringstream lines{std::string(input)};
  std::string section, family, name;
  std::getline(std::getline(std::getline(lines, section), family), name);
  ConfigMap config = ParseConfig(std::string(std::istreambuf_iterator<char>(lines), {})).value();

  // What is written is read back, unless a section holds a '/' or the file would start with a UTF-8 mark.
  const auto survives = [](const auto& section) {
    return std::ranges::none_of(section.second,
                                [](auto& entry) { return entry.first.find('/') != std::string::npos; });
  };
  const std::string written = FormatConfig(config);
  if (std::ranges::all_of(config, survives) && !written.starts_with("\xEF\xBB\xBF")) {
    Require(ParseConfig(written) == config);
  }
  // A second check changes nothing and answers the same; a file that forbids recording is left alone.
  const boost::gregorian::date today(2024, 2, 29);
  const ConfigMap before = config;
  const ConfigStatus status = CheckStatus(config, section, family, name, today);
  Require(status != ConfigStatus::kDisabled || config == before);
  const ConfigMap after = config;
  Require(CheckStatus(config, section, family, name, today) == status && config == after);
}
