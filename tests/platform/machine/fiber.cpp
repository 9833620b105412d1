#include "tests/platform/machine/fiber.h"

#include <cxxabi.h>
#include <pthread.h>
#include <sys/mman.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

extern "C" {
// Pushes what the calling convention keeps, stores the stack's top, takes the other's, pops.
void orsin_switch_stack(void** top, void* other_top);

// AddressSanitizer's, which has to know whose stack is whose.
void __sanitizer_start_switch_fiber(void** fake_stack, const void* bottom, std::size_t size);
void __sanitizer_finish_switch_fiber(void* fake_stack, const void** old_bottom,
                                     std::size_t* old_size);
void __sanitizer_symbolize_pc(void* address, const char* format, char* text, std::size_t size);
}

asm(R"(
.text
.globl orsin_switch_stack
.type orsin_switch_stack, @function
orsin_switch_stack:
  pushq %rbp
  pushq %rbx
  pushq %r12
  pushq %r13
  pushq %r14
  pushq %r15
  movq %rsp, (%rdi)
  movq %rsi, %rsp
  popq %r15
  popq %r14
  popq %r13
  popq %r12
  popq %rbx
  popq %rbp
  ret
.size orsin_switch_stack, .-orsin_switch_stack
)");

namespace orsin::simulation {
namespace {

constexpr int kSavedRegisters = 6;
constexpr std::size_t kGuardBytes = 4096;

Fiber* current = nullptr;

}  // namespace

Fiber::Fiber() {
  pthread_attr_t attributes;
  void* lowest = nullptr;
  pthread_getattr_np(pthread_self(), &attributes);
  pthread_attr_getstack(&attributes, &lowest, &size_);
  pthread_attr_destroy(&attributes);
  bottom_ = lowest;
  current = this;
}

Fiber::Fiber(void (*entry)(void*), void* argument) : entry_(entry), argument_(argument) {
  stack_ = static_cast<unsigned char*>(::mmap(nullptr, kStackBytes, PROT_READ | PROT_WRITE,
                                              MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0));
  if (stack_ == MAP_FAILED) {
    std::abort();
  }
  ::mprotect(stack_, kGuardBytes, PROT_NONE);
  bottom_ = stack_;
  size_ = kStackBytes;
  // As if begin() had been called by nobody: its return address, which the stack's alignment wants,
  // and below it what a switch pops.
  auto* top = reinterpret_cast<void**>(stack_ + kStackBytes) - 1;
  *top = nullptr;
  *--top = reinterpret_cast<void*>(&Fiber::begin);
  for (int i = 0; i < kSavedRegisters; ++i) {
    *--top = nullptr;
  }
  top_ = top;
}

Fiber::~Fiber() {
  if (stack_ != nullptr) {
    ::munmap(stack_, kStackBytes);
  }
}

void Fiber::go_to(Fiber& other) {
  leave_for(other, &fake_stack_);
  arrive();
}

void Fiber::end_in(Fiber& other) {
  leave_for(other, nullptr);
  std::abort();
}

void Fiber::begin() {
  arrive();
  current->entry_(current->argument_);
  std::abort();
}

void Fiber::leave_for(Fiber& other, void** fake_stack) {
  last_error_ = errno;
  std::memcpy(&exceptions_, abi::__cxa_get_globals(), sizeof(exceptions_));
  current = &other;
  __sanitizer_start_switch_fiber(fake_stack, other.bottom_, other.size_);
  orsin_switch_stack(&top_, other.top_);
}

void Fiber::arrive() {
  __sanitizer_finish_switch_fiber(current->fake_stack_, nullptr, nullptr);
  std::memcpy(abi::__cxa_get_globals(), &current->exceptions_, sizeof(exceptions_));
  errno = current->last_error_;
}

// Along the frame pointers, which this project's builds keep.
void Fiber::print_calls() const {
  constexpr int kMostCalls = 24;
  const auto lowest = reinterpret_cast<std::uintptr_t>(bottom_);
  const auto* frame =
      reinterpret_cast<void* const*>(reinterpret_cast<void* const*>(top_)[kSavedRegisters - 1]);
  for (int i = 0; i < kMostCalls; ++i) {
    const auto address = reinterpret_cast<std::uintptr_t>(frame);
    if (address < lowest || address + 2 * sizeof(void*) > lowest + size_) {
      return;
    }
    char text[512] = "?";
    __sanitizer_symbolize_pc(frame[1], "%f %s:%l", text, sizeof(text));
    std::fprintf(stderr, "      %s\n", text);
    frame = static_cast<void* const*>(frame[0]);
  }
}

}  // namespace orsin::simulation
