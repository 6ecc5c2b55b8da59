// What the verbs of vantra-catalog share. Each has a file of its own; main.cpp has the command line.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Catalogue.h"
#include "Render.h"

namespace vantra::catalogue {

enum ExitCode {
  kDone = 0,
  kFindings = 1,  // mistakes in a catalogue; of check: a document that differs from it; of diff: differences
  kUnreadable = 2,  // bad arguments, or something that cannot be read or written; takes precedence
};

struct GenerateOptions {
  std::string catalogue, folder, version;
  std::vector<std::string> languages;
};
struct DocumentOptions {
  std::string catalogue, page;  // standard output when there is no page
};
struct CheckOptions {
  std::string catalogue;
  std::vector<std::string> inputs;
  bool isJson = false;
};
struct DiffOptions {
  std::string before, after;
  bool isJson = false;
};
// Each returns an exit code.
int RunGenerate(const GenerateOptions& options);
int RunDocument(const DocumentOptions& options);
int RunCheck(const CheckOptions& options);
int RunDiff(const DiffOptions& options);

// Thrown when a catalogue has mistakes, after they have been printed.
struct HasMistakes {};

// The catalogue in a file. Its mistakes go to stderr in the form of compilers: FILE:LINE:COLUMN: error:
// ... Throws HasMistakes, or std::runtime_error when the file cannot be read.
[[nodiscard]] Catalogue Load(const std::string& path);
// Throws std::runtime_error when no name in code can be made from the file's name.
[[nodiscard]] Source SourceOf(const std::string& path);

// Today in UTC, or the day of SOURCE_DATE_EPOCH for reproducible builds.
[[nodiscard]] std::string Today();

// Writes the text to the file, whole or not at all; leaves the file alone if it has that text already, and
// refuses the catalogue itself. Throws std::runtime_error.
void WriteFile(const std::string& path, std::string_view text, const std::string& catalogue);

// A sentence on stderr, after the program's name; a warning about a place in a catalogue.
void Say(std::string_view sentence);
void Warn(const std::string& path, Place place, std::string_view sentence);

}  // namespace vantra::catalogue
