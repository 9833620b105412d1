// The HTTP client against a bare loop of the same platform calls, and against libcurl.
//
// Through real servers on loopback: "./dev bench http" starts them. The large file is read in
// chunks of 8192 bytes; the bare loop throws them away, the client keeps them; libcurl keeps them
// in a string that grows by itself. One client, one session and one libcurl handle serve all
// rounds, as they would in an application; the client's first round also pays for its pages, so
// look at medians. A good result: the client is as fast as 0.95 of the bare loop and 0.8 of
// libcurl, and a small request costs at most 1.05 of the bare calls.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <string>

#include "base/win/windows.h"
#include "orsincore/network.h"

#include <wininet.h>

#ifdef ORSIN_RIVAL_CURL
// After the Windows headers, or the sockets' newer header comes too late.
#include <curl/curl.h>
#endif

namespace {

constexpr std::int64_t kLargeBytes = 268435456;
constexpr DWORD kChunkBytes = 8192;
constexpr DWORD kGetFlags = INTERNET_FLAG_HYPERLINK | INTERNET_FLAG_PRAGMA_NOCACHE;

std::string server_url(const char* path) {
  const char* port = std::getenv("ORSIN_HTTP_PORT");
  return port == nullptr ? "" : std::string("http://127.0.0.1:") + port + path;
}

// The URL, or an empty one after the benchmark has been called off.
std::string url_or_skip(benchmark::State& state, const char* path) {
  const std::string url = server_url(path);
  if (url.empty()) {
    state.SkipWithError("needs the servers of tests/net/with-servers");
  }
  return url;
}

std::int64_t bare_get(HINTERNET session, const char* url) {
  HINTERNET request = InternetOpenUrlA(session, url, nullptr, 0, kGetFlags, 0);
  std::int64_t total = 0;
  char chunk[kChunkBytes];
  DWORD bytes = 0;
  while (InternetReadFile(request, chunk, kChunkBytes, &bytes) != FALSE && bytes > 0) {
    total += bytes;
  }
  InternetCloseHandle(request);
  return total;
}

std::int64_t client_get(ov_http_socket& client, const char* url) {
  unsigned long long bytes = 0;
  benchmark::DoNotOptimize(client.GetHttpData(url, OV_HTTP_GET, nullptr, -1, nullptr, &bytes));
  return static_cast<std::int64_t>(bytes);
}

#ifdef ORSIN_RIVAL_CURL
std::size_t append_to_string(char* data, std::size_t size, std::size_t count, void* user) {
  static_cast<std::string*>(user)->append(data, size * count);
  return size * count;
}

std::int64_t curl_get(CURL* curl, const char* url) {
  std::string body;
  curl_easy_setopt(curl, CURLOPT_URL, url);
  curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, append_to_string);
  curl_easy_setopt(curl, CURLOPT_WRITEDATA, &body);
  return curl_easy_perform(curl) == CURLE_OK ? static_cast<std::int64_t>(body.size()) : -1;
}
#endif

// Runs `get` on one URL until the benchmark has seen enough; each answer must be whole.
template <typename Get>
void measure(benchmark::State& state, const char* path, std::int64_t size, Get get) {
  const std::string url = url_or_skip(state, path);
  if (url.empty()) {
    return;
  }
  for (auto _ : state) {
    if (get(url.c_str()) != size) {
      state.SkipWithError("an answer was not whole");
      break;
    }
  }
  state.SetBytesProcessed(state.iterations() * size);
  state.SetItemsProcessed(state.iterations());
}

constexpr const char* kLargePath = "/268435456";
constexpr const char* kSmallPath = "/small";
constexpr std::int64_t kSmallBytes = 5;
constexpr int kSmallRequests = 1500;  // A round; seven rounds make 10,000.

void measure_bare(benchmark::State& state, const char* path, std::int64_t size) {
  static HINTERNET session =
      InternetOpenA("KORVANE", INTERNET_OPEN_TYPE_PRECONFIG, nullptr, nullptr, 0);
  measure(state, path, size, [](const char* url) { return bare_get(session, url); });
}

void measure_client(benchmark::State& state, const char* path, std::int64_t size) {
  static ov_http_socket client;
  measure(state, path, size, [](const char* url) { return client_get(client, url); });
}

#ifdef ORSIN_RIVAL_CURL
void measure_curl(benchmark::State& state, const char* path, std::int64_t size) {
  static CURL* curl = [] {
    curl_global_init(CURL_GLOBAL_ALL);
    return curl_easy_init();
  }();
  measure(state, path, size, [](const char* url) { return curl_get(curl, url); });
}
#endif

void Get256MiB_Orsin(benchmark::State& state) {
  measure_client(state, kLargePath, kLargeBytes);
}
BENCHMARK(Get256MiB_Orsin)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();

void Get256MiB_BareLoop(benchmark::State& state) {
  measure_bare(state, kLargePath, kLargeBytes);
}
BENCHMARK(Get256MiB_BareLoop)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();

#ifdef ORSIN_RIVAL_CURL
void Get256MiB_Curl(benchmark::State& state) {
  measure_curl(state, kLargePath, kLargeBytes);
}
BENCHMARK(Get256MiB_Curl)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();
#endif

void SmallGet_Orsin(benchmark::State& state) {
  measure_client(state, kSmallPath, kSmallBytes);
}
BENCHMARK(SmallGet_Orsin)->Iterations(kSmallRequests)->UseRealTime();

void SmallGet_BareCalls(benchmark::State& state) {
  measure_bare(state, kSmallPath, kSmallBytes);
}
BENCHMARK(SmallGet_BareCalls)->Iterations(kSmallRequests)->UseRealTime();

}  // namespace
