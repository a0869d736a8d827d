"""The table against a media server that lies, floods, stalls and points elsewhere."""
import gzip
import json
import os
import socket
import struct
import threading
import time
import zlib
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer

from bad_server import PICTURE
from programs import ONLY_HERE, Stage, Table, by_class, by_type, value
from visit import PRESENTATIONS, World

COMPRESSED = "200 MB in a compressed body"
PLACE = (1150, 560)  # nothing lies there
ENOUGH = 1_000_000_000  # bytes that a client which never stops reading is sent at most


def report(text):
    print("  " + text, flush=True)


def huge_picture(side=12000):
    """A PNG of few bytes and very many pixels."""
    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))
    rows = zlib.compress(b"\0" * ((side + 1) * side), 9)
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", side, side, 8, 0, 0, 0, 0))
            + chunk(b"IDAT", rows) + chunk(b"IEND", b""))


class LyingServer:
    """Answers commands with `page` and `qr`, or by `post(handler)`; and every GET by `get(handler)`."""

    def __init__(self, secret):
        self.posts = 0
        self.sent = 0
        self.page = self.qr = ""
        self.post = self.get = None
        self.secret = secret
        self.over = threading.Event()
        outer = self

        class Handler(BaseHTTPRequestHandler):
            protocol_version = "HTTP/1.1"

            def log_message(self, *arguments):
                pass

            def do_POST(self):
                outer.posts += 1
                self.rfile.read(int(self.headers["Content-Length"]))
                if outer.post:
                    outer.post(self)
                else:
                    self.whole(json.dumps({"success": True, "userpageurl": outer.page, "qrcodeurl": outer.qr}).encode())

            def do_GET(self):
                (outer.get or (lambda handler: handler.whole(PICTURE)))(self)

            def whole(self, body, status=200, headers=()):
                self.begin(status, [("Content-Length", str(len(body))), *headers])
                self.pour(body)

            def begin(self, status=200, headers=()):
                self.send_response(status)
                for name, text in headers:
                    self.send_header(name, text)
                self.send_header("Connection", "close")
                self.end_headers()
                self.close_connection = True

            def pour(self, data):
                """False when the table has hung up."""
                try:
                    self.connection.sendall(data)
                except OSError:
                    return False
                outer.sent += len(data)
                return True

            def hang(self):
                outer.over.wait(60)
                self.close_connection = True

            def endless(self, piece, enough=ENOUGH):
                begin = outer.sent
                while outer.sent - begin < enough and not outer.over.is_set() and self.pour(piece):
                    pass
                self.close_connection = True

            def cut(self):
                self.close_connection = True
                self.connection.shutdown(socket.SHUT_RDWR)

            def drip(self):
                self.begin(200, [("Content-Length", "1000000")])
                while not outer.over.wait(0.05) and self.pour(b" "):
                    pass

        self._server = ThreadingHTTPServer(("127.0.0.1", 0), Handler)
        self._server.daemon_threads = True
        self.address = f"http://127.0.0.1:{self._server.server_port}/"
        threading.Thread(target=self._server.serve_forever, daemon=True).start()

    def stop(self):
        self.over.set()
        self._server.shutdown()
        self._server.server_close()


def commands_of(server):
    """What the server does with a command: name, whether the table must fail the command."""
    deep = b'{"a":' * 100_000 + b"1" + b"}" * 100_000

    def lying(page):
        return lambda handler: handler.whole(json.dumps({"success": True, "userpageurl": page, "qrcodeurl": ""}).encode())

    def endless_header(handler):
        handler.pour(b"HTTP/1.1 200 OK\r\nX: ")
        handler.endless(b"x" * 65536)

    def endless_headers(handler):
        handler.pour(b"HTTP/1.1 200 OK\r\n")
        handler.endless(b"X: yes\r\n" * 8192)

    def endless_interim_answers(handler):
        handler.endless(b"HTTP/1.1 100 Continue\r\n\r\n" * 2048)

    def endless_chunk_extension(handler):
        handler.pour(b"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n4;")
        handler.endless(b"x" * 65536)

    def endless_body(handler):
        handler.begin()
        handler.endless(b" " * 65536)

    compressed = gzip.compress(b" " * 200_000_000, 1)

    def bomb(handler):
        handler.whole(compressed, headers=[("Content-Encoding", "gzip")])
    return {
        "a script as the page's address": lying("javascript:alert(1)"),
        "a file as the page's address": lying("file://" + server.secret),
        "a page address of 3,000 characters": lying(server.address + "p/" + "a" * 3000),
        "JSON nested 100,000 times": lambda handler: handler.whole(deep),
        "a body without an end": endless_body,
        COMPRESSED: bomb,
        "a header without an end": endless_header,
        "headers without an end": endless_headers,
        "interim answers without an end": endless_interim_answers,
        "a chunk extension without an end": endless_chunk_extension,
        "one byte every 50 ms": lambda handler: handler.drip(),
        "no answer": lambda handler: handler.hang(),
        "a connection that is closed unanswered": lambda handler: handler.cut(),
        "a redirection to itself": lambda handler: handler.whole(b"", 307, [("Location", server.address)]),
        "status 500 with a success": lambda handler: handler.whole(b'{"success":true,"userpageurl":"http://a.example/p"}', 500),
    }


