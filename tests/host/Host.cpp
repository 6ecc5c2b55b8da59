#include "Host.h"

#include <windows.h>

#include <sstream>
#include <utility>

#include "Document.h"

namespace vantra::test {
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

// host.exe --host <case> <address of the body> <the bytes of its state>
int RunAsHost(int count, char** arguments) {
  EnterCaseAsHost(arguments[2]);
  std::string state;
  for (int i = 4; i < count; ++i) state += static_cast<char>(std::stoi(arguments[i]));
  reinterpret_cast<void (*)(const void*)>(std::stoull(arguments[3]))(state.data());
  return testing::UnitTest::GetInstance()->ad_hoc_test_result().Failed() ? 1 : 0;
}

}  // namespace

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

uint32_t Host::Wait(std::chrono::seconds limit) {
  const auto end = std::chrono::steady_clock::now() + limit;
  while (HasProcesses(handles_->job.get())) {
    if (std::chrono::steady_clock::now() > end) {
      ADD_FAILURE() << "a host has not ended in time";
      TerminateJobObject(handles_->job.get(), 1);
      break;
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
  if (!CreateProcessA(nullptr, command.str().data(), nullptr, nullptr, TRUE, CREATE_SUSPENDED, nullptr,
                      nullptr, &startup, &process)) {
    ADD_FAILURE() << "host.exe does not start, error " << GetLastError();
  }
  // The job holds the agents too. What serves the desktop must not be in it: it would never end.
  GetSystemMetrics(SM_CMONITORS);
  Handle job(CreateJobObjectW(nullptr, nullptr));
  EXPECT_TRUE(AssignProcessToJobObject(job.get(), process.hProcess));
  ResumeThread(process.hThread);
  CloseHandle(process.hThread);
  return Host(std::unique_ptr<Host::Handles>(new Host::Handles{Handle(process.hProcess), std::move(job)}));
}

Library::Library(const char* file) : module_(LoadLibraryW((CaseFolder() / file).c_str())) {
  EXPECT_NE(module_, nullptr) << "Vantra.dll does not load, error " << GetLastError();
}

Library::~Library() { FreeLibrary(static_cast<HMODULE>(module_)); }

Library::Export Library::Find(const char* name) const {
  void* const address = reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(module_), name));
  EXPECT_NE(address, nullptr) << name << " is not exported";
  return {address};
}

void* Library::Open(const char* family, const char* name) {
  void* session = nullptr;
  EXPECT_EQ(Initialize("MyProduct", false, nullptr), 0);
  EXPECT_EQ(SetOptIn(1), 0);
  EXPECT_EQ(StartSession(&session, family, name, "3.1", "412", "en-US"), 0);
  EXPECT_NE(session, nullptr);
  return session;
}

void FillTo(Library& ut, void* session, size_t bytes) {
  const Path file = OpenFile();
  bytes += ReadFile(file).size() - ReadDocument(file).size();
  const auto left = [&] { return bytes - std::filesystem::file_size(file); };
  const auto add = [&](size_t length) {
    const size_t before = left();
    EXPECT_EQ(ut.AddToSession(session, "filler", std::string(length, 'x').c_str()), 0);
    return before;
  };
  while (left() > 1000) add(500);
  const size_t overhead = add(1) - left() - 1;
  add(left() / 2 - overhead);
  add(left() - overhead);
}

}  // namespace vantra::test

int main(int count, char** arguments) {
  const bool isHost = count > 3 && arguments[1] == vantra::test::kHostSwitch;
  testing::InitGoogleTest(&count, arguments);
  return isHost ? vantra::test::RunAsHost(count, arguments) : RUN_ALL_TESTS();
}
