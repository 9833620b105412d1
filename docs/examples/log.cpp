#include "orsincore/log.h"

//! [example]
void report_take(const char* name, int frames, int dropped) {
  msginfo("%s: %d frames", name, frames);
  if (dropped > 0) {
    msgwarn("%s: %d frames were dropped", name, dropped);
    msgcont("The drive could not keep up.");  // Only where the line above was written.
  }
}
//! [example]
