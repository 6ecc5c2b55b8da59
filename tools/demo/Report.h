// What the demo prints.
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "LineCounter.h"

struct Summary {
  std::map<events::Language, Counts> byLanguage;
  Counts total;
  std::vector<std::string> unreadable;

  void Add(const CountedFile& file);
};

// Prints a table, the largest language first, and the files that could not be read.
void PrintSummary(const Summary& summary);

// Prints where the run's documents are, and the first and last records of the first one.
void PrintDocuments(const std::vector<std::filesystem::path>& documents);

// Prints why there is no document, and how to find out more.
void PrintNotRecorded(std::string_view reason);
