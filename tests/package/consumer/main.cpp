// Starts the installed library, counts some characters with it, and closes it down.
#include <cstdio>

#include "orsincore/orsincore.h"

int main() {
  if (!ov_fast_initialize("Consumer", false)) {
    return 1;
  }
  std::printf("%d characters\n", static_cast<int>(ov_utf8_strlen("Gr\xC3\xBC\xC3\x9F"
                                                                 "e")));
  ov_closedown();
  return 0;
}
