// vantra-inspect: shows, checks and exports what was recorded.
#include <exception>
#include <iostream>

#include "Entries.h"
#include "Output.h"
#include "Verb.h"
#ifdef _WIN32
#include "util/Text.h"
#endif

namespace vantra::inspect {
namespace {

constexpr AddVerb kVerbs[] = {AddList, AddShow, AddCheck, AddExport, AddReport, AddDoctor, AddPrivacy};

// The arguments are in UTF-8 and in reverse order, as the parser expects.
int Main(std::vector<std::string> arguments) {
  CLI::App app("Shows, checks and exports usage documents.", "vantra-inspect");
  app.allow_windows_style_options(false);
  app.require_subcommand(1);
  app.set_version_flag("--version", INSPECT_VERSION);
  Run chosen;
  for (const AddVerb add : kVerbs) add(app, chosen);
  if (!arguments.empty() && !arguments.back().starts_with('-') &&
      app.get_subcommand_no_throw(arguments.back()) == nullptr) {
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

}  // namespace
}  // namespace vantra::inspect

#ifdef _WIN32
int wmain(int argc, wchar_t** argv) {
  vantra::inspect::PrepareStandardStreams();
  std::vector<std::string> arguments;
  for (int i = argc - 1; i > 0; --i) arguments.push_back(vantra::util::ToUtf8(argv[i]));
  return vantra::inspect::Main(std::move(arguments));
}
#else
int main(int argc, char** argv) {
  vantra::inspect::PrepareStandardStreams();
  std::vector<std::string> arguments;
  for (int i = argc - 1; i > 0; --i) arguments.emplace_back(argv[i]);
  return vantra::inspect::Main(std::move(arguments));
}
#endif
