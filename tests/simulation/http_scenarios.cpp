// Files that come and go by HTTP, and calls of a web service.
//
// A download that reports success has put into the file what the server sent, which is the whole page;
// one that fails leaves the file as it was. A kept weakness is allowed for: an answer that breaks off
// counts as ended there, so what had come until then is what the file, or the caller, has.
#include <optional>
#include <string>

#include "base/log_port.h"
#include "orsincore/network.h"
#include "tests/simulation/beside.h"
#include "tests/simulation/library_session.h"
#include "tests/simulation/scenario.h"

namespace orsin::simulation {
namespace {

constexpr char kDirectory[] = "D:\\downloads";
constexpr std::uint64_t kChunk = 8192;  // What is read at a time.
constexpr int kOk = 200;

std::string url_of(const std::string& path) {
  return "http://server" + path;
}

// Around a chunk, around what is committed at a time, and empty.
std::uint64_t chosen_size(Random& choice) {
  const std::uint64_t sizes[] = {
      0,      1,          choice.below(kChunk), kChunk - 1,
      kChunk, kChunk + 1, 7 * kChunk,           choice.below(40 * kChunk)};
  return choice.one_of(sizes);
}

int chosen_status(Random& choice) {
  constexpr int kStatuses[] = {kOk, kOk, kOk, 404, 500};
  return choice.one_of(kStatuses);
}

Page& put_page(Pass& pass, const std::string& path, std::uint64_t name) {
  Page& page = pass.it.network.pages[path];
  page.status = chosen_status(pass.choice);
  page.body = Content::made_of(name, chosen_size(pass.choice));
  return page;
}

std::string sent_by(const Page& page) {
  return page.body.text().substr(0, page.sent);
}

bool is_whole(const Page& page) {
  return page.sent == page.body.size();
}

// A page on its way to a file that may be there already.
class Download {
 public:
  Download(Pass& pass, const std::string& name)
      : it_(pass.it),
        url_(url_of("/" + name)),
        file_(std::string(kDirectory) + "\\" + name),
        page_(put_page(pass, "/" + name, name.size())) {
    it_.disk.make_directories(kDirectory);
    if (pass.choice.one_in(2)) {
      it_.disk.put(file_, Content::made_of(99, chosen_size(pass.choice)));
    }
    old_ = text();
  }

  void run() {
    const Inside library;
    is_done_ = ov_http_socket::ReadFile(url_.c_str(), file_.c_str());
  }

  void judge(const Pass& pass, bool has_complained) const {
    pass.expect_success(is_done_ || page_.status != kOk, "download", page_.status);
    if (!is_done_) {
      ORSIN_EXPECT(has_complained, "a download failed, and no line says so");
      ORSIN_EXPECT(text() == old_, "a download failed, and %s is another one", file_.c_str());
      return;
    }
    ORSIN_EXPECT(page_.status == kOk, "a page of status %d became a file", page_.status);
    ORSIN_EXPECT(is_whole(page_) || page_.has_broken_off, "a page was not read to its end");
    ORSIN_EXPECT(text() == sent_by(page_), "%s holds other bytes than were sent", file_.c_str());
  }

 private:
  // Of the file; nothing when it is not there.
  [[nodiscard]] std::optional<std::string> text() const {
    const auto node = it_.disk.find(file_);
    return node != nullptr ? std::optional(node->content.text()) : std::nullopt;
  }

