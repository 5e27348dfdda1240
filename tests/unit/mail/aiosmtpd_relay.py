#!/usr/bin/python3
"""A present-day relay for the mail tests (aiosmtpd):
aiosmtpd_relay.py DIR SECONDS CERT KEY USER PASSWORD MODE MECHANISM [stall]

MODE "starttls" requires STARTTLS, "tls" speaks TLS from the first byte; both require a login
with MECHANISM (LOGIN or PLAIN) as USER and PASSWORD. "plain" has neither and notes the code of
each reply in DIR/replies. Prints "PORT <n>", then serves until SECONDS pass or DIR/stop exists.
Message N gives DIR/N.envelope (sender, recipients), N.content (as received), N.body (its text,
LF line ends) and, when MIME, N.parts (type and file name of each) and N.pdf (the PDF part).
Each refused login adds a line to DIR/refused; "stall" then answers nothing more."""

import asyncio
import email
import logging
import os
import socket
import ssl
import sys
import warnings

from aiosmtpd.smtp import SMTP, AuthResult


class StallingSMTP(SMTP):
    stall = False
    silent = False

    async def push(self, status):
        if StallingSMTP.silent:
            return
        await super().push(status)
        text = status if isinstance(status, str) else status.decode()
        if self.event_handler.plain:
            self.event_handler.write("replies", text[:3].encode() + b"\n")
        if self.stall and text.startswith("535"):
            StallingSMTP.silent = True


class Recorder:
    def __init__(self, path, user, password, plain):
        self.path, self.account, self.plain = path, (user.encode(), password.encode()), plain
        self.count = 0

    def write(self, name, data):
        with open(os.path.join(self.path, name), "ab") as out:
            out.write(data)

    def __call__(self, server, session, envelope, mechanism, auth_data):
        if (auth_data.login, auth_data.password) == self.account:
            return AuthResult(success=True)
        self.write("refused", mechanism.encode() + b"\n")
        return AuthResult(success=False, handled=False)

    async def handle_DATA(self, server, session, envelope):
        self.count += 1
        name = lambda suffix: "%d.%s" % (self.count, suffix)
        lines = [envelope.mail_from] + list(envelope.rcpt_tos)
        self.write(name("envelope"), "".join(line + "\n" for line in lines).encode())
        self.write(name("content"), envelope.original_content)
        body = envelope.original_content.split(b"\r\n\r\n", 1)[-1]
        message = email.message_from_bytes(envelope.original_content)
        if message.is_multipart():
            body = b""
            for part in message.get_payload():
                kind = part.get_content_type()
                self.write(name("parts"), ("%s %s\n" % (kind, part.get_filename() or "")).encode())
                if kind == "text/plain" and not body:
                    body = part.get_payload(decode=True)
                elif kind == "application/pdf":
                    self.write(name("pdf"), part.get_payload(decode=True))
        self.write(name("body"), body.replace(b"\r\n", b"\n"))
        return "250 Message accepted for delivery"


async def serve(path, deadline, cert, key, user, password, mode, mechanism, stall=""):
    recorder = Recorder(path, user, password, mode == "plain")
    context = ssl.create_default_context(ssl.Purpose.CLIENT_AUTH)
    context.load_cert_chain(cert, key)
    listener = socket.create_server(("127.0.0.1", 0))
    StallingSMTP.stall = stall == "stall"

    def protocol():
        starttls = mode == "starttls"
        return StallingSMTP(
            recorder, hostname="relay.test", timeout=deadline, authenticator=recorder,
            auth_required=mode != "plain", tls_context=context if starttls else None,
            auth_exclude_mechanism=[m for m in ("LOGIN", "PLAIN") if m != mechanism],
            require_starttls=starttls, auth_require_tls=starttls)

    loop = asyncio.get_running_loop()
    server = await loop.create_server(protocol, sock=listener,
                                      ssl=context if mode == "tls" else None)
    print("PORT", listener.getsockname()[1], flush=True)
    end = loop.time() + deadline
    while loop.time() < end and not os.path.exists(os.path.join(path, "stop")):
        await asyncio.sleep(0.05)
    server.close()


if __name__ == "__main__":
    logging.disable(logging.CRITICAL)
    # Login over implicit TLS is what "tls" mode is for; aiosmtpd cannot tell.
    warnings.simplefilter("ignore")
    asyncio.run(serve(sys.argv[1], float(sys.argv[2]), *sys.argv[3:10]))
