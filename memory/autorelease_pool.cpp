// Kept on purpose: callers that are also written for systems with autorelease pools bracket their
// threads with these two; here there is nothing to do.
#include "orsincore/memory.h"

void* ov_create_autorelease_pool() {
  return nullptr;
}

void ov_release_autorelease_pool(void* /*pool*/) {}
