/// @file
/// Network: an HTTP client and a WebSocket client for the application's web services.
///
/// Every call blocks its thread until it is done; the library starts no thread and calls nothing
/// back.
///
/// Strings are NUL-terminated UTF-8 or ASCII; URLs go to the platform's narrow-character functions
/// as they are. Null for a URL, a path or a text that is to be sent is a failure. Nothing throws: a
/// failure is a return value, and the log holds a line only where a function says so.
#pragma once

#include "orsincore/base.h"

// ---------------------------------------------------------------------------------------------
// HTTP
// ---------------------------------------------------------------------------------------------

/// The method of a request. The values are part of the interface.
enum ov_http_request_type {
  OV_HTTP_GET = 0,     ///< Through the platform's URL opener; sends no body and no headers.
  OV_HTTP_POST = 1,    ///< "POST"
  OV_HTTP_PUT = 2,     ///< "PUT"; also every value that is not listed here.
  OV_HTTP_PATCH = 3,   ///< "PATCH"
  OV_HTTP_DELETE = 4,  ///< "DELETE"
};

/// A small synchronous HTTP and HTTPS client: one session, at most one open connection and request.
///
/// A call sends one request, blocks until the answer is read or a time-out expires, and keeps the
/// body and the status code in the object. The last request's handles stay open until the next one
/// or the destructor. Member functions never log; the reason of a failure is LastErrorString(), and
/// after a request that failed its code is the thread's last system error as well. Only the two
/// static helpers write to the log.
///
/// A GET may be answered by the system's own cache, without asking the server, where an earlier
/// answer allowed that; "no-cache" or "no-store" in the answer prevents it. Redirects are followed;
/// whether from http to https and back, the user's Internet options decide (12039, 12040).
///
/// One thread at a time uses an object; separate objects may be used on separate threads.
/// Windows: WinINet.
class ov_http_socket {
 public:
  /// Opens the session: agent "KORVANE", the system's proxy settings, 30 s to connect, 300 s to
  /// send and to receive. A session that cannot be opened is not reported; every later call fails.
  ORSIN_API ov_http_socket();

  /// Copies every field as it stands, so both objects refer to the same handles and the same body,
  /// and each destructor would release them: whoever copies lets only one of the two be destroyed.
  /// What the assigned object held before is neither closed nor freed.
  //
  // Kept on purpose: callers that assign clients go on with one session through both. Counting its
  // users would take a field that the layout does not have.
  ov_http_socket(const ov_http_socket& other) = default;
  ov_http_socket& operator=(const ov_http_socket& other) = default;  ///< The same.

  /// Frees the body and closes the session, the request and the connection in this order: the
  /// first takes the others with it.
  ORSIN_API ~ov_http_socket();

  /// Sets the session's three time-outs, in milliseconds; all are attempted.
  ///
  /// @return True only if there is a session and all three were accepted.
  ORSIN_API bool SetTimeOut(unsigned int connect_ms, unsigned int send_ms, unsigned int receive_ms);

  /// Whether requests other than GET use TLS on ports other than 80 and 59928; on by default. GET
  /// goes by the URL's scheme.
  ORSIN_API void SetSecureFlag(bool secure);

  /// Sends a request and reads the whole answer. Whatever the status code is, its body is returned.
  ///
  /// Requests other than GET accept a certificate that has expired or is made out to another name.
  /// A body that the server cuts short looks like a complete one.
  ///
  /// @param url       Null fails with last error -1.
  /// @param data      The body, in bytes; null for none. Not used by GET.
  /// @param data_len  Bytes of `data`; -1 takes it as a NUL-terminated string.
  /// @param headers   Header lines, parted by CR LF; null for "Content-Type:
  ///                  application/x-www-form-urlencoded". Not used by GET.
  /// @param out_len   Receives the body's bytes, without the terminator; may be null. Not written
  ///                  on failure.
  /// @return The body followed by a NUL; the object's, until the next call or its end. Null when no
  ///         answer was received or memory is short.
  /// Windows: InternetOpenUrlA or HttpSendRequestA, InternetReadFile.
  ORSIN_API char* GetHttpData(const char* url, ov_http_request_type type, const char* data,
                              int data_len, const char* headers, unsigned long long* out_len);

