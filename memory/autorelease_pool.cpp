// Kept on purpose: nothing to do here. Callers written for systems with autorelease pools call
// these in pairs everywhere.
#include "orsincore/memory.h"

void* ov_create_autorelease_pool() {
  return nullptr;
}

void ov_release_autorelease_pool(void* /*pool*/) {}
