#!/usr/bin/python3
"""A real SMTP server (aiosmtpd) on a loopback port, for the mail tests.

Usage: aiosmtpd_server.py RECORD_DIR DEADLINE_SECONDS

Prints "PORT <n>" once it listens on 127.0.0.1. Every message the server
accepts is written into RECORD_DIR as N.from (envelope sender), N.to (one
envelope recipient a line) and N.content (the data, byte for byte), N
counting from 1.
Stops when its standard input closes or when the deadline has passed,
whichever comes first; idle connections are dropped after the deadline too.
"""

import asyncio
import logging
import os
import socket
import sys
import threading

from aiosmtpd.smtp import SMTP


class Recorder:
    def __init__(self, path):
        self.path = path
        self.count = 0

    async def handle_DATA(self, server, session, envelope):
        self.count += 1
        base = os.path.join(self.path, str(self.count))
        with open(base + ".from", "w", encoding="utf-8") as out:
            out.write(envelope.mail_from)
        with open(base + ".to", "w", encoding="utf-8") as out:
            out.write("".join(r + "\n" for r in envelope.rcpt_tos))
        with open(base + ".content", "wb") as out:
            out.write(envelope.original_content)
        return "250 Message accepted for delivery"


async def serve(record, deadline):
    loop = asyncio.get_running_loop()
    stop = asyncio.Event()

    def wait_for_stdin():
        sys.stdin.read()
        loop.call_soon_threadsafe(stop.set)

    threading.Thread(target=wait_for_stdin, daemon=True).start()

    listener = socket.socket(socket.AF_INET, socket.SOCK_STREAM)
    listener.bind(("127.0.0.1", 0))
    listener.listen(5)
    server = await loop.create_server(
        lambda: SMTP(Recorder(record), hostname="varnok-test", timeout=deadline),
        sock=listener,
    )
    print("PORT", listener.getsockname()[1], flush=True)
    try:
        await asyncio.wait_for(stop.wait(), deadline)
    except asyncio.TimeoutError:
        pass
    server.close()


def main():
    logging.disable(logging.CRITICAL)
    asyncio.run(serve(sys.argv[1], float(sys.argv[2])))


if __name__ == "__main__":
    main()
