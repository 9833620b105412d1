// XXH64 through the xxHash library, compiled into this one file.
#include <cstdlib>
#include <cstring>

#include "base/compiler.h"
#include "orsincore/text.h"

// The library's own code, under its own rules about warnings.
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wsign-conversion"
#pragma GCC diagnostic ignored "-Wshadow"
#if !defined(__clang__)
#pragma GCC diagnostic ignored "-Wrestrict"
#pragma GCC diagnostic ignored "-Wstringop-overflow"
#endif
#endif
#define XXH_INLINE_ALL
#include <xxhash.h>
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif
#undef XXH64_state_s  // Inlined, the library renames its own; here the name is ours.

namespace {

constexpr std::size_t kStateBytes = 88;
static_assert(sizeof(XXH64_state_t) == kStateBytes);

XXH64_state_t* library_state(XXH64_state_s* state) {
  return reinterpret_cast<XXH64_state_t*>(state);
}

const XXH64_state_t* library_state(const XXH64_state_s* state) {
  return reinterpret_cast<const XXH64_state_t*>(state);
}

// The compiler must assume that the data overlaps a state that it was given, and stores every step;
// a copy of its own stays in registers.
ORSIN_FLATTEN XXH_errorcode update_copy(XXH64_state_t& state, const void* data, std::size_t n) {
  XXH64_state_t copy = state;
  const XXH_errorcode result = XXH64_update(&copy, data, n);
  state = copy;
  return result;
}

}  // namespace

XXH64_state_s* ov_XXH64_createState() {
  return static_cast<XXH64_state_s*>(std::malloc(kStateBytes));
}

int ov_XXH64_freeState(XXH64_state_s* state) {
  std::free(state);
  return 0;
}

void ov_XXH64_copyState(XXH64_state_s* dst, const XXH64_state_s* src) {
  std::memcpy(static_cast<void*>(library_state(dst)), library_state(src), kStateBytes);
}

int ov_XXH64_compareState(const XXH64_state_s* a, const XXH64_state_s* b) {
  return std::memcmp(library_state(a), library_state(b), kStateBytes);
}

int ov_XXH64_reset(XXH64_state_s* state, unsigned long long seed) {
  return XXH64_reset(library_state(state), seed);
}

int ov_XXH64_update(XXH64_state_s* state, const void* data, std::size_t n) {
  constexpr std::size_t kWorthACopy = 1024;
  return n < kWorthACopy ? XXH64_update(library_state(state), data, n)
                         : update_copy(*library_state(state), data, n);
}

unsigned long long ov_XXH64_digest(const XXH64_state_s* state) {
  return XXH64_digest(library_state(state));
}
