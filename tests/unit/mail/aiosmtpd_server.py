#!/usr/bin/python3
"""A real SMTP server (aiosmtpd) for the mail tests: aiosmtpd_server.py DIR SECONDS

Prints "PORT <n>" once it listens on 127.0.0.1, serves one connection and
records in DIR/replies the code of every reply it sent, one a line, and in
DIR/content the data of any message it accepted. Exits when the connection
closes or after SECONDS."""

import asyncio
import logging
import os
import socket
import sys

from aiosmtpd.smtp import SMTP


class Recorder:
    def __init__(self, path):
        self.path = path
        self.done = asyncio.Event()

    def write(self, name, data):
        with open(os.path.join(self.path, name), "ab") as out:
            out.write(data)

    async def handle_DATA(self, server, session, envelope):
        self.write("content", envelope.original_content)
        return "250 Message accepted for delivery"


class RecordingSMTP(SMTP):
    async def push(self, status):
        self.event_handler.write("replies", status[:3].encode() + b"\n")
        await super().push(status)

    def connection_lost(self, error):
        super().connection_lost(error)
        self.event_handler.done.set()


async def serve(path, deadline):
    recorder = Recorder(path)
    listener = socket.create_server(("127.0.0.1", 0))
    server = await asyncio.get_running_loop().create_server(
        lambda: RecordingSMTP(recorder, hostname="varnok-test", timeout=deadline), sock=listener
    )
    print("PORT", listener.getsockname()[1], flush=True)
    try:
        await asyncio.wait_for(recorder.done.wait(), deadline)
    except asyncio.TimeoutError:
        pass
    server.close()


if __name__ == "__main__":
    logging.disable(logging.CRITICAL)
    asyncio.run(serve(sys.argv[1], float(sys.argv[2])))
