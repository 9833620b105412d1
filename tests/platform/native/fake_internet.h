// An internet library that does what a test tells it and writes down what it was asked.
//
//   const InternetScript internet;            // Back to a willing library at both ends.
//   internet->chunks = {"hello", " world"};   // What the reads of the next answer return.
//   internet->refusals["connect"] = 12029;    // That call fails with this error code.
//   EXPECT_EQ(internet->calls, Lines{...});   // "connect session1 example.org 80 4000000"
//
// Calls are written as a name and their arguments, flags in hexadecimal; handles are named after
// what they are and numbered in the order in which they were opened. It refuses closed handles, and
// what WinINet refuses of open ones. Native builds have it below the HTTP client's port; under Windows
// it stands in for the functions of WinINet. One thread.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "net/internet_port.h"
#include "tests/platform/internet_rules.h"

namespace orsin::test {

struct FakeInternet {
  struct Write {
    bool done;
    std::uint32_t bytes;
  };

  // The script.
  std::map<std::string, unsigned> refusals;  // By the name of the call.
  std::string status = "200";
  std::deque<std::string>
      chunks;                // At most as long as a read asks for. Then the end, or a refusal.
  std::string cut_chunk;     // What a refused read brings all the same.
  std::deque<Write> writes;  // When they are used up, a write takes everything.

  // What happened so far.
  std::vector<std::string> calls;
  std::map<void*, std::string> open_handles;
  std::string written;  // What the writes that were done took.

  void* open(std::string_view agent);
  bool set_option(void* handle, std::uint32_t option, std::uint32_t value);
  void* open_url(void* session, std::string_view url, std::uint32_t flags);
  bool split_url(std::string_view url, port::UrlParts& parts);
  void* connect(void* session, std::string_view host, std::uint16_t port, std::uint32_t flags);
  void* open_request(void* connection, std::string_view method, std::string_view path,
                     std::uint32_t flags);
  bool send_request(void* request, std::string_view headers, std::string_view body);
  bool query_status(void* request, char* text, std::uint32_t size);
  bool read(void* request, void* buffer, std::uint32_t size, std::uint32_t& bytes);
  bool write(void* request, const void* data, std::uint32_t size, std::uint32_t& bytes);
  void close(void* handle);

 private:
  struct Handle {
    platform::InternetState state;
    void* parent;  // It goes when that is closed.
  };

  [[nodiscard]] bool is(platform::InternetKind kind, void* handle) const;
  [[nodiscard]] bool is_sent(void* request) const;
  [[nodiscard]] bool refuses(const std::string& call);
  [[nodiscard]] std::string name_of(void* handle) const;
  void* add_handle(const platform::InternetState& state, void* parent);
  void close_children(void* handle);
  void record(const std::string& call);

  std::map<void*, Handle> handles_;  // All that were made.
};

/// The library of this process.
FakeInternet& fake_internet();

/// Resets the library at both ends of a test.
class InternetScript {
 public:
  InternetScript() { fake_internet() = {}; }
  ~InternetScript() { fake_internet() = {}; }
  InternetScript(const InternetScript&) = delete;
  InternetScript& operator=(const InternetScript&) = delete;

  FakeInternet* operator->() const { return &fake_internet(); }
};

}  // namespace orsin::test
