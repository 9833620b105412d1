// UTF conversions against the system's, and base64 decoding against memcpy() and a plain loop.
//
// Conversions: a path of 60 characters and a text of 1 MiB, each in ASCII, in German, in Japanese.
// Rivals: MultiByteToWideChar and WideCharToMultiByte, and simdutf with AVX2, which rejects what is
// not UTF-8 where ours must read it. A good result is 1.3 times the system on every path and 4 times
// on ASCII ones; on large texts half of simdutf on ASCII, and 1.5 times the system in other scripts.
//
// Base64: 64 KiB and 16 MiB of clean text. Rivals: a plain loop with the same meaning, and memcpy()
// of the decoded bytes. A good result is 12 times the loop at 64 KiB, 0.9 of memcpy() at 16 MiB.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "base/win/windows.h"
#include "orsincore/text.h"
#include "tests/text/naive_base64.h"

#ifdef ORSIN_RIVAL_SIMDUTF
#include <simdutf.h>
#endif

namespace {

constexpr const char* kPhrases[] = {
    "C:\\Projects\\Summer\\Reel 12\\take 007 wide.mov\\",
    "C:\\Filme\\M\xC3\xBCnchen\\Gr\xC3\xB6\xC3\x9F"
    "e \xC3\xA4ndern\\",
    "\xE6\x98\xA0\xE7\x94\xBB\xE3\x81\xAE\xE7\xB7\xA8\xE9\x9B\x86\\",
};
constexpr const char* kScripts[] = {"ASCII", "German", "Japanese"};

constexpr std::int64_t kPathBytes = 60;
constexpr std::int64_t kLargeBytes = 1 << 20;

std::string make_text(std::int64_t script, std::int64_t bytes) {
  std::string text;
  while (static_cast<std::int64_t>(text.size()) < bytes) {
    text += kPhrases[script];
  }
  return text;
}

std::vector<wchar_t> widen(const std::string& text) {
  std::vector<wchar_t> wide(text.size() + 1);
  ov_utf8_to_wchar_n(text.c_str(), wide.data(), wide.size());
  return wide;
}

void report(benchmark::State& state, std::size_t bytes) {
  state.SetLabel(kScripts[state.range(0)]);
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
}

void to_wide_orsin(benchmark::State& state) {
  const std::string text = make_text(state.range(0), state.range(1));
  std::vector<wchar_t> wide(text.size() + 1);
  for (auto _ : state) {
    benchmark::DoNotOptimize(ov_utf8_to_wchar_n(text.c_str(), wide.data(), wide.size()));
    benchmark::ClobberMemory();
  }
  report(state, text.size());
}

void to_wide_system(benchmark::State& state) {
  const std::string text = make_text(state.range(0), state.range(1));
  std::vector<wchar_t> wide(text.size() + 1);
  for (auto _ : state) {
    benchmark::DoNotOptimize(MultiByteToWideChar(CP_UTF8, 0, text.c_str(), -1, wide.data(),
                                                 static_cast<int>(wide.size())));
    benchmark::ClobberMemory();
  }
  report(state, text.size());
}

#ifdef ORSIN_RIVAL_SIMDUTF
// Null where the processor cannot run it.
const simdutf::implementation* simdutf_avx2() {
  const simdutf::implementation* found = simdutf::get_available_implementations()["haswell"];
  return found != nullptr && found->supported_by_runtime_system() ? found : nullptr;
}

void to_wide_simdutf(benchmark::State& state) {
  const simdutf::implementation* simdutf = simdutf_avx2();
  if (simdutf == nullptr) {
    state.SkipWithError("no AVX2");
    return;
  }
  const std::string text = make_text(state.range(0), state.range(1));
  std::vector<char16_t> wide(text.size() + 1);
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        simdutf->convert_utf8_to_utf16le(text.data(), text.size(), wide.data()));
    benchmark::ClobberMemory();
  }
  report(state, text.size());
}
#endif

void to_utf8_orsin(benchmark::State& state) {
  const std::string text = make_text(state.range(0), state.range(1));
  const std::vector<wchar_t> wide = widen(text);
  std::vector<char> narrow(text.size() + 1);
  for (auto _ : state) {
    benchmark::DoNotOptimize(ov_wchar_to_utf8(wide.data(), narrow.data(), narrow.size()));
    benchmark::ClobberMemory();
  }
  report(state, text.size());
}

