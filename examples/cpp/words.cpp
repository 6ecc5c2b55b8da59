// A host in C++: counts the lines, words and bytes of a text file, and records that it did so. It loads
// Vantra.dll at run time, so it also runs where the library is missing.
#include <cctype>
#include <cstddef>
#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>
#include <string>
#include <vantra/load.hpp>

namespace {

struct Counts {
  size_t lines = 0, words = 0, bytes = 0;
};

std::optional<Counts> Count(const char* path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) return std::nullopt;
  Counts counts;
  bool inWord = false;
  for (auto c = std::istreambuf_iterator<char>(file); c != std::istreambuf_iterator<char>(); ++c) {
    const bool isSpace = std::isspace(static_cast<unsigned char>(*c)) != 0;
    ++counts.bytes;
    if (*c == '\n') ++counts.lines;
    if (!isSpace && !inWord) ++counts.words;
    inWord = !isSpace;
  }
  return counts;
}

// Asks a user who has not answered yet. Vantra stores the answer.
void AskForConsent(const vantra::Library& library) {
  if (!library.IsPresent() || library.GetOptIn() != vantra::OptIn::kNoChoice) return;
  std::cout << "May Words record how it is used? (y/n) " << std::flush;
  std::string answer;
  if (!std::getline(std::cin, answer)) return;
  const auto choice = answer.starts_with('y') ? vantra::OptIn::kIn : vantra::OptIn::kOut;
  if (!library.SetOptIn(choice)) std::cerr << "words: your choice could not be kept\n";
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: words FILE\n";
    return 2;
  }
  const vantra::Library library = vantra::Load();
  library.Initialize("AcmeWords", vantra::CrashHandling::kOn);
  AskForConsent(library);

  // Without consent or without the library, the session records nothing. It closes itself.
  const auto session = library.StartSession({.family = "Acme", .name = "Words", .version = "1.0"});
  const char* const path = argv[1];
  const auto counts = Count(path);
  if (!counts) {
    session.LogEvent("File", "Text", "OpenFailed", path);
    std::cerr << "words: cannot open " << path << '\n';
    return 1;
  }
  session.LogEvent("File", "Text", "Count", path);
  const auto group = session.NewDataGroup("File", "Text", "Counts", path);
  group.Add("Lines", counts->lines);
  group.Add("Words", counts->words);
  group.Add("Bytes", counts->bytes);
  std::cout << counts->lines << ' ' << counts->words << ' ' << counts->bytes << '\n';
  return 0;
}
