#include "stage/Host.h"

#include <windows.h>

#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace vantra::stage {
namespace {

constexpr std::string_view kHostSwitch = "--host";

struct CloseAny {
  void operator()(HANDLE handle) const { CloseHandle(handle); }
};
using Handle = std::unique_ptr<void, CloseAny>;

bool HasProcesses(HANDLE job) {
  JOBOBJECT_BASIC_ACCOUNTING_INFORMATION account{};
  QueryInformationJobObject(job, JobObjectBasicAccountingInformation, &account, sizeof account, nullptr);
  return account.ActiveProcesses != 0;
}

}  // namespace

// host.exe --host <case> <address of the body> <the bytes of its state>
std::optional<int> RunAsHost(int count, char** arguments) {
  if (count < 4 || arguments[1] != kHostSwitch) return {};
  try {
    EnterCaseAsHost(arguments[2]);
    std::string state;
    for (int i = 4; i < count; ++i) state += static_cast<char>(std::stoi(arguments[i]));
    reinterpret_cast<void (*)(const void*)>(std::stoull(arguments[3]))(state.data());
    return 0;
  } catch (const std::exception& failure) {
    std::cerr << "host: " << failure.what() << "\n";
    return 1;
  }
}

struct Host::Handles {
  Handle process;
  Handle job;
};

Host::Host(std::unique_ptr<Handles> handles) : handles_(std::move(handles)) {}
Host::Host(Host&&) noexcept = default;
Host::~Host() {
  if (handles_) TerminateJobObject(handles_->job.get(), 1);
}

void Host::Kill() { TerminateProcess(handles_->process.get(), 1); }

bool Host::HasEnded() const { return WaitForSingleObject(handles_->process.get(), 0) == WAIT_OBJECT_0; }

uint32_t Host::Wait(std::chrono::seconds limit) {
  const auto end = std::chrono::steady_clock::now() + limit;
  while (HasProcesses(handles_->job.get())) {
    if (std::chrono::steady_clock::now() > end) {
      TerminateJobObject(handles_->job.get(), 1);
      throw std::runtime_error("a host has not ended in time");
    }
    WaitForSingleObject(handles_->process.get(), 1);
  }
  DWORD code = 0;
  GetExitCodeProcess(handles_->process.get(), &code);
  return code;
}

Host LaunchHost(void (*body)(const void*), const void* state, size_t size) {
  std::ostringstream command;
  command << '"' << (CaseFolder() / "host.exe").string() << "\" " << kHostSwitch << ' ' << CaseName() << ' '
          << reinterpret_cast<uintptr_t>(body);
  for (size_t i = 0; i < size; ++i)
    command << ' ' << static_cast<unsigned>(static_cast<const unsigned char*>(state)[i]);
  STARTUPINFOA startup{.cb = sizeof startup, .dwFlags = STARTF_USESTDHANDLES};
  for (const auto& [number, handle] :
       {std::pair{STD_OUTPUT_HANDLE, &startup.hStdOutput}, std::pair{STD_ERROR_HANDLE, &startup.hStdError}}) {
    *handle = GetStdHandle(number);
    SetHandleInformation(*handle, HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
  }
  PROCESS_INFORMATION process{};
  const auto start = [&] {
    return CreateProcessA(nullptr, command.str().data(), nullptr, nullptr, TRUE, CREATE_SUSPENDED, nullptr,
                          nullptr, &startup, &process) != FALSE;
  };
  // Once in thousands of times Wine fails to start a process while others end.
  if (!start() && (GetLastError() != ERROR_INTERNAL_ERROR || (Sleep(100), !start()))) {
    throw std::runtime_error("host.exe does not start, error " + std::to_string(GetLastError()));
  }
  // The job holds the agents too. What serves the desktop must not be in it: it would never end.
  GetSystemMetrics(SM_CMONITORS);
  Handle job(CreateJobObjectW(nullptr, nullptr));
  if (!AssignProcessToJobObject(job.get(), process.hProcess)) {
    TerminateProcess(process.hProcess, 1);
    throw std::runtime_error("host.exe gets no job, error " + std::to_string(GetLastError()));
  }
  ResumeThread(process.hThread);
  CloseHandle(process.hThread);
  return Host(std::unique_ptr<Host::Handles>(new Host::Handles{Handle(process.hProcess), std::move(job)}));
}

}  // namespace vantra::stage
