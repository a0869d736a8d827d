"""A real SMTP server for visits: keeps every message as a file, and can be slow or refuse on request."""
import os
import socket
import threading

from programs import Failure

try:
    from aiosmtpd.controller import Controller
except ImportError as missing:
    raise Failure("python3-aiosmtpd is not installed (a Debian package)") from missing


class MailServer:
    """`refusal`: the answer to the next messages instead of accepting them, for example "554 No such reader here".
    `hold()` keeps senders waiting at the end of their message until `release()`."""

    def __init__(self, folder):
        self.folder = folder
        self.refusal = None
        self.messages = []
        self._open = threading.Event()
        self._open.set()
        # The port stays reserved until the server listens on it: no other program on this machine is given it in between.
        with socket.socket() as reserved:
            reserved.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
            reserved.bind(("127.0.0.1", 0))
            port = reserved.getsockname()[1]
            self._controller = Controller(self, hostname="127.0.0.1", port=port, data_size_limit=64 * 1024 * 1024)
            self._controller.start()
        self.address = f"smtp://127.0.0.1:{port}"

    async def handle_DATA(self, server, session, envelope):
        import asyncio
        while not self._open.is_set():
            await asyncio.sleep(0.02)
        if self.refusal:
            return self.refusal
        path = os.path.join(self.folder, f"message-{len(self.messages) + 1}.eml")
        with open(path, "wb") as file:
            file.write(envelope.content)
        self.messages.append({"path": path, "to": list(envelope.rcpt_tos), "from": envelope.mail_from})
        return "250 Taken"

    def hold(self):
        self._open.clear()

    def release(self):
        self._open.set()

    def stop(self):
        self.release()
        if self._controller:
            self._controller.stop()
            self._controller = None

    def end(self):
        self.stop()
        return ""
