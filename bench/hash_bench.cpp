// MD5 and SHA-1 against libgcrypt (hand-written assembly), XXH64 against the xxHash library itself.
//
// One mebibyte, warm in the cache, whole digests. Debian's libgcrypt for Windows stands in for
// OpenSSL, whose cross-build takes longer than everything else together. A good result: MD5 1.03
// times, SHA-1 0.97 where the processor has SHA instructions, XXH64 the same.
#include <benchmark/benchmark.h>

#include <vector>

#include "orsincore/text.h"

#ifdef ORSIN_RIVAL_GCRYPT
#include <gcrypt.h>
#endif

#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wshadow"
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wsign-conversion"
#endif
#define XXH_INLINE_ALL
#include <xxhash.h>
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

namespace {

constexpr std::size_t kSize = 1 << 20;

const std::vector<unsigned char>& input() {
  static const std::vector<unsigned char> bytes = [] {
    std::vector<unsigned char> filled(kSize);
    unsigned random = 1;
    for (unsigned char& byte : filled) {
      random = random * 1664525U + 1013904223U;
      byte = static_cast<unsigned char>(random >> 24);
    }
    return filled;
  }();
  return bytes;
}

void count_bytes(benchmark::State& state) {
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(kSize));
}

#ifdef ORSIN_RIVAL_GCRYPT
void gcrypt_digest(benchmark::State& state, gcry_md_algos algorithm) {
  static const bool ready = [] {
    gcry_check_version(nullptr);
    gcry_control(GCRYCTL_DISABLE_SECMEM, 0);
    gcry_control(GCRYCTL_INITIALIZATION_FINISHED, 0);
    return true;
  }();
  benchmark::DoNotOptimize(ready);
  unsigned char digest[20];
  for (auto _ : state) {
    gcry_md_hash_buffer(algorithm, digest, input().data(), kSize);
    benchmark::DoNotOptimize(digest);
  }
  count_bytes(state);
}
#endif

void Md5_Orsin(benchmark::State& state) {
  unsigned char digest[16];
  for (auto _ : state) {
    md5_state_s context;
    ov_md5_init(&context);
    ov_md5_append(&context, input().data(), static_cast<int>(kSize));
    ov_md5_finish(&context, digest);
    benchmark::DoNotOptimize(digest);
  }
  count_bytes(state);
}
BENCHMARK(Md5_Orsin);

#ifdef ORSIN_RIVAL_GCRYPT
void Md5_Gcrypt(benchmark::State& state) {
  gcrypt_digest(state, GCRY_MD_MD5);
}
BENCHMARK(Md5_Gcrypt);
#endif

void Sha1_Orsin(benchmark::State& state) {
  for (auto _ : state) {
    SHA1Context context;
    ov_SHA1Reset(&context);
    ov_SHA1Input(&context, input().data(), static_cast<unsigned>(kSize));
    benchmark::DoNotOptimize(ov_SHA1Result(&context));
    benchmark::DoNotOptimize(context);
  }
  count_bytes(state);
}
BENCHMARK(Sha1_Orsin);

#ifdef ORSIN_RIVAL_GCRYPT
void Sha1_Gcrypt(benchmark::State& state) {
  gcrypt_digest(state, GCRY_MD_SHA1);
}
BENCHMARK(Sha1_Gcrypt);
#endif

void Xxh64_Orsin(benchmark::State& state) {
  auto* context = ov_XXH64_createState();
  for (auto _ : state) {
    ov_XXH64_reset(context, 0);
    ov_XXH64_update(context, input().data(), kSize);
    benchmark::DoNotOptimize(ov_XXH64_digest(context));
  }
  ov_XXH64_freeState(context);
  count_bytes(state);
}
BENCHMARK(Xxh64_Orsin);

void Xxh64_Library(benchmark::State& state) {
  XXH64_state_t context;
  for (auto _ : state) {
    XXH64_reset(&context, 0);
    XXH64_update(&context, input().data(), kSize);
    benchmark::DoNotOptimize(XXH64_digest(&context));
  }
  count_bytes(state);
}
BENCHMARK(Xxh64_Library);

}  // namespace
