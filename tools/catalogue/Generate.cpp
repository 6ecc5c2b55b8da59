// generate: writes code that makes the calls declared in a catalogue.
#include <algorithm>

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
  const Source source = SourceOf(options.catalogue);
  const std::string day = Today();
  WarnOfExpired(options.catalogue, catalogue, day);
  for (const Language& language : Languages()) {
    if (std::ranges::find(options.languages, language.name) == options.languages.end()) continue;
    WriteFile(options.folder + "/" + FileName(language, source), Generated(language, catalogue, source, day));
  }
  return kDone;
}

}  // namespace vantra::catalogue
