"""Answers that break the rules or take their time, from bare sockets; and uploads that arrive behind
the request.

    /short        promises 10000 bytes, sends 5000 and closes
    /unlimited    no length: 20000 bytes, then closes
    /garbage      something that is no HTTP
    /nothing      closes at once
    /slow         promises 3 bytes and sends each one only when /hurry is asked for
    /hurry        once /slow waits: says how many of its bytes are out, and lets out the next
    /endless      bytes until /stop is asked for
    /sent         how many bytes /endless has sent so far
    /stop         ends /endless
    /upload       answers 200, then takes whatever follows until the client closes
    /refused      answers 404, then the same
    /uploaded     what the last upload brought, once it has ended

Prints its port, serves 127.0.0.1, and ends when standard input does.
"""
import asyncio

from input_end import until_input_ends

CHUNK = bytes(65536)


class State:
    endless_sent = 0
    endless_stop = asyncio.Event()
    uploads = asyncio.Queue()
    slow_sent = 0
    slow_waits = asyncio.Semaphore(0)
    slow_steps = asyncio.Semaphore(0)


def answer(body, status="200 OK", headers=""):
    head = f"HTTP/1.1 {status}\r\n{headers}Connection: close\r\nContent-Length: {len(body)}\r\n\r\n"
    return head.encode() + body


async def send_endless(writer):
    State.endless_sent = 0
    State.endless_stop.clear()
    writer.write(b"HTTP/1.1 200 OK\r\nCache-Control: no-store\r\nConnection: close\r\n\r\n")
    while not State.endless_stop.is_set():
        writer.write(CHUNK)
        await writer.drain()
        State.endless_sent += len(CHUNK)


async def send_slowly(writer):
    State.slow_sent = 0
    writer.write(b"HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Length: 3\r\n\r\n")
    for byte in b"abc":
        await writer.drain()
        State.slow_waits.release()
        await State.slow_steps.acquire()
        writer.write(bytes([byte]))
        State.slow_sent += 1


async def take_upload(reader, writer, status):
    writer.write(answer(b"send it", status))
    await writer.drain()
    await State.uploads.put(await reader.read())


async def serve(reader, writer):
    head = await reader.readuntil(b"\r\n\r\n")
    path = head.split(b" ")[1].decode()
    if path == "/short":
        writer.write(b"HTTP/1.1 200 OK\r\nContent-Length: 10000\r\n\r\n" + b"s" * 5000)
    elif path == "/unlimited":
        writer.write(b"HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n" + b"u" * 20000)
    elif path == "/garbage":
        writer.write(b"This is not the protocol you are looking for.\r\n\r\n")
    elif path == "/slow":
        await send_slowly(writer)
    elif path == "/hurry":
        await State.slow_waits.acquire()
        writer.write(answer(str(State.slow_sent).encode()))
        State.slow_steps.release()
    elif path == "/endless":
        await send_endless(writer)
    elif path == "/sent":
        writer.write(answer(str(State.endless_sent).encode()))
    elif path == "/stop":
        State.endless_stop.set()
        writer.write(answer(b"stopped"))
    elif path == "/upload":
        await take_upload(reader, writer, "200 OK")
    elif path == "/refused":
        await take_upload(reader, writer, "404 Not Found")
    elif path == "/uploaded":
        writer.write(answer(await State.uploads.get()))


async def on_connection(reader, writer):
    try:
        await serve(reader, writer)
        await writer.drain()
    except (ConnectionError, asyncio.IncompleteReadError):
        pass  # The client has gone; so be it.
    finally:
        writer.close()


async def main():
    server = await asyncio.start_server(on_connection, "127.0.0.1", 0, limit=1 << 20)
    print(server.sockets[0].getsockname()[1], flush=True)
    await until_input_ends()


asyncio.run(main())