  /// Sends a request and then writes `payload` on its handle. The answer's body is not read.
  ///
  /// Windows documents no writing after a request that has been sent, and refuses it with code
  /// 12019: to send a body with the request, give it to GetHttpData() as `data`.
  ///
  /// @param payload  Null, or a `payload_len` below 1, sends the request alone.
  /// @return What the last write reported: `payload_len` when one write took everything, also 0 or
  ///         -1 when a write failed. 0 without a payload; -1 when the request failed.
  /// Windows: InternetWriteFile. The other arguments are those of GetHttpData().
  ORSIN_API int PutHttpData(const char* url, unsigned char* payload, int payload_len,
                            ov_http_request_type type, const char* data, int data_len,
                            const char* headers);

  /// The HTTP status of the last request; 0 before the first one and when it failed.
  ORSIN_API int GetStatusCode();

  /// The system's text for the last failure's code, in UTF-8 and with the line end that the system
  /// gives it, cut to 255 bytes. An unknown code gives an empty text; so do the codes of the internet
  /// functions (from 12000 on), which are not in the system's table. Those have to be told by their
  /// number, the thread's last error: 12002 a time-out, 12007 no such server, 12029 no connection.
  ///
  /// @return In the object; overwritten by the next call.
  /// Windows: FormatMessageW.
  ORSIN_API const char* LastErrorString();

  /// Downloads a URL into a file, replacing it. Nothing is created unless the status is 200. The
  /// bytes go to a new file beside it, which takes the name when it is complete: until then, and
  /// after a failure, an earlier file is still there.
  ///
  /// A body that the server cuts short looks like a complete one here, too: where that matters,
  /// compare the file's size or its hash with what the service says.
  ///
  /// @return True when every byte was written. A failure writes one error line: the status code and
  ///         the system's text for the last error, or the file that cannot be written.
  ORSIN_API static bool ReadFile(const char* url, const char* path);

  /// Opens a URL as GET does and writes a file's bytes on the open request; for platforms that take
  /// them there, which Windows is not documented to do (see PutHttpData()).
  ///
  /// @return True when the status was 200 and one write took the whole file. A missing or empty
  ///         file and a lack of memory return false in silence; other failures write one error
  ///         line.
  ORSIN_API static bool WriteFile(const char* url, const char* path);

 protected:
  /// Closes the open connection and request and opens a URL. False: the last error is stored.
  /// Windows: InternetOpenUrlA.
  ORSIN_API bool OpenUrl(const char* url);

  /// Closes the open connection and request, connects and sends a request with a body. False: the
  /// last error is stored; handles opened so far stay in the object until the next request.
  /// Windows: InternetCrackUrlA, InternetConnectA, HttpOpenRequestA, HttpSendRequestA.
  ORSIN_API bool PostUrl(const char* url, ov_http_request_type type, const char* data, int data_len,
                         const char* headers);

  /// Stores the status of the open request, if there is one and it has answered.
  /// Windows: HttpQueryInfoA.
  ORSIN_API void SetStatusCode();

 private:
  friend struct http_socket_layout;

  void* session_;             // Null when it could not be opened.
  void* request_;             // Null: none.
  void* connection_;          // Null: none; GET never has one of its own.
  char* response_;            // The last body and its NUL; null before the first.
  int status_code_;           // 0: no answer.
  std::uint32_t last_error_;  // The system's code, or 0xFFFFFFFF when there was no URL.
  char error_text_[256];      // For LastErrorString().
  bool secure_;
};

// ---------------------------------------------------------------------------------------------
// WebSocket (RFC 6455)
// ---------------------------------------------------------------------------------------------

/// A received message. The caller of OvWebSocket::Receive() owns it and deletes it; it may outlive
/// its socket. The payload lies in a locked buffer of the Frame heap. One thread at a time.
class OvWebSocketData {
 public:
  /// Gives the payload's buffer back.
  virtual ~OvWebSocketData() = default;

  /// 1 for a binary message, 2 for text. Receive() delivers binary messages only.
  [[nodiscard]] virtual unsigned int GetType() const = 0;

  /// The payload: GetSize() bytes, not terminated; good until this object is deleted.
  [[nodiscard]] virtual const void* GetData() const = 0;

  /// The same address, to read the payload as text. It is not terminated either.
  [[nodiscard]] virtual const char* GetText() const = 0;

