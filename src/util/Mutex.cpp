#include "util/Mutex.h"

namespace vantra::util {

constinit Mutex* Mutex::instance_ = nullptr;

struct Mutex::Initialiser {
  Initialiser() noexcept {
    try {
      instance_ = &GlobalItems::Instance().Add(std::unique_ptr<Mutex>(new Mutex));
    } catch (...) {
      // Without a lock the calls run unlocked.
    }
  }
};

// Runs before the loggers' initialisers, so the lock is also deleted before them.
[[gnu::init_priority(200)]] const Mutex::Initialiser Mutex::initialiser_;

Mutex::~Mutex() {
  instance_ = nullptr;
  DeleteCriticalSection(&section_);
}

}  // namespace vantra::util

// The system calls this when it unwinds a frame of VantraCallLocked.
extern "C" [[gnu::used]] EXCEPTION_DISPOSITION VantraLeaveLock(EXCEPTION_RECORD* /*exception*/,
                                                               void* /*frame*/, CONTEXT* /*context*/,
                                                               void* /*dispatcher*/) {
  if (vantra::util::Mutex* const mutex = vantra::util::Mutex::Instance()) mutex->Unlock();
  return ExceptionContinueSearch;
}

// The compiler's own clean-up runs for C++ exceptions only, so the handler is registered by hand. The nop
// keeps the return address out of the epilogue, for which the system calls no handler.
asm(R"(
  .text
  .globl VantraCallLocked
  .def VantraCallLocked; .scl 2; .type 32; .endef
  .p2align 4
  .seh_proc VantraCallLocked
VantraCallLocked:
  subq $40, %rsp
  .seh_stackalloc 40
  .seh_endprologue
  .seh_handler VantraLeaveLock, @unwind
  movq %rcx, %rax
  movq %rdx, %rcx
  call *%rax
  nop
  addq $40, %rsp
  ret
  .seh_endproc
)");
