// document: the page that says what is recorded, why, and how long it is kept.
#include "Verb.h"
#include "inspect/Output.h"

namespace vantra::catalogue {

int RunDocument(const DocumentOptions& options) {
  const std::string page = Page(Load(options.catalogue), SourceOf(options.catalogue));
  options.page.empty() ? inspect::Output().Write(page) : WriteFile(options.page, page, options.catalogue);
  return kDone;
}

}  // namespace vantra::catalogue