def pictures_of(server):
    """QR pictures that must not be shown: name, address, what the server does when it is asked for it."""
    def endless(handler):
        handler.begin(200, [("Content-Length", str(3_000_000_000))])
        handler.endless(b"\x89PNG" * 16384)
    return [
        ("3,000 MB", server.address + "qr", endless),
        ("144 megapixels in a small file", server.address + "qr", lambda handler: handler.whole(huge_picture())),
        (COMPRESSED, server.address + "qr", lambda handler: handler.whole(
            gzip.compress(b" " * 200_000_000, 1), headers=[("Content-Encoding", "gzip")])),
        ("a file of the table", "file://" + server.secret, None),
        ("a redirection to a file of the table", server.address + "qr",
         lambda handler: handler.whole(b"moved", 302, [("Location", "file://" + server.secret)])),
    ]


class Visitors:
    """One card after the other on one table, read through the inspector."""

    def __init__(self, build, folder, server):
        def impatient(presentation):
            for service in presentation["services"]["media-server-service"]:
                service["timeoutSeconds"] = 1
        world = World(build, folder, folder)
        self.table = Table(build, world.copy_of("gallery", impatient), os.path.join(folder, "data"),
                           ["--media-server", server.address])
        self.table.frames(3)
        self.table.wait_until("the pictures", lambda: self.table.get("/status")["pendingImages"] == 0)
        self.stage = Stage(build, self.table)
        self.slowest = 0.0

    def put(self, card):
        self.stage.act(f"at 0.05 card {card} down {PLACE[0]} {PLACE[1]} angle 270\nat 1 card {card} up", 1.5)
        return by_type(self.table.tree(), "PersonalSpaceWidget")[-1]

    def wait(self, what, condition, seconds=60):
        """Frames until `condition`, each of them timed."""
        def timed():
            begin = time.monotonic()
            self.table.frames(1, 0)
            self.slowest = max(self.slowest, time.monotonic() - begin)
            return condition()
        self.table.wait_until(what, timed, seconds)

    def clear(self):
        """Time passes until unused spaces are closed."""
        self.stage.play(70, frame=1.0)
        assert not by_type(self.table.tree(), "PersonalSpaceWidget"), "an unused space stays open"

    def complaints(self):
        return [line["text"] for line in self.table.get("/log") if line["level"] != "info" and not line["text"].startswith(ONLY_HERE)]

    def memory_mb(self):
        """The most it ever had."""
        with open(f"/proc/{self.table.process.pid}/status", encoding="ascii") as status:
            return next(int(line.split()[1]) / 1024 for line in status if line.startswith("VmHWM"))

    def end(self):
        self.stage.stop()
        complaint = self.table.end()
        assert not complaint, complaint


def answers(build, folder):
    """Fifteen answers to a command that a media server should never give, and five pictures."""
    secret = os.path.join(folder, "secret.png")
    with open(secret, "wb") as file:
        file.write(PICTURE)
    server = LyingServer(secret)
    visitors = Visitors(build, folder, server)
    try:
        visitors.put(1001)
        visitors.clear()
        memory = visitors.memory_mb()
        most = 0
        for name, post in commands_of(server).items():
            server.post = post
            before, posts, server.sent = len(visitors.complaints()), server.posts, 0
            visitors.put(1004)
            visitors.wait(f"the table's line about {name}", lambda: len(visitors.complaints()) > before)
            space = by_type(visitors.table.tree(), "PersonalSpaceWidget")[-1]
            assert not value(space, "user-page-url"), f"{name}: the space shows {value(space, 'user-page-url')}"
            assert server.posts == posts + 1, f"{name}: the command was sent {server.posts - posts} times"
            most = max(most, server.sent)
            visitors.clear()
        server.post, server.page = None, server.address + "p/good"
        visitors.put(1004)
        visitors.wait("the page's address after all this", lambda: value(by_type(visitors.table.tree(), "PersonalSpaceWidget")[-1],
                                                                         "user-page-url") == server.page)
        visitors.clear()
        for number, (name, address, get) in enumerate(pictures_of(server)):
            server.page, server.qr, server.get, server.sent = f"{server.address}p/{number}", address, get, 0
            before = len(visitors.complaints())
            visitors.put((1001, 1002, 1003, 1005, 1006)[number])
            visitors.wait(f"the table's line about {name}", lambda: len(visitors.complaints()) > before)
            space = by_type(visitors.table.tree(), "PersonalSpaceWidget")[-1]
            assert not value(by_class(space, "qr-icon")[0], "source"), f"{name}: it is shown as the QR code"
            most = max(most, server.sent)
            visitors.clear()
        growth = visitors.memory_mb() - memory
        report(f"15 answers and 5 pictures: none was shown; memory grew by {growth:.1f} MB at most (limit 60), the slowest frame took "
               f"{visitors.slowest:.2f} s (limit 1); {most / 1e6:.0f} MB were sent of one")
        assert growth < 60 and visitors.slowest < 1
    finally:
        server.stop()
        visitors.end()


SCENARIOS = {"answers": answers}
