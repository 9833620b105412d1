// A stack that a simulated thread runs on, and the step from one to another.
//
// All threads of a simulated machine share one thread of the real one: exactly one runs, and who does
// is nobody's choice but the machine's. What belongs to a thread besides its stack goes with it: the
// last error, and the exceptions that it handles. The sanitizer is told.
#pragma once

#include <cstddef>

namespace orsin::simulation {

class Fiber {
 public:
  /// The stack that runs already.
  Fiber();

  /// `entry` never returns: at its end it goes over to another fiber for good.
  Fiber(void (*entry)(void*), void* argument);

  ~Fiber();
  Fiber(const Fiber&) = delete;
  Fiber& operator=(const Fiber&) = delete;

  /// Comes back when somebody goes over to this fiber again.
  void go_to(Fiber& other);

  /// The same, and nobody comes back.
  [[noreturn]] void end_in(Fiber& other);

  /// Prints the functions that a fiber which does not run stands in, innermost first, a line each.
  void print_calls() const;

 private:
  struct Exceptions {
    void* caught = nullptr;
    unsigned uncaught = 0;
  };

  static void begin();
  void leave_for(Fiber& other, void** fake_stack);
  static void arrive();

  static constexpr std::size_t kStackBytes = std::size_t{512} << 10;

  unsigned char* stack_ = nullptr;  // None of its own for the one that ran already.
  const void* bottom_ = nullptr;    // As the sanitizer wants it.
  std::size_t size_ = 0;
  void* top_ = nullptr;  // Where it goes on.
  void (*entry_)(void*) = nullptr;
  void* argument_ = nullptr;
  int last_error_ = 0;
  Exceptions exceptions_;
  void* fake_stack_ = nullptr;
};

}  // namespace orsin::simulation
