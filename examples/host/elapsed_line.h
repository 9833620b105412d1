// One line that shows that a call which cannot report its progress is still waiting.
#pragma once

#include "orsincore/threads.h"

namespace host {

/// Rewrites the line on a console from a thread of its own until it ends; silent anywhere else.
class ElapsedLine {
 public:
  ElapsedLine();
  ~ElapsedLine();
  ElapsedLine(const ElapsedLine&) = delete;
  ElapsedLine& operator=(const ElapsedLine&) = delete;

  [[nodiscard]] double seconds() const;

 private:
  static void run(void* line);
  void rewrite_until_done();

  double started_;
  __mutex_str* mutex_ = nullptr;
  __cond_str* ended_ = nullptr;
  bool done_ = false;  // Guarded by the mutex.
  bool visible_;
  unsigned int thread_ = 0;
};

}  // namespace host
