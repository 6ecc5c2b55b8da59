// What other systems than Windows say to the verbs that look at a user's Windows.
#include "Verb.h"

namespace vantra::inspect {
namespace {

void AddRefused(CLI::App& app, Run& chosen, const char* name) {
  CLI::App* const verb = app.add_subcommand(name, "Windows only: run it there, as the user concerned");
  verb->allow_extras();
  verb->callback([name, &chosen] {
    chosen = [name] {
      Say(std::string(name) + " looks at Windows: run it there, as the user concerned");
      return kUnreadable;
    };
  });
}

}  // namespace

void AddDoctor(CLI::App& app, Run& chosen) { AddRefused(app, chosen, "doctor"); }
void AddPrivacy(CLI::App& app, Run& chosen) { AddRefused(app, chosen, "privacy"); }

}  // namespace vantra::inspect
