#include "orsincore/network.h"

#include <windows.h>

#include "orsincore/log.h"

//! [example]
bool report_to_service(const char* url, const char* json) {
  ov_http_socket socket;
  socket.SetTimeOut(5000, 5000, 30000);
  const char* answer =
      socket.GetHttpData(url, OV_HTTP_POST, json, -1, "Content-Type: application/json", nullptr);
  if (answer == nullptr) {
    const unsigned long code = GetLastError();  // The network's own, from 12000 on, have no text.
    msgerror("%s: error %lu %s", url, code, socket.LastErrorString());
    return false;
  }
  return socket.GetStatusCode() == 200;  // The answer is the socket's, until its next call.
}
//! [example]
