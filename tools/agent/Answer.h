// What the answer to an upload, or the lack of one, means for the document.
#pragma once

#include <cstdint>
#include <string>

namespace vantra::agent {

// The outcome of one upload.
struct Reply {
  // The HTTP status; 0 when there was no answer, and error says why.
  unsigned status = 0;
  // The platform's error code.
  uint32_t error = 0;
  // Whether the connection had been made before the failure.
  bool wasConnected = false;
  // The Retry-After header; empty when there is none.
  std::string retryAfter;
};

enum class Meaning {
  kStored,         // the server has stored it
  kTryAgain,       // it may succeed later
  kRefused,        // the server will never accept this document
  kMisconfigured,  // the server accepts no document with this configuration
};

[[nodiscard]] Meaning MeaningOf(const Reply& reply);

// A description for the log: what happened, and what to do about it.
[[nodiscard]] std::string Explain(const Reply& reply);

}  // namespace vantra::agent
