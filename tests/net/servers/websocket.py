"""A WebSocket server for the tests: websocket.py [CONTROL-PORT]

Connects to the control port, says there in a line which port it serves on, and ends with that
connection; without a control port it does so on standard output and ends with standard input.

The path says what happens on a connection:

  /echo                     each message comes back
  /send?sizes=1,2,3         binary messages of these sizes; see payload()
  /fragments?sizes=1,2,3    one binary message of such fragments
  /text?word=...&parts=N    one text message, of N fragments that each hold the word
  /check                    answers each message with "type size sha1" in a binary message
  /ping?payload=...         a ping, then a binary message once the pong is there
  /close?code=N&reason=...  closes at once
  /lastwords?reason=...     a binary message, then closes with 1001
  /abort                    drops the connection without a word as soon as a message arrives
  /die                      ends the whole server without a word as soon as a message arrives
  /stream?size=N            binary messages of N bytes without end
  /sink?count=N             takes messages; answers each N-th with a binary message
  /request                  a binary message with the request line's path and all headers
  /farewell                 waits for the client's farewell and notes its code and reason
  /noted                    a binary message "code reason": the oldest farewell that was noted
  /refuse?status=N          no WebSocket at all
"""
import asyncio
import hashlib
import http
import os
import sys
import urllib.parse

import websockets

farewells = asyncio.Queue()


def payload(size):
    """Bytes 0 to 250 over and over: a period that no block size shares."""
    return (bytes(range(251)) * (size // 251 + 1))[:size]


async def echo(socket, _):
    async for message in socket:
        await socket.send(message)


async def send(socket, query):
    for size in query["sizes"].split(","):
        await socket.send(payload(int(size)))
    await socket.wait_closed()


async def fragments(socket, query):
    await socket.send([payload(int(size)) for size in query["sizes"].split(",")])
    await socket.wait_closed()


async def text(socket, query):
    parts = int(query.get("parts", "1"))
    await socket.send([query["word"]] * parts if parts > 1 else query["word"])
    await echo(socket, query)


async def check(socket, _):
    async for message in socket:
        kind = "text" if isinstance(message, str) else "binary"
        data = message.encode() if isinstance(message, str) else message
        await socket.send(f"{kind} {len(data)} {hashlib.sha1(data).hexdigest()}".encode())


async def ping(socket, query):
    answered = await socket.ping(query["payload"].encode())
    await answered
    await socket.send(b"answered")
    await socket.wait_closed()


async def close(socket, query):
    await socket.close(int(query["code"]), query.get("reason", ""))


async def lastwords(socket, query):
    await socket.send(b"last words")
    await socket.close(1001, query["reason"])


async def abort(socket, _):
    await socket.recv()
    socket.transport.abort()


async def die(socket, _):
    await socket.recv()
    os._exit(1)


async def stream(socket, query):
    message = payload(int(query["size"]))
    while True:
        await socket.send(message)


async def sink(socket, query):
    count = int(query["count"])
    while True:
        for _ in range(count):
            await socket.recv()
        await socket.send(b"taken")


async def request(socket, _):
    headers = [f"{name}: {value}" for name, value in socket.request_headers.raw_items()]
    await socket.send("\n".join([socket.path, *headers]).encode())
    await socket.wait_closed()


async def farewell(socket, _):
    await socket.wait_closed()
    await farewells.put(f"{socket.close_code} {socket.close_reason}")


async def noted(socket, _):
    await socket.send((await farewells.get()).encode())
    await socket.wait_closed()


handlers = {
    "/echo": echo,
    "/send": send,
    "/fragments": fragments,
    "/text": text,
    "/check": check,
    "/ping": ping,
    "/close": close,
    "/lastwords": lastwords,
    "/abort": abort,
    "/die": die,
    "/stream": stream,
    "/sink": sink,
    "/request": request,
    "/farewell": farewell,
    "/noted": noted,
}


def parse(path):
    url = urllib.parse.urlsplit(path)
    return url.path, dict(urllib.parse.parse_qsl(url.query, keep_blank_values=True))


async def handle(socket):
    path, query = parse(socket.path)
    try:
        await handlers.get(path, request)(socket, query)
    except websockets.ConnectionClosed:
        pass


async def refuse(path, _):
    path, query = parse(path)
    if path == "/refuse":
        return http.HTTPStatus(int(query["status"])), [], b"no\n"
    return None


async def main():
    async with websockets.serve(handle, "127.0.0.1", 0, process_request=refuse, max_size=None,
                                ping_interval=None, compression=None) as server:
        port = f"{server.sockets[0].getsockname()[1]}\n"
        if len(sys.argv) > 1:
            reader, writer = await asyncio.open_connection("127.0.0.1", int(sys.argv[1]))
            writer.write(port.encode())
            await reader.read()
        else:
            print(port, end="", flush=True)
            await asyncio.get_running_loop().run_in_executor(None, sys.stdin.read)


asyncio.run(main())
