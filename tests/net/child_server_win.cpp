#include "tests/net/child_server_win.h"

#include <cstdio>
#include <cstdlib>

#include "base/win/windows.h"
#include "tests/support/kit_path.h"

#include <winsock2.h>

namespace orsin::test {
namespace {

sockaddr* generic(sockaddr_in& address) {
  return reinterpret_cast<sockaddr*>(&address);
}

// A socket that listens on 127.0.0.1, on a port that the system chooses. Port 0: there is none.
SOCKET listen_somewhere(int& port) {
  const SOCKET listener = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  int size = sizeof(address);
  const bool listens = bind(listener, generic(address), size) == 0 && listen(listener, 1) == 0 &&
                       getsockname(listener, generic(address), &size) == 0;
  port = listens ? ntohs(address.sin_port) : 0;
  return listener;
}

bool start(const std::string& script, int control_port) {
  const char* python = std::getenv("ORSIN_TEST_PYTHON");
  const std::string program = python != nullptr ? python : R"(Z:\usr\bin\python3)";
  std::string line = "\"" + program + "\" \"" + script + "\" " + std::to_string(control_port);
  STARTUPINFOA startup = {};
  startup.cb = sizeof(startup);
  PROCESS_INFORMATION process = {};
  if (!CreateProcessA(program.c_str(), line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                      &startup, &process)) {
    return false;
  }
  // Wine has no handles for a Unix program, and leaves in hThread whatever number stood there.
  if (process.hProcess != nullptr) {
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
  }
  return true;
}

// The server's call, or INVALID_SOCKET when it does not come in time.
SOCKET accept_call(SOCKET listener) {
  constexpr int kDeadlineSeconds = 60;
  timeval deadline = {kDeadlineSeconds, 0};
  fd_set waiting;
  FD_ZERO(&waiting);
  FD_SET(listener, &waiting);
  return select(0, &waiting, nullptr, nullptr, &deadline) == 1 ? accept(listener, nullptr, nullptr)
                                                               : INVALID_SOCKET;
}

// A line without its end, or what there was before the connection ended.
std::string read_line(SOCKET connection) {
  std::string line;
  char unit = 0;
  while (recv(connection, &unit, 1, 0) == 1 && unit != '\n') {
    line += unit;
  }
  return line;
}

}  // namespace

std::string server_script(const std::string& name) {
  const std::string built = std::string(ORSIN_TEST_SERVERS "/") + name;
  return std::getenv("ORSIN_TEST_PYTHON") != nullptr ? kit_path("servers/" + name, built) : built;
}

ChildServer::ChildServer(const std::string& script) {
  WSADATA data = {};
  WSAStartup(MAKEWORD(2, 2), &data);
  int control_port = 0;
  const SOCKET listener = listen_somewhere(control_port);
  const bool has_started = control_port != 0 && start(script, control_port);
  control_ = has_started ? accept_call(listener) : INVALID_SOCKET;
  closesocket(listener);
  port_ = std::atoi(read_line(control_).c_str());
  if (port_ == 0) {
    std::fprintf(stderr, "%s did not come up\n", script.c_str());
  }
}

ChildServer::~ChildServer() {
  stop();
  WSACleanup();
}

void ChildServer::stop() {
  if (control_ != INVALID_SOCKET) {
    shutdown(control_, SD_SEND);
    read_line(control_);  // Ends when the server does.
    closesocket(control_);
    control_ = INVALID_SOCKET;
  }
}

}  // namespace orsin::test
