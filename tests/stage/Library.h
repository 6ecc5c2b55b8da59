// The library under its exported names.
#pragma once

#include "stage/Case.h"
#include "vantra/functions.hpp"

namespace vantra::stage {

// The functions of a Vantra.dll that is loaded as long as this lives.
class Library : public vantra::detail::Functions {
 public:
  // Throws when it does not load or lacks one of them.
  explicit Library(const Path& file = CaseFolder() / "Vantra.dll");
  ~Library();
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  // A session of a user who has opted in: family "Acme", name "Draw" unless told otherwise. Throws when a
  // call fails.
  [[nodiscard]] void* Open(const char* family = "Acme", const char* name = "Draw");

  // Makes the library call another function than the one of that name, which it imports.
  template <class Function>
  void Replace(const char* name, Function* by) {
    ReplaceImport(name, reinterpret_cast<void*>(by));
  }

 private:
  void ReplaceImport(const char* name, void* by);

  void* module_;
};

// Writes to memory that is protected, as code is.
void Overwrite(void* at, const void* bytes, size_t size);

// Adds values to the session until the text in its open file, the only one, has so many bytes exactly.
void FillTo(Library& ut, void* session, size_t bytes);

}  // namespace vantra::stage
