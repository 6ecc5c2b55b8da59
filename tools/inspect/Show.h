// Prints a session for show, finished or still being written.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "Entries.h"
#include "Output.h"
#include "Verb.h"
#include "reader/DocumentReader.h"
#include "reader/Summary.h"

namespace vantra::inspect {

struct ShowOptions {
  Inputs inputs;
  EntryFilter filter;
  bool isRaw = false;
  bool isJson = false;
  bool isLast = false;
  bool isFollowing = false;
};

class SessionPrinter {
 public:
  SessionPrinter(const ShowOptions& options, Output& output);

  // Prints what the session is, above its entries; the state only if it is known.
  void Begin(const reader::Facts& facts, std::string_view start, std::string_view state);
  void BeginDocument(std::string_view name, reader::Origin origin);
  void Add(const reader::Record& record) { folder_->Add(record); }
  void AddMalformed(const reader::Document& document, const reader::DocumentReader& reader);
  // Writes everything added so far.
  void Flush();

 private:
  void Write(std::string_view text);

  const ShowOptions& options_;
  Output& output_;
  std::string session_;
  // Written before the first entry that the filter takes.
  std::string sessionHead_, documentHead_;
  std::string text_;
  std::unique_ptr<EntryFolder> folder_;
  bool isFirst_ = true;
  int32_t lastGroup_ = 0;
  std::string lastTime_;
};

// The identifier of the session that it begins; throws std::runtime_error with a sentence when there is none,
// or several.
[[nodiscard]] std::string FindNamed(Inputs& inputs, std::string beginning);

// That of the wanted session that started last; empty when there is none.
[[nodiscard]] std::string FindLast(Inputs& inputs,
                                   const std::function<bool(const reader::Summary&)>& isWanted);

// Prints a session while it is written, until it ends: the one named, or that of the file named; else the one
// that started last and has not ended; else the next one to start.
[[nodiscard]] int Follow(ShowOptions& options, const std::vector<std::string>& names, Output& output);

}  // namespace vantra::inspect
