// What an answer, or the failure to get one, means for a document.
#pragma once

#include <cstdint>
#include <string>

namespace vantra::agent {

// What came of one upload.
struct Reply {
  // Of HTTP; 0 when there was no answer, for which see error.
  unsigned status = 0;
  // The platform's error.
  uint32_t error = 0;
  // Whether the connection stood before it failed.
  bool wasConnected = false;
  // The header of that name; empty when there is none.
  std::string retryAfter;
};

enum class Meaning {
  kStored,         // the server has it
  kTryAgain,       // later, perhaps
  kRefused,        // the server will never take this document
  kMisconfigured,  // the server takes none as things are
};

[[nodiscard]] Meaning MeaningOf(const Reply& reply);

// What happened and what to do about it, for the log.
[[nodiscard]] std::string Explain(const Reply& reply);

}  // namespace vantra::agent
