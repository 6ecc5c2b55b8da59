// generate: writes code that makes the calls declared in a catalogue.
#include <algorithm>
#include <stdexcept>

#include "Names.h"
#include "Rules.h"
#include "Verb.h"

namespace vantra::catalogue {
namespace {

void WarnOfExpired(const std::string& path, const Catalogue& catalogue, std::string_view day) {
  const auto warn = [&](Place place, const std::string& what, const Reasons& reasons) {
    const std::string expiry = ExpiryOf(reasons, catalogue.product.version, day);
    if (!expiry.empty()) Warn(path, place, what + " has expired: " + expiry);
  };
  for (const Value& value : catalogue.values) warn(value.place, value.key, value.reasons);
  for (const Record& record : catalogue.records) {
    warn(record.place, TitleOf(catalogue, record), record.reasons);
    for (const Value& value : record.values) {
      if (!value.reasons.IsUntil(record.reasons))
        warn(value.place, TitleOf(catalogue, record) + ": " + value.key, value.reasons);
    }
  }
}

}  // namespace

int RunGenerate(const GenerateOptions& options) {
  Catalogue catalogue = Load(options.catalogue);
  if (!options.version.empty()) catalogue.product.version = Version::Parse(options.version, false);
  if (!options.version.empty() && !catalogue.product.version)
    throw std::runtime_error("--product-version is \"" + options.version +
                             "\", and that begins with no number");
  const Source source = SourceOf(options.catalogue);
  if (IsTaken(catalogue, JoinedWords({source.stem})))
    throw std::runtime_error("the name of " + options.catalogue + " is taken in code; call it otherwise");
  const std::string day = Today();
  WarnOfExpired(options.catalogue, catalogue, day);
  for (const Language& language : Languages()) {
    if (std::ranges::find(options.languages, language.name) == options.languages.end()) continue;
    const std::string folder = options.folder.empty() ? "." : options.folder;
    WriteFile(folder + "/" + FileName(language, source), Generated(language, catalogue, source, day),
              options.catalogue);
  }
  return kDone;
}

}  // namespace vantra::catalogue
