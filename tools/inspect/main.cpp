// vantra-inspect: shows, checks and exports what was recorded.
#include <exception>
#include <iostream>

#include "Verb.h"
#ifdef _WIN32
#include <fcntl.h>
#include <io.h>

#include "util/Text.h"
#include "util/Windows.h"
#endif

namespace vantra::inspect {
namespace {

constexpr AddVerb kVerbs[] = {
    AddList,   AddShow,    AddCheck, AddExport, AddReport,
#ifdef _WIN32
    AddDoctor, AddPrivacy,
#endif
};

// Arguments in UTF-8, the last one first, as the parser takes them.
int Main(std::vector<std::string> arguments) {
  CLI::App app("Shows, checks and exports usage documents.", "vantra-inspect");
  app.allow_windows_style_options(false);
  app.require_subcommand(1);
  app.set_version_flag("--version", INSPECT_VERSION);
  Run chosen;
  for (const AddVerb add : kVerbs) add(app, chosen);
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
  SetConsoleOutputCP(CP_UTF8);
  _setmode(_fileno(stdout), _O_BINARY);
  std::vector<std::string> arguments;
  for (int i = argc - 1; i > 0; --i) arguments.push_back(vantra::util::ToUtf8(argv[i]));
  return vantra::inspect::Main(std::move(arguments));
}
#else
int main(int argc, char** argv) {
  std::vector<std::string> arguments;
  for (int i = argc - 1; i > 0; --i) arguments.emplace_back(argv[i]);
  return vantra::inspect::Main(std::move(arguments));
}
#endif
