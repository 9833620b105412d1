// UTF conversions against the system's own call, base64 against memcpy() and a plain loop.
//
// Conversions run over path-sized strings (about 60 characters) and long texts (64 KiB), in ASCII
// and in other scripts, through the DLL and with a terminated source, as callers use them. A good
// result: paths 1.3 times the system call in every script and 4 times in ASCII; long texts of other
// scripts 1.5 times. The vector library simdutf is in no Debian 12 package of its own, so for long
// ASCII the limit stands in for it: memcpy() of the bytes that a conversion reads and writes.
//
// Base64: 12 times the plain loop at 64 KiB, 0.9 of memcpy() of the source at 16 MiB.
#include <benchmark/benchmark.h>
#include <windows.h>

#include <array>
#include <cstring>
#include <string>
#include <vector>

#include "orsincore/text.h"

namespace {

constexpr std::size_t kPathBytes = 60;
constexpr std::size_t kLongBytes = 64 * 1024;

// One sample of each script; repeated to the wanted length.
constexpr std::array<const char*, 4> kScripts = {
    R"(D:\Projects\Reel 07\Rushes\A003_C012_take_04.mov )",
    "Gr\xC3\xB6\xC3\x9F"
    "enverh\xC3\xA4ltnisse, d\xC3\xA9j\xC3\xA0 vu ",
    "\xD0\x9F\xD1\x80\xD0\xBE\xD0\xB5\xD0\xBA\xD1\x82 ",
    "\xE6\x98\xA0\xE7\x94\xBB\xE7\xB7\xA8\xE9\x9B\x86",
};
constexpr std::array<const char*, 4> kScriptNames = {"ASCII", "Latin", "Cyrillic", "Han"};

std::string sample_text(benchmark::State& state) {
  const auto script = static_cast<std::size_t>(state.range(0));
  const auto size = static_cast<std::size_t>(state.range(1));
  state.SetLabel(kScriptNames[script]);
  std::string text;
  while (text.size() < size) {
    text += kScripts[script];
  }
  return text;
}

std::wstring wide_text(const std::string& text) {
  std::vector<wchar_t> units(text.size() + 1);
  ov_utf8_to_wchar_n(text.c_str(), units.data(), units.size());
  return units.data();
}

void count_bytes(benchmark::State& state, std::size_t bytes) {
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
}

void Widen_Orsin(benchmark::State& state) {
  const std::string text = sample_text(state);
  std::vector<wchar_t> units(text.size() + 1);
  for (auto _ : state) {
    benchmark::DoNotOptimize(ov_utf8_to_wchar_n(text.c_str(), units.data(), units.size()));
    benchmark::ClobberMemory();
  }
  count_bytes(state, text.size());
}

void Widen_System(benchmark::State& state) {
  const std::string text = sample_text(state);
  std::vector<wchar_t> units(text.size() + 1);
  for (auto _ : state) {
    benchmark::DoNotOptimize(MultiByteToWideChar(CP_UTF8, 0, text.c_str(), -1, units.data(),
                                                 static_cast<int>(units.size())));
    benchmark::ClobberMemory();
  }
  count_bytes(state, text.size());
}

void Narrow_Orsin(benchmark::State& state) {
  const std::string text = sample_text(state);
  const std::wstring wide = wide_text(text);
  std::vector<char> bytes(text.size() + 1);
  for (auto _ : state) {
    benchmark::DoNotOptimize(ov_wchar_to_utf8(wide.c_str(), bytes.data(), bytes.size()));
    benchmark::ClobberMemory();
  }
  count_bytes(state, text.size());
}

void Narrow_System(benchmark::State& state) {
  const std::string text = sample_text(state);
  const std::wstring wide = wide_text(text);
  std::vector<char> bytes(text.size() + 1);
  for (auto _ : state) {
    benchmark::DoNotOptimize(WideCharToMultiByte(CP_UTF8, 0, wide.c_str(), -1, bytes.data(),
                                                 static_cast<int>(bytes.size()), nullptr, nullptr));
    benchmark::ClobberMemory();
  }
  count_bytes(state, text.size());
}

// What a widening of ASCII reads and writes, three bytes a character, as one copy of half of it.
void Widen_CopyLimit(benchmark::State& state) {
  const std::string text = sample_text(state);
  const std::vector<char> from(text.size() * 3 / 2);
  std::vector<char> to(from.size());
  for (auto _ : state) {
    std::memcpy(to.data(), from.data(), from.size());
    benchmark::ClobberMemory();
  }
  count_bytes(state, text.size());
}

void conversion_arguments(benchmark::internal::Benchmark* bench) {
  for (const std::size_t size : {kPathBytes, kLongBytes}) {
    for (std::size_t script = 0; script < kScripts.size(); ++script) {
      bench->Args({static_cast<std::int64_t>(script), static_cast<std::int64_t>(size)});
    }
  }
}

BENCHMARK(Widen_Orsin)->Apply(conversion_arguments);
BENCHMARK(Widen_System)->Apply(conversion_arguments);
BENCHMARK(Widen_CopyLimit)->Args({0, kPathBytes})->Args({0, kLongBytes});
BENCHMARK(Narrow_Orsin)->Apply(conversion_arguments);
BENCHMARK(Narrow_System)->Apply(conversion_arguments);

std::string base64_text(std::size_t size) {
  constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text(size, '\0');
  unsigned random = 1;
  for (char& c : text) {
    random = random * 1664525U + 1013904223U;
    c = kAlphabet[random >> 26];
  }
  return text;
}

// Exactly the library's meaning, one character after the other.
std::size_t plain_decode(const std::array<int, 128>& values, const std::string& text,
                         unsigned char* target, std::size_t room) {
  std::size_t written = 0;
  unsigned group = 0;
  int characters = 0;
  for (const char c : text) {
    if (c == '=') {
      break;
    }
    group = group << 6 | static_cast<unsigned>(values[static_cast<unsigned char>(c) & 0x7F]);
    if (++characters == 4) {
      for (int shift = 16; shift >= 0; shift -= 8) {
        if (written < room) {
          target[written++] = static_cast<unsigned char>(group >> shift);
        }
      }
      group = 0;
      characters = 0;
    }
  }
  return written;
}

void Base64_Orsin(benchmark::State& state) {
  const std::string text = base64_text(static_cast<std::size_t>(state.range(0)));
  std::vector<unsigned char> bytes(text.size() / 4 * 3);
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        ov_base64_decode(text.data(), text.size(), bytes.data(), bytes.size()));
    benchmark::ClobberMemory();
  }
  count_bytes(state, text.size());
}

void Base64_PlainLoop(benchmark::State& state) {
  const std::string text = base64_text(static_cast<std::size_t>(state.range(0)));
  std::array<int, 128> values = {};
  for (int i = 0; i < 64; ++i) {
    values[static_cast<std::size_t>(
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/"[i])] = i;
  }
  std::vector<unsigned char> bytes(text.size() / 4 * 3);
  for (auto _ : state) {
    benchmark::DoNotOptimize(plain_decode(values, text, bytes.data(), bytes.size()));
    benchmark::ClobberMemory();
  }
  count_bytes(state, text.size());
}

void Base64_Memcpy(benchmark::State& state) {
  const std::string text = base64_text(static_cast<std::size_t>(state.range(0)));
  std::vector<unsigned char> bytes(text.size());
  for (auto _ : state) {
    std::memcpy(bytes.data(), text.data(), text.size());
    benchmark::ClobberMemory();
  }
  count_bytes(state, text.size());
}

BENCHMARK(Base64_Orsin)->Arg(64 << 10)->Arg(16 << 20);
BENCHMARK(Base64_PlainLoop)->Arg(64 << 10)->Arg(16 << 20);
BENCHMARK(Base64_Memcpy)->Arg(64 << 10)->Arg(16 << 20);

}  // namespace
