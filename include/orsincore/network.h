// Network clients for the application's web services.
//
// Every call blocks its thread until it is done; the library starts no thread and calls nothing
// back. Failures are a false or null result; the reason is in the log.
#pragma once

#include "orsincore/base.h"

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
  /// Returns as SendData().
  virtual bool SendText(const char* text) = 0;

  /// Sets the size in bytes of the buffer that each later Receive() reads its message into; a
  /// message must not be larger. Sizes from 4 GiB on count modulo 4 GiB. Always true.
  virtual bool SetBufferSize(std::size_t bytes) = 0;

  /// Waits for a whole binary message.
  ///
  /// @param out  Receives the message, the caller's to delete. Untouched on failure.
  /// @return False when not connected, when a text message or the server's farewell arrived, all in
  ///         silence; and after an error line when the system reports a failure or when the message
  ///         filled the buffer before it was complete. The rest of such a message is still to come:
  ///         the next call would take it for a message of its own.
  ///
  /// The buffer has its full size from the start, whatever arrives: the Frame heap must have room
  /// for it (see mem_alloc_locked_buffer()). Windows: WinHttpWebSocketReceive.
  virtual bool Receive(OvWebSocketData** out) = 0;

 protected:
  OvWebSocket() = default;
  OvWebSocket(const OvWebSocket&) = default;
  OvWebSocket(OvWebSocket&&) = default;
  OvWebSocket& operator=(const OvWebSocket&) = default;
  OvWebSocket& operator=(OvWebSocket&&) = default;
  ~OvWebSocket() = default;  // Not virtual, and only Destroy() ends an object.
};
