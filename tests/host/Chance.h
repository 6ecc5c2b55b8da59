// Random arguments of calls, each text where readable memory ends.
#pragma once

#include <cstdlib>
#include <iostream>
#include <random>

#include "PageEnd.h"
#include "Rules.h"

namespace vantra::test {

class Chance {
 public:
  Chance() {
    const char* const seed = std::getenv("VANTRA_SEED");
    random_.seed(seed ? static_cast<uint32_t>(std::stoul(seed)) : 1);
    std::cout << "VANTRA_SEED=" << (seed ? seed : "1") << std::endl;
  }

  size_t Below(size_t count) { return random_() % count; }
  template <class T>
  T One(std::initializer_list<T> values) {
    return values.begin()[Below(values.size())];
  }
  // At times missing, often about as long as a limit; of any bytes when there is an empty alphabet.
  Text Some(std::initializer_list<std::string_view> alphabets) {
    if (Below(16) == 0) return {};
    std::string text(One({size_t{0}, Below(6), Below(40), 62 + Below(5), 123 + Below(9), 509 + Below(6)}),
                     'x');
    if (Below(500) == 0) text.resize(100'000, '\\');
    const std::string_view alphabet = One(alphabets);
    const size_t rare = One<size_t>({1, 20, 200});
    for (char& c : text) {
      if (Below(rare) != 0) continue;
      c = alphabet.empty() ? static_cast<char>(14 + Below(242)) : alphabet[Below(alphabet.size())];
    }
    return text;
  }
  Text Any() { return Some({"", "azAZ09_", "&<>\"'\\", "@[`{/: -\t\n", "\\1a%sn"}); }

 private:
  std::mt19937 random_;
};

inline const char* Place(const Text& text) {
  return text ? AtPageEnd({text->c_str(), text->size() + 1}) : nullptr;
}

}  // namespace vantra::test
