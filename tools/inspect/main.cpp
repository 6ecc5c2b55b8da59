// vantra-inspect: shows, checks and exports what was recorded.
#include <algorithm>
#include <exception>

#include "Entries.h"
#include "Output.h"
#include "Program.h"
#include "Verb.h"

int vantra::Main(std::vector<std::string> arguments) {
  using namespace inspect;
  CLI::App app("Shows, checks and exports usage documents.", "vantra-inspect");
  app.allow_windows_style_options(false);
  app.require_subcommand(1);
  app.set_version_flag("--version", INSPECT_VERSION);
  Run chosen;
  for (const AddVerb add : {AddList, AddShow, AddCheck, AddExport, AddReport, AddDoctor, AddPrivacy})
    add(app, chosen);
  const auto isCalledSo = [&](const CLI::App* verb) { return verb->check_name(arguments.back()); };
  if (!arguments.empty() && !arguments.back().starts_with('-') &&
      std::ranges::none_of(app.get_subcommands({}), isCalledSo)) {
    Say("no verb is called " + Visible(arguments.back()) + "; --help lists them");
    return kUnreadable;
  }
  try {
    app.parse(std::move(arguments));
    return chosen();
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? kDone : kUnreadable;
  } catch (const std::exception& error) {
    Say(error.what());
    return kUnreadable;
  }
}
