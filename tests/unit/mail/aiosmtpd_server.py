#!/usr/bin/python3
"""A real SMTP server (aiosmtpd) on a loopback port, for the mail tests.

Usage: aiosmtpd_server.py RECORD_DIR SESSIONS DEADLINE_SECONDS

Prints "PORT <n>" once it listens on 127.0.0.1. For its Nth connection
(counting from 1) it writes RECORD_DIR/N.replies, the code of every reply it
sent, one a line, and for a message it accepted N.to (the envelope
recipients, one a line) and N.content (the data, byte for byte).
Exits once SESSIONS connections have closed or the deadline has passed;
idle connections are dropped after the deadline too.
"""

import asyncio
import logging
import os
import socket
import sys

from aiosmtpd.smtp import SMTP


class Recorder:
    def __init__(self, path, sessions):
        self.path, self.sessions = path, sessions
        self.opened = self.closed = 0
        self.done = asyncio.Event()

    def write(self, number, suffix, data):
        with open(os.path.join(self.path, f"{number}.{suffix}"), "ab") as out:
            out.write(data)

    async def handle_DATA(self, server, session, envelope):
        self.write(server.number, "to", "".join(r + "\n" for r in envelope.rcpt_tos).encode())
        self.write(server.number, "content", envelope.original_content)
        return "250 Message accepted for delivery"


class RecordingSMTP(SMTP):
    def connection_made(self, transport):
        self.event_handler.opened += 1
        self.number = self.event_handler.opened
        super().connection_made(transport)

    async def push(self, status):
        self.event_handler.write(self.number, "replies", status[:3].encode() + b"\n")
        await super().push(status)

    def connection_lost(self, error):
        super().connection_lost(error)
        self.event_handler.closed += 1
        if self.event_handler.closed == self.event_handler.sessions:
            self.event_handler.done.set()


async def serve(path, sessions, deadline):
    recorder = Recorder(path, sessions)
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
    asyncio.run(serve(sys.argv[1], int(sys.argv[2]), float(sys.argv[3])))
