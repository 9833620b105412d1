// Kept on purpose: what other systems have autorelease pools for, there is nothing to do for here.
// Required.
#include "orsincore/memory.h"

void* ov_create_autorelease_pool() {
  return nullptr;
}

void ov_release_autorelease_pool(void* /*pool*/) {}
