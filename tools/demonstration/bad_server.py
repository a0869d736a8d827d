"""A media server that fails on request, for visits that check how the table handles it."""
import json
import socket
import struct
import threading
import zlib
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer

NO_JSON = {"text": b"The kitchen is closed.", "error": b"Something broke."}


def grey_picture():
    """A PNG of one grey pixel."""
    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", 1, 1, 8, 0, 0, 0, 0))
            + chunk(b"IDAT", zlib.compress(b"\0\x80")) + chunk(b"IEND", b""))


PICTURE = grey_picture()


class BadMediaServer:
    """Answers commands as `mode` says: "good", "error" (status 500), "text" (no JSON), "cut" (the connection breaks in the
    middle of the answer), "slow" (no answer until `release`). `away()` closes the port and `back()` opens it again."""

    def __init__(self):
        self.mode = "good"
        self.commands = []
        self._released = threading.Event()
        self._server = None
        self.port = 0
        self.back()
        self.address = f"http://127.0.0.1:{self.port}/"

    def back(self):
        outer = self

        class Handler(BaseHTTPRequestHandler):
            def log_message(self, *arguments):
                pass

            def do_GET(self):
                self.send_response(200)
                self.send_header("Content-Length", str(len(PICTURE)))
                self.end_headers()
                self.wfile.write(PICTURE)

            def do_POST(self):
                command = json.loads(self.rfile.read(int(self.headers["Content-Length"])))
                outer.commands.append(command)
                mode = outer.mode
                if mode == "slow":
                    outer._released.wait(30)
                    return
                body = NO_JSON.get(mode) or json.dumps(outer.answer(command)).encode()
                self.send_response(500 if mode == "error" else 200)
                self.send_header("Content-Length", str(len(body) + (1000 if mode == "cut" else 0)))
                self.end_headers()
                self.wfile.write(body)
                if mode == "cut":
                    self.close_connection = True
                    self.wfile.flush()
                    self.connection.shutdown(socket.SHUT_RDWR)

        ThreadingHTTPServer.allow_reuse_address = True
        self._server = ThreadingHTTPServer(("127.0.0.1", self.port), Handler)
        self._server.daemon_threads = True
        self.port = self._server.server_port
        threading.Thread(target=self._server.serve_forever, daemon=True).start()

    def away(self):
        self._server.shutdown()
        self._server.server_close()

    def release(self):
        self._released.set()

    def answer(self, command):
        if command["command"] == "getuserpage":
            page = f"{self.address}p/somebody"
            return {"success": True, "userpageurl": page, "qrcodeurl": page + "/qr.png"}
        return {"success": True}

    def command_answer(self, command):
        return self.answer(command)

    def stop(self):
        self.release()
        self.away()

    def end(self):
        self.stop()
        return ""
