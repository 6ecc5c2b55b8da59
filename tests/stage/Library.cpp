#include "stage/Library.h"

#include <windows.h>

#include <cstring>
#include <stdexcept>

#include "stage/Document.h"

namespace vantra::stage {
namespace {

void Require(bool holds, const std::string& what) {
  if (!holds) throw std::runtime_error(what);
}

// The place where the module keeps the address of a function that it imports.
void** FindImport(HMODULE module, const char* function) {
  auto* const base = reinterpret_cast<char*>(module);
  const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
  const auto* headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
  const DWORD imports = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
  for (auto* from = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + imports); from->Name != 0;
       ++from) {
    const auto* names = reinterpret_cast<const IMAGE_THUNK_DATA*>(base + from->OriginalFirstThunk);
    auto** addresses = reinterpret_cast<void**>(base + from->FirstThunk);
    for (; names->u1.AddressOfData != 0; ++names, ++addresses) {
      if (IMAGE_SNAP_BY_ORDINAL(names->u1.Ordinal)) continue;
      const auto* import = reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + names->u1.AddressOfData);
      if (std::strcmp(import->Name, function) == 0) return addresses;
    }
  }
  throw std::runtime_error("the library does not import " + std::string(function));
}

}  // namespace

void Overwrite(void* at, const void* bytes, size_t size) {
  DWORD protection = 0;
  VirtualProtect(at, size, PAGE_EXECUTE_READWRITE, &protection);
  std::memcpy(at, bytes, size);
  VirtualProtect(at, size, protection, &protection);
}

Library::Library(const Path& file) : module_(LoadLibraryW(file.c_str())) {
  Require(module_ != nullptr, file.string() + " does not load, error " + std::to_string(GetLastError()));
  vantra::detail::ForEachFunction(*this, [&](auto& function, const char* name, auto...) {
    Require(vantra::detail::Take(function, GetProcAddress(static_cast<HMODULE>(module_), name)),
            std::string(name) + " is not exported");
  });
}

void Library::ReplaceImport(const char* name, void* by) {
  Overwrite(FindImport(static_cast<HMODULE>(module_), name), &by, sizeof by);
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
