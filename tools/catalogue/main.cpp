// vantra-catalog: generates code and a page from a catalogue of what a host records, and checks documents.
#include <CLI/CLI.hpp>
#include <exception>
#include <functional>
#include <memory>

#include "Verb.h"
#include "inspect/Program.h"

namespace vantra::catalogue {
namespace {

using Run = std::function<int()>;

// Adds a verb to the command line, which runs with its parsed options.
template <class Options>
struct Verb {
  CLI::App* verb;
  std::shared_ptr<Options> options = std::make_shared<Options>();

  Verb(CLI::App& app, Run& chosen, int (*run)(const Options&), const char* name, const char* description)
      : verb(app.add_subcommand(name, description)) {
    verb->callback([run, &chosen, kept = options] { chosen = [run, kept] { return run(*kept); }; });
  }
  void AddCatalogue(std::string& path) const {
    verb->add_option("catalogue", path, "The catalogue, events.toml")->required();
  }
  void AddJson(bool& isJson) const { verb->add_flag("--json", isJson, "One JSON object a line"); }
};

void AddVerbs(CLI::App& app, Run& chosen) {
  std::vector<std::string> names;
  for (const Language& language : Languages()) names.emplace_back(language.name);
  const Verb generate(app, chosen, RunGenerate, "generate",
                      "Write code with a function for everything declared");
  generate.AddCatalogue(generate.options->catalogue);
  generate.verb
      ->add_option("folder", generate.options->folder,
                   "Where the files go; those that would not change are left alone")
      ->required();
  generate.verb->add_option("--to", generate.options->languages, "Languages, with commas between them")
      ->required()
      ->delimiter(',')
      ->check(CLI::IsMember(names));
  generate.verb->add_option(
      "--product-version", generate.options->version,
      "The product's version, which decides what has expired; goes before the catalogue's own");

  const Verb document(app, chosen, RunDocument, "document",
                      "Write the page that says what is recorded and why");
  document.AddCatalogue(document.options->catalogue);
  document.verb->add_option("-o,--output", document.options->page,
                            "File in Markdown, such as telemetry.md; else standard output");

  const Verb check(app, chosen, RunCheck, "check", "Hold documents against the catalogue");
  check.AddCatalogue(check.options->catalogue);
  check.verb
      ->add_option("inputs", check.options->inputs,
                   "Documents (.tmp, .xml, .rdy, each also with .gz) and folders to search through")
      ->required();
  check.AddJson(check.options->isJson);

  const Verb diff(app, chosen, RunDiff, "diff",
                  "Show what another version of a catalogue declares otherwise");
  diff.verb->add_option("before", diff.options->before, "The catalogue as it was")->required();
  diff.verb->add_option("after", diff.options->after, "The catalogue as it is")->required();
  diff.AddJson(diff.options->isJson);
}

}  // namespace
}  // namespace vantra::catalogue

int vantra::Main(std::vector<std::string> arguments) {
  using namespace catalogue;
  CLI::App app("Makes code and a page from a catalogue of what is recorded, and holds documents against it.",
               "vantra-catalog");
  app.allow_windows_style_options(false);
  app.require_subcommand(1);
  app.set_version_flag("--version", CATALOG_VERSION);
  Run chosen;
  AddVerbs(app, chosen);
  try {
    app.parse(std::move(arguments));
    return chosen();
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? kDone : kUnreadable;
  } catch (const HasMistakes&) {
    return kFindings;
  } catch (const std::exception& error) {
    Say(error.what());
    return kUnreadable;
  }
}
