// HTTP requests to servers that answer, that answer badly, and that drop the connection.
#include <array>
#include <string>

#include "orsincore/files.h"
#include "orsincore/network.h"
#include "tests/soak/site.h"

namespace orsin::soak {
namespace {

constexpr int kThreads = 2;

class HttpWork : public Work {
 public:
  HttpWork(const Site& site, int index, std::uint64_t seed)
      : Work("http", seed),
        files_("http://127.0.0.1:" + site.files_port),
        echo_("http://127.0.0.1:" + site.echo_port),
        broken_("http://127.0.0.1:" + site.broken_port),
        path_(site.scratch + "\\download" + std::to_string(index)) {}

  void step() override {
    ov_http_socket socket;
    socket.SetSecureFlag(false);
    for (int i = 0; i < 3; ++i) {
      get(socket);
      post(socket);
    }
    meet_a_broken_server(socket);
    download();
    mp_timedwait(5'000'000);
  }

 private:
  void get(ov_http_socket& socket) {
    constexpr std::array<unsigned long long, 4> kSizes = {1, 8191, 8193,
                                                          16384};  // As they are served.
    const unsigned long long size = kSizes[dice_.below(kSizes.size())];
    const std::string url = files_ + "/" + std::to_string(size);
    unsigned long long bytes = 0;
    const char* data = socket.GetHttpData(url.c_str(), OV_HTTP_GET, nullptr, -1, nullptr, &bytes);
    if (expect(data != nullptr && bytes == size && socket.GetStatusCode() == 200,
               "GET " + url + " brought " + std::to_string(bytes))) {
      count_done();
    }
  }

  void post(ov_http_socket& socket) {
    const std::string body(dice_.below(50'000), 'b');
    const std::string url = echo_ + "/echo";
    unsigned long long bytes = 0;
    const char* data = socket.GetHttpData(url.c_str(), OV_HTTP_POST, body.data(),
                                          static_cast<int>(body.size()), nullptr, &bytes);
    const std::string answer = data != nullptr ? std::string(data, bytes) : std::string();
    if (expect(answer.starts_with("POST /echo") && answer.ends_with(body), "POST lost its body")) {
      count_done();
    }
  }

  void meet_a_broken_server(ov_http_socket& socket) {
    constexpr std::array<const char*, 4> kWays = {"/short", "/nothing", "/garbage", "/unlimited"};
    const std::string way = kWays[dice_.below(kWays.size())];
    unsigned long long bytes = 0;
    const char* data =
        socket.GetHttpData((broken_ + way).c_str(), OV_HTTP_GET, nullptr, -1, nullptr, &bytes);
    if (way == "/unlimited") {
      expect(data != nullptr && bytes == 20000, "a body without a length was not read");
    } else if (way == "/nothing") {
      // Wine takes silence for an empty answer, but has no status either.
      expect((data == nullptr || bytes == 0) && socket.GetStatusCode() == 0,
             "no answer was taken for one");
    }
    count_refused();
  }

  void download() {
    static_cast<void>(file_delete(path_.c_str()));
    const bool is_there = !dice_.once_in(4);
    const std::string url = files_ + (is_there ? "/16384" : "/nowhere");
    const bool loaded = ov_http_socket::ReadFile(url.c_str(), path_.c_str());
    expect(loaded == is_there, loaded ? "ReadFile loaded what is not there" : "ReadFile failed");
    if (loaded) {
      expect(file_size(path_.c_str()) == 16384, "ReadFile left another size");
      count_done();
    } else {
      expect(file_exists(path_.c_str()) == 0, "ReadFile left a file after a failure");
      count_refused();
    }
  }

  std::string files_;
  std::string echo_;
  std::string broken_;
  std::string path_;
};

}  // namespace

Works http_works(const Site& site, std::uint64_t seed) {
  Works works;
  for (int i = 0; i < kThreads; ++i) {
    works.push_back(std::make_unique<HttpWork>(site, i, seed + static_cast<std::uint64_t>(i)));
  }
  return works;
}

}  // namespace orsin::soak
