// A server in a child process, for tests and benchmarks that talk to a real one on 127.0.0.1.
//
// The server is a Python script. It gets the port of a control connection as its argument, connects
// there, says in a line which port it serves on, and ends when the control connection does: with
// this object, or with the test's process, however that ends. (Wine hands no pipes to a Unix
// process, so standard input and output cannot do this.)
#pragma once

#include <cstdint>
#include <string>

namespace orsin::test {

/// The script of a server: beside the programs in an acceptance kit; else where it was written, under the
/// system's name for it, as Wine's Python is the system's own and knows no drives.
[[nodiscard]] std::string server_script(const std::string& name);

class ChildServer {
 public:
  /// Starts the script; says so on standard error when it does not come up. The interpreter is
  /// /usr/bin/python3 by its Wine name, or what the environment variable ORSIN_TEST_PYTHON names.
  explicit ChildServer(const std::string& script);
  ~ChildServer();
  ChildServer(const ChildServer&) = delete;
  ChildServer& operator=(const ChildServer&) = delete;

  /// 0 when the server did not come up.
  [[nodiscard]] int port() const { return port_; }

  /// Ends the server and returns when it is gone.
  void stop();

 private:
  std::uintptr_t control_;
  int port_ = 0;
};

}  // namespace orsin::test