void to_utf8_system(benchmark::State& state) {
  const std::string text = make_text(state.range(0), state.range(1));
  const std::vector<wchar_t> wide = widen(text);
  std::vector<char> narrow(text.size() + 1);
  for (auto _ : state) {
    benchmark::DoNotOptimize(WideCharToMultiByte(CP_UTF8, 0, wide.data(), -1, narrow.data(),
                                                 static_cast<int>(narrow.size()), nullptr,
                                                 nullptr));
    benchmark::ClobberMemory();
  }
  report(state, text.size());
}

#ifdef ORSIN_RIVAL_SIMDUTF
void to_utf8_simdutf(benchmark::State& state) {
  const simdutf::implementation* simdutf = simdutf_avx2();
  if (simdutf == nullptr) {
    state.SkipWithError("no AVX2");
    return;
  }
  const std::string text = make_text(state.range(0), state.range(1));
  std::vector<char16_t> wide(text.size());
  const std::size_t units = simdutf->convert_utf8_to_utf16le(text.data(), text.size(), wide.data());
  std::vector<char> narrow(text.size() + 1);
  for (auto _ : state) {
    benchmark::DoNotOptimize(simdutf->convert_utf16le_to_utf8(wide.data(), units, narrow.data()));
    benchmark::ClobberMemory();
  }
  report(state, text.size());
}
#endif

std::string make_base64(std::int64_t characters) {
  std::string text(static_cast<std::size_t>(characters), '\0');
  std::uint32_t random = 12345;
  for (char& c : text) {
    random = random * 1664525 + 1013904223;
    c = orsin::test::kBase64Alphabet[random >> 26];
  }
  return text;
}

void count_base64(benchmark::State& state) {
  state.SetBytesProcessed(state.iterations() * state.range(0) / 4 * 3);
}

void base64_orsin(benchmark::State& state) {
  const std::string text = make_base64(state.range(0));
  std::vector<char> bytes(text.size() / 4 * 3);
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        ov_base64_decode(text.data(), text.size(), bytes.data(), bytes.size()));
    benchmark::ClobberMemory();
  }
  count_base64(state);
}

// Every rule of the decoder, without its vector instructions.
void base64_plain_loop(benchmark::State& state) {
  const std::string text = make_base64(state.range(0));
  std::vector<char> bytes(text.size() / 4 * 3);
  for (auto _ : state) {
    benchmark::DoNotOptimize(orsin::test::decode_base64_naively(text, bytes.data(), bytes.size()));
    benchmark::ClobberMemory();
  }
  count_base64(state);
}

void base64_memcpy(benchmark::State& state) {
  const std::vector<char> from(static_cast<std::size_t>(state.range(0)) / 4 * 3, 'x');
  std::vector<char> to(from.size());
  for (auto _ : state) {
    benchmark::DoNotOptimize(std::memcpy(to.data(), from.data(), from.size()));
    benchmark::ClobberMemory();
  }
  count_base64(state);
}

void conversions(benchmark::internal::Benchmark* benchmark) {
  benchmark->ArgsProduct({{0, 1, 2}, {kPathBytes, kLargeBytes}});
}

BENCHMARK(to_wide_orsin)->Apply(conversions);
BENCHMARK(to_wide_system)->Apply(conversions);
BENCHMARK(to_utf8_orsin)->Apply(conversions);
BENCHMARK(to_utf8_system)->Apply(conversions);
#ifdef ORSIN_RIVAL_SIMDUTF
BENCHMARK(to_wide_simdutf)->Apply(conversions);
BENCHMARK(to_utf8_simdutf)->Apply(conversions);
#endif
BENCHMARK(base64_orsin)->Arg(64 << 10)->Arg(16 << 20);
BENCHMARK(base64_plain_loop)->Arg(64 << 10)->Arg(16 << 20);
BENCHMARK(base64_memcpy)->Arg(64 << 10)->Arg(16 << 20);

}  // namespace
