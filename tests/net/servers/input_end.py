"""A server's life: until standard input ends."""
import asyncio
import sys


async def until_input_ends():
    reader = asyncio.StreamReader()
    loop = asyncio.get_running_loop()
    await loop.connect_read_pipe(lambda: asyncio.StreamReaderProtocol(reader), sys.stdin)
    await reader.read()