  /// Bytes of the payload; 0 for an empty message.
  [[nodiscard]] virtual std::size_t GetSize() const = 0;
};

/// A WebSocket connection, seen from the client.
///
///   OvWebSocket* socket = OvWebSocket::Create();
///   if (socket != nullptr && socket->Connect("ws://localhost:9000/live")) {
///     socket->SendText("take 1");
///     OvWebSocketData* answer = nullptr;
///     if (socket->Receive(&answer)) { use(answer->GetData(), answer->GetSize()); delete answer; }
///   }
///   OvWebSocket::Destroy(socket);
///
/// Pings are answered by the system, while a call that receives is at work. An object is used by
/// one thread at a time. Windows: WinHTTP and its WebSocket functions, synchronous.
class OvWebSocket {
 public:
  /// @cond only Create() and Destroy() begin and end an object
  OvWebSocket() = default;
  OvWebSocket(const OvWebSocket&) = default;  // Copying the interface copies no connection.
  OvWebSocket(OvWebSocket&&) = default;
  OvWebSocket& operator=(const OvWebSocket&) = default;
  OvWebSocket& operator=(OvWebSocket&&) = default;
  /// @endcond

  /// An object that is not connected, with a receive buffer size of 1 MiB.
  /// @return The caller's until Destroy(); null when memory is short. Any thread.
  [[nodiscard]] ORSIN_API static OvWebSocket* Create();

  /// Closes as Close() does, whatever that returns, and frees the object. Null is allowed.
  ORSIN_API static void Destroy(OvWebSocket* socket);

  /// Connects to a server and upgrades the connection.
  ///
  /// @param url  UTF-8: "ws://host:port/path?query". The scheme may be missing and is not looked
  ///             at: the connection is never encrypted. A URL without a port is a host name and
  ///             nothing else, on port 80 with the path "/": "ws://host/live" looks for a host
  ///             called "host/live". Give the port wherever there is a path.
  /// @return False after one error line that names the step, the URL and the system's code. What
  ///         had been opened until then stays until Close(), Destroy() or the next Connect().
  ///
  /// An object that is connected already drops its old connection first, without a farewell.
  /// Windows: WinHttpOpen to WinHttpWebSocketCompleteUpgrade, through the default proxy.
  virtual bool Connect(const char* url) = 0;

  /// Says farewell (status 1000), waits for the server's, and releases everything.
  ///
  /// @return False, after an error line for each, when the farewell failed or the server's status
  ///         could not be had; everything is released all the same. True when there was nothing to
  ///         close. A server that never answers is waited for as long as the system does.
  /// Windows: WinHttpWebSocketClose, WinHttpWebSocketQueryCloseStatus.
  virtual bool Close() = 0;

  /// Sends one binary message of `size` bytes; `data` may be null when that is 0.
  ///
  /// @return False when not connected, in silence, and when the system refused, after an error line
  ///         with its code. Windows: WinHttpWebSocketSend.
  virtual bool SendData(const void* data, unsigned int size) = 0;

  /// Sends one text message: terminated UTF-8, sent without the terminator and without a check.
  /// Returns as SendData(); null is false in silence.
  virtual bool SendText(const char* text) = 0;

  /// Sets the size in bytes of the buffer that each later Receive() reads its message into; a
  /// message must not be larger. Sizes from 4 GiB on count modulo 4 GiB. Always true.
  virtual bool SetBufferSize(std::size_t bytes) = 0;

  /// Waits for a whole binary message.
  ///
  /// @param out  Receives the message, the caller's to delete. Untouched on failure. Null fails at
  ///             once, in silence: no message is lost.
  /// @return False when not connected, when a text message or the server's farewell arrived, all in
  ///         silence; and after an error line when the system reports a failure or when the message
  ///         filled the buffer before it was complete. The rest of such a message is still to come:
  ///         the next call would take it for a message of its own.
  ///
  /// The buffer has its full size from the start, whatever arrives: the Frame heap must have room
  /// for it (see mem_alloc_locked_buffer()). Windows: WinHttpWebSocketReceive.
  virtual bool Receive(OvWebSocketData** out) = 0;

  /// @cond only Create() and Destroy() begin and end an object
 protected:
  ~OvWebSocket() = default;  // Not virtual, and only Destroy() ends an object.
  /// @endcond
};
