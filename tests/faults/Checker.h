// Reads everything that a round has left on disk and judges it by the plan and the journal alone. Knows the
// documented rules, and nothing of the library.
#pragma once

#include "Actor.h"
#include "Faults.h"
#include "stage/Document.h"

namespace vantra::faults {

struct Document {
  stage::Path path;
  std::string user;                    // family and name: which host's and which session's it is
  int index;                           // among the documents of its session; -1 for that of a crash
  std::vector<stage::Record> records;  // "/" stands for an end tag
  [[nodiscard]] bool IsFinal() const { return path.extension() != ".tmp"; }
  [[nodiscard]] bool IsEnded() const { return !records.empty() && records.back().element == "/"; }
};

struct Verdict {
  std::vector<std::string> faults;  // of the library
  uint64_t records = 0;             // read and checked
  uint64_t lost = 0;                // by a rule
};

// What is not the library's must be the same after a round.
void CompareSurroundings(const Plan& plan, const stage::Surroundings& before, Verdict& verdict);

// All documents of the round, each checked by itself.
[[nodiscard]] std::vector<Document> ReadDocuments(const Plan& plan, Verdict& verdict);

// Whether each record whose call has returned is there once, in order and whole, or lost by a rule.
void JudgeHost(const Plan& plan, int host, Made made, const Journal::Host& journal,
               const std::vector<Document>& documents, Verdict& verdict);

}  // namespace vantra::faults
