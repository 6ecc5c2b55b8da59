// What all fuzz targets share. A target defines Run; it ends the process when a promise does not hold.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <string>

#include "PageEnd.h"

// No byte after the input is readable.
void Run(std::string_view input);

inline void Require(bool holds) {
  if (!holds) std::abort();
}

// NOLINTNEXTLINE(misc-definitions-in-headers): a target is one file.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Run({AtPageEnd({reinterpret_cast<const char*>(data), size}), size});
  return 0;
}
