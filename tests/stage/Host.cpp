#include "stage/Host.h"

#include <iostream>
#include <sstream>
#include <stdexcept>

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

bool HasProcesses(HANDLE job) {
  JOBOBJECT_BASIC_ACCOUNTING_INFORMATION account{};
  QueryInformationJobObject(job, JobObjectBasicAccountingInformation, &account, sizeof account, nullptr);
  return account.ActiveProcesses != 0;
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
    Require(vantra::detail::Take(function, GetProcAddress(module_, name)),
            std::string(name) + " is not exported");
  });
}

void Library::ReplaceImport(const char* name, void* by) {
  Overwrite(FindImport(module_, name), &by, sizeof by);
}

void* Library::Open(const char* family, const char* name) {
  void* session = nullptr;
  Require(Initialize("MyProduct", false, nullptr) == 0 && SetOptIn(1) == 0 &&
              StartSession(&session, family, name, "3.1", "412", "en-US") == 0 && session != nullptr,
          std::string("no session of ") + family + " " + name);
  return session;
}

// host.exe --host <address of the body> <the bytes of its state>
std::optional<int> RunAsHost(int count, char** arguments) {
  if (count < 3 || arguments[1] != std::string_view("--host")) return {};
  try {
    EnterCaseAsHost();
    std::string state;
    for (int i = 3; i < count; ++i) state += static_cast<char>(std::stoi(arguments[i]));
    reinterpret_cast<void (*)(const void*)>(std::stoull(arguments[2]))(state.data());
    return 0;
  } catch (const std::exception& failure) {
    std::cerr << "host: " << failure.what() << "\n";
    return 1;
  }
}

Host::Host(void (*body)(const void*), const void* state, size_t size) {
  std::ostringstream command;
  command << '"' << (CaseFolder() / "host.exe").string() << "\" --host " << reinterpret_cast<uintptr_t>(body);
  for (size_t i = 0; i < size; ++i) command << ' ' << int{static_cast<const unsigned char*>(state)[i]};
  STARTUPINFOA startup{.cb = sizeof startup, .dwFlags = STARTF_USESTDHANDLES};
  startup.hStdOutput = GetStdHandle(STD_OUTPUT_HANDLE), startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
  for (const HANDLE output : {startup.hStdOutput, startup.hStdError})
    SetHandleInformation(output, HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
  PROCESS_INFORMATION process{};
  const auto start = [&] {
    return CreateProcessA(nullptr, command.str().data(), nullptr, nullptr, TRUE, CREATE_SUSPENDED, nullptr,
                          nullptr, &startup, &process) != FALSE;
  };
  // Once in thousands of times Wine fails to start a process while others end.
  if (!start() && (GetLastError() != ERROR_INTERNAL_ERROR || (Sleep(100), !start())))
    throw std::runtime_error("host.exe does not start, error " + std::to_string(GetLastError()));
  process_.reset(process.hProcess);
  // The job holds the agents too. What serves the desktop must not be in it: it would never end.
  GetSystemMetrics(SM_CMONITORS);
  job_.reset(CreateJobObjectW(nullptr, nullptr));
  if (!AssignProcessToJobObject(job_.get(), process.hProcess)) {
    Kill();
    throw std::runtime_error("host.exe gets no job, error " + std::to_string(GetLastError()));
  }
  ResumeThread(process.hThread);
  CloseHandle(process.hThread);
}

uint32_t Host::Wait(std::chrono::seconds limit) {
  const auto end = std::chrono::steady_clock::now() + limit;
  while (HasProcesses(job_.get()) || !HasEnded()) {
    if (std::chrono::steady_clock::now() > end) {
      TerminateJobObject(job_.get(), 1);
      throw std::runtime_error("a host has not ended in time");
    }
    WaitForSingleObject(process_.get(), 1);
  }
  DWORD code = 0;
  GetExitCodeProcess(process_.get(), &code);
  return code;
}

}  // namespace vantra::stage
