#include "orsincore/io.h"

//! [example]
// Adds up the big-endian numbers of a file, read ahead in large unbuffered blocks.
bool add_up(const char* name, unsigned long long count, unsigned long long& sum) {
  fReadBuffer reader;
  if (!reader.open_file(name, true, true, true)) {
    return false;  // The log says why.
  }
  reader.set_endian(0);  // Not this machine's own order: swap.
  for (sum = 0; count > 0; --count) {
    sum += reader.read_uint();
  }
  return true;
}
//! [example]
