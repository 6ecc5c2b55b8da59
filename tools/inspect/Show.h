// What show prints of a session, whether it is over or being written.
#pragma once

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

  // What a session is, above its entries. The state is left out while it is not known.
  void Begin(const reader::Facts& facts, std::string_view start, std::string_view state);
  void BeginDocument(std::string_view name, reader::Origin origin);
  void Add(const reader::Record& record) { folder_->Add(record); }
  void AddMalformed(const reader::Document& document, const reader::DocumentReader& reader);
  // Writes what has been added.
  void Flush();

 private:
  void Write(std::string_view text);

  const ShowOptions& options_;
  Output& output_;
  std::string session_;
  std::string text_;
  std::unique_ptr<EntryFolder> folder_;
  bool isFirst_ = true;
  int32_t lastGroup_ = 0;
  std::string lastTime_;
};

// The sessions among these that are meant: those that the names begin, the one that started last, or all.
// Throws std::runtime_error with a sentence when a name is none, or several.
[[nodiscard]] std::vector<size_t> Select(const reader::Sessions& sessions,
                                         const std::vector<std::string>& names, bool isLast);

// Prints a session as it is written, until it ends: the one that is named or that a file is of; else the one
// that started last and has not ended, or else the next to begin.
[[nodiscard]] int Follow(ShowOptions& options, const std::vector<std::string>& names, Output& output);

}  // namespace vantra::inspect
