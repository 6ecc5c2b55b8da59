// Documents for the measurements, written by the library's own code: sessions as hosts record them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

struct Corpus {
  std::string_view name;
  size_t documents;
  size_t documentSize;
  enum class Texts : uint8_t { Words, Chinese, Escapes } texts;
  bool isObfuscated;
};

// Writes the documents into the folder, which is created. Returns their total size in bytes.
uint64_t Write(const Corpus& corpus, const std::string& folder);
