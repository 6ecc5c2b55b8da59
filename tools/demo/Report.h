// What the demo tells its user.
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "LineCounter.h"

struct Summary {
  std::map<std::string_view, Counts> byLanguage;
  Counts total;
  std::vector<std::string> unreadable;

  void Add(const CountedFile& file);
};

// A table, the largest language first, and the files that could not be read.
void PrintSummary(const Summary& summary);

// Where the documents of the run lie, and the first and last records of the first one.
void PrintDocuments(const std::vector<std::filesystem::path>& documents);

// Why there is no document, and where to learn more.
void PrintNotRecorded(std::string_view reason);
