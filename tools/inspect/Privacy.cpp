// privacy: shows, exports and erases what is stored about this user on this machine.
#include <cstdio>
#include <iostream>

#include "Entries.h"
#include "Output.h"
#include "Stored.h"
#include "Verb.h"

namespace vantra::inspect {
namespace {

struct Options {
  std::string folder;
  bool isErasing = false;
  bool isAnswered = false;
  bool isJson = false;
};

std::string TextOf(const StoredItem& item) {
  std::string path = item.path;
  if (item.kind == StoredItem::Kind::File)
    return "  " + item.written + std::string("  ").append(Visible(path)) + "  " + Counted(item.size, "byte") +
           "\n";
  if (item.kind == StoredItem::Kind::EmptyKey) return "  " + Visible(path) + ", an empty key\n";
  if (!path.empty()) path += '\\';
  return "  " + Visible(path + (item.name.empty() ? "(default)" : item.name)) + " = " + Visible(item.data) +
         "\n";
}

void Show(const std::vector<Place>& places, const std::vector<StoredItem>& items, bool isJson,
          Output& output) {
  for (size_t i = 0; i < places.size(); ++i) {
    std::string text;
    size_t count = 0;
    for (const StoredItem& item : items) {
      if (item.place != i) continue;
      if (item.kind != StoredItem::Kind::EmptyKey) ++count;
      text += isJson ? JsonOf(item, places[i]) : TextOf(item);
    }
    if (!isJson)
      text.insert(0, places[i].path + ": " + Counted(count, places[i].isKey ? "value" : "file") + "\n");
    output.Write(text);
  }
}

bool Report(const std::vector<Failure>& failures, std::string_view what) {
  for (const Failure& failure : failures)
    Say(std::string(what).append(" ").append(failure.path).append(": ").append(failure.reason));
  return failures.empty();
}

// Whether the user has answered with the word yes.
bool Ask() {
  std::fputs(
      "Erase all of this? It cannot be undone, and programs that record should be closed first. (yes/no) ",
      stderr);
  std::string answer;
  std::getline(std::cin, answer);
  if (answer.ends_with('\r')) answer.pop_back();
  return answer == "yes";
}

int RunPrivacy(const Options& options) {
  if (options.isAnswered && !options.isErasing) {
    Say("--yes answers the question of --erase, which is not given");
    return kUnreadable;
  }
  const std::vector<Place> places = ListPlaces();
  const std::vector<StoredItem> items = ListStored(places);
  Output output;
  Show(places, items, options.isJson, output);
  if (!options.folder.empty()) {
    if (!Report(Export(places, items, options.folder), "cannot export")) return kUnreadable;
    Say("exported to " + options.folder);
  }
  if (!options.isErasing) return kDone;
  if (!options.isAnswered && !Ask()) {
    Say("nothing was erased");
    return kFindings;
  }
  if (!Report(Erase(places), "cannot erase")) return kUnreadable;
  Say("all of this was erased");
  return kDone;
}

}  // namespace

void AddPrivacy(CLI::App& app, Run& chosen) {
  const auto options = std::make_shared<Options>();
  CLI::App* const verb =
      app.add_subcommand("privacy", "Show, export and erase all that is stored about you on this machine");
  verb->add_option("--export", options->folder,
                   "Copy all of it into this folder, documents as readable text");
  verb->add_flag("--erase", options->isErasing,
                 "Delete all of it, after a question; after --export when both are given");
  verb->add_flag("--yes", options->isAnswered, "Answer the question of --erase with yes");
  verb->add_flag("--json", options->isJson, "One JSON object a line");
  verb->callback([options, &chosen] { chosen = [options] { return RunPrivacy(*options); }; });
}

}  // namespace vantra::inspect