  Machine& it_;
  std::string url_;
  std::string file_;
  Page& page_;
  std::optional<std::string> old_;
  bool is_done_ = false;
};

void download(Pass& pass) {
  Download one(pass, "take1.mov");
  Download other(pass, "picture.png");
  const bool has_other = pass.choice.one_in(2);
  LibrarySession session;
  {
    std::optional<Beside> beside;
    if (has_other) {
      beside.emplace(pass, [&other] { other.run(); });
    }
    one.run();
  }
  const bool has_complained = session.has_complained();
  one.judge(pass, has_complained);
  if (has_other) {
    other.judge(pass, has_complained);
  }
  const auto left = pass.it.disk.find(kDirectory)->entries.size();
  ORSIN_EXPECT(left <= 2, "a download leaves %zu files", left);
}

// Only what leaves in one piece counts as done, and an empty file is none; by contract a file that
// cannot be measured, or for which there is no memory, needs no line.
void upload(Pass& pass) {
  const std::string file = std::string(kDirectory) + "\\notes.txt";
  const Content content = Content::made_of(5, chosen_size(pass.choice) + 1);
  pass.it.disk.put(file, Content::made_of(5, content.size()));
  Page& page = pass.it.network.pages["/notes"];
  page.status = chosen_status(pass.choice);
  page.requests = 0;
  const std::string url = url_of("/notes");
  LibrarySession session;
  bool is_done = false;
  {
    const Inside library;
    is_done = ov_http_socket::WriteFile(url.c_str(), file.c_str());
  }
  pass.expect_success(is_done || page.status != kOk, "upload", page.status);
  if (is_done) {
    ORSIN_EXPECT(page.taken == content.text(), "the server has other bytes than the file");
  } else {
    ORSIN_EXPECT(session.has_warned() || page.requests == 0,
                 "an upload failed, and no line says so");
  }
}

}  // namespace

void move_file_by_http(Pass& pass) {
  if (pass.choice.one_in(3)) {
    upload(pass);
  } else {
    download(pass);
  }
}

namespace {

// The members write no lines: whoever gets nothing finds out from the last error. The network's own codes
// have no text.
void expect_reason() {
  ORSIN_EXPECT(port::last_system_error() != 0, "a call failed, and nothing says why");
}

void get_data(Pass& pass, ov_http_socket& socket, ov_http_request_type type) {
  Page& page = put_page(pass, "/service", 11);
  const std::string data = Content::made_of(12, pass.choice.below(3000)).text();
  const std::string url = url_of("/service");
  unsigned long long bytes = 0;
  const char* answer = nullptr;
  port::set_last_system_error(0);
  {
    const Inside library;
    answer = socket.GetHttpData(url.c_str(), type, data.data(), static_cast<int>(data.size()),
                                nullptr, &bytes);
  }
  pass.expect_success(answer != nullptr, "call", type);
  if (answer == nullptr) {
    expect_reason();
    return;
  }
  ORSIN_EXPECT(is_whole(page) || page.has_broken_off, "an answer was not read to its end");
  ORSIN_EXPECT(std::string(answer, bytes) == sent_by(page), "an answer holds other bytes");
  ORSIN_EXPECT(answer[bytes] == '\0', "an answer is not terminated");
  ORSIN_EXPECT(type == OV_HTTP_GET || page.taken == data, "the server has another request");
  const int status = socket.GetStatusCode();
  pass.expect_success(status == page.status, "status", status);
  ORSIN_EXPECT(status == page.status || status == 0, "a status of %d became %d", page.status,
               status);
}

// The count is the last write's, and the whole only when everything left in one piece.
void put_data(Pass& pass, ov_http_socket& socket, ov_http_request_type type) {
  Page& page = put_page(pass, "/store", 13);
  std::string payload = Content::made_of(14, 1 + pass.choice.below(3 * kChunk)).text();
  const std::string url = url_of("/store");
  const int size = static_cast<int>(payload.size());
  int written = 0;
  port::set_last_system_error(0);
  {
    const Inside library;
    written = socket.PutHttpData(url.c_str(), reinterpret_cast<unsigned char*>(payload.data()),
                                 size, type, nullptr, 0, nullptr);
  }
  pass.expect_success(written == size, "payload", written);
  ORSIN_EXPECT(written != size || page.taken == payload, "the server has another payload");
  if (written < 0) {
    expect_reason();
  }
}

}  // namespace

void call_by_http(Pass& pass) {
  constexpr ov_http_request_type kTypes[] = {OV_HTTP_GET, OV_HTTP_POST, OV_HTTP_PUT, OV_HTTP_PATCH,
                                             OV_HTTP_DELETE};
  const LibrarySession session;
  std::optional<ov_http_socket> socket;
  {
    const Inside library;
    socket.emplace();
  }
  const auto calls = pass.choice.between(1, 4);
  for (std::uint64_t i = 0; i < calls; ++i) {
    const ov_http_request_type type = pass.choice.one_of(kTypes);
    if (pass.choice.one_in(4)) {
      put_data(pass, *socket, type);
    } else {
      get_data(pass, *socket, type);
    }
  }
  const Inside library;
  socket.reset();
}

}  // namespace orsin::simulation
