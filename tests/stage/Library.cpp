#include "stage/Library.h"

#include <windows.h>

#include <stdexcept>

#include "stage/Document.h"

namespace vantra::stage {
namespace {

void Require(bool holds, const std::string& what) {
  if (!holds) throw std::runtime_error(what);
}

}  // namespace

Library::Library(const Path& file) : module_(LoadLibraryW(file.c_str())) {
  Require(module_ != nullptr, file.string() + " does not load, error " + std::to_string(GetLastError()));
  vantra::detail::ForEachFunction(*this, [&](auto& function, const char* name, auto...) {
    Require(vantra::detail::Take(function, GetProcAddress(static_cast<HMODULE>(module_), name)),
            std::string(name) + " is not exported");
  });
}

Library::~Library() { FreeLibrary(static_cast<HMODULE>(module_)); }

void* Library::Open(const char* family, const char* name) {
  void* session = nullptr;
  Require(Initialize("MyProduct", false, nullptr) == 0 && SetOptIn(1) == 0 &&
              StartSession(&session, family, name, "3.1", "412", "en-US") == 0 && session != nullptr,
          std::string("no session of ") + family + " " + name);
  return session;
}

void FillTo(Library& ut, void* session, size_t bytes) {
  const Path file = OpenFile();
  bytes += ReadFile(file).size() - ReadDocument(file).size();
  const auto left = [&] { return bytes - std::filesystem::file_size(file); };
  const auto add = [&](size_t length) {
    const size_t before = left();
    Require(ut.AddToSession(session, "filler", std::string(length, 'x').c_str()) == 0, "a value is refused");
    return before;
  };
  Require(std::filesystem::file_size(file) < bytes, "the document is larger already");
  for (size_t before; (before = left()) > 1000;) {
    add(500);
    Require(left() < before, "the document does not grow");
  }
  const size_t overhead = add(1) - left() - 1;
  add(left() / 2 - overhead);
  add(left() - overhead);
}

}  // namespace vantra::stage
