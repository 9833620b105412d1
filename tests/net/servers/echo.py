"""Answers that keep the rules: echoes, sizes, status codes, redirects, chunks, delays.

Prints its port, serves 127.0.0.1, and ends when standard input does.
"""
import asyncio

from aiohttp import web

from input_end import until_input_ends

PATTERN = bytes((i * 31 + i // 251) % 256 for i in range(65536))


def pattern(size):
    return (PATTERN * (size // len(PATTERN) + 1))[:size]


async def echo(request):
    """The request line, the headers and the body as they arrived."""
    body = await request.read()
    head = f"{request.method} {request.raw_path}\r\n"
    head += "".join(f"{name}: {value}\r\n" for name, value in request.headers.items())
    return web.Response(body=head.encode() + b"\r\n" + body)


async def sized(request):
    return web.Response(body=pattern(int(request.match_info["size"])))


async def chunked(request):
    """The same bytes without a length, in chunks that fit nothing."""
    body = pattern(int(request.match_info["size"]))
    response = web.StreamResponse()
    response.enable_chunked_encoding()
    await response.prepare(request)
    for start in range(0, len(body), 5000):
        await response.write(body[start : start + 5000])
    return response


async def status(request):
    code = int(request.match_info["code"])
    text = None if code in (204, 304) else f"status {code}"
    return web.Response(status=code, text=text)


async def redirect(request):
    return web.Response(
        status=int(request.match_info["code"]), headers={"Location": "/size/10"}, text="elsewhere"
    )


async def silence(request):
    """Never answers; ends with the client's connection."""
    await asyncio.Event().wait()


async def main():
    application = web.Application(client_max_size=1 << 30)
    application.router.add_route("*", "/echo", echo)
    application.router.add_route("*", "/size/{size}", sized)
    application.router.add_route("*", "/chunked/{size}", chunked)
    application.router.add_route("*", "/status/{code}", status)
    application.router.add_route("*", "/redirect/{code}", redirect)
    application.router.add_route("*", "/silence", silence)
    runner = web.AppRunner(application)
    await runner.setup()
    site = web.TCPSite(runner, "127.0.0.1", 0, shutdown_timeout=0)
    await site.start()
    print(site._server.sockets[0].getsockname()[1], flush=True)
    await until_input_ends()


asyncio.run(main())
