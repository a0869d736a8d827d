"""The media server against strangers on the visitors' network, broken tables and a machine that kills it."""
import json
import os
import random
import re
import signal
import socket
import subprocess
import threading
import time

from http_bytes import ask, connect, exchange, port_of, request
from programs import MediaServer, Program

COMMANDS = [
    {"command": "getuserpage", "tessel": 7},
    {"command": "additem", "tessel": 7, "filename": "other.png", "displayname": "Other"},
    {"command": "deleteitem", "tessel": 7, "filename": "boat.png"},
]
FORMS_AND_FILES = ("", "/", "/file/1", "/save/1", "/thumb/1", "/qr.png", "/all.zip", "/logo", "/remove/1", "/remove/01", "/remove/2",
                   "/remove/1/", "/remove", "/remove-all", "/remove-all/", "/renew", "/renew/x", "/additem", "/%72enew")


def report(text):
    print("  " + text, flush=True)


class Server:
    """The real server with one item of one person; ended, and its end looked at, at the end of the block."""

    def __init__(self, build, folder, *options):
        self.content = os.path.join(folder, "content")
        os.makedirs(self.content, exist_ok=True)
        for name in ("boat.png", "other.png"):
            with open(os.path.join(self.content, name), "wb") as file:
                file.write(b"\x89PNG" + name.encode())
        with open(os.path.join(folder, "secret.txt"), "w", encoding="utf-8") as file:
            file.write("a secret of the house")
        command = [os.path.join(build, "bin", "tavola-mediaserver"), "--commands", "127.0.0.1:0", "--pages", "127.0.0.1:0",
                   "--content", self.content, "--database", os.path.join(folder, "pages.sqlite"), *options]
        self.program = Program(command, wait_for=[r"commands on (http://\S+/)", r"pages on (http://\S+/)"])
        self.commands, self.pages = (port_of(found.group(1)) for found in self.program.found)

    def __enter__(self):
        return self

    def __exit__(self, kind, value, trace):
        complaint = self.program.end()
        if kind is None:
            assert not complaint, complaint

    def command(self, command, seconds=10):
        status, answer = ask(self.commands, "POST", "/", json.dumps(command).encode(), seconds=seconds)
        assert status == 200, f"{command} was answered with {status}"
        return json.loads(answer.split(b"\r\n\r\n", 1)[1])

    def page(self, tessel):
        return "/p/" + self.command({"command": "getuserpage", "tessel": tessel})["userpageurl"].rsplit("/", 1)[1]

    def shown(self, page):
        """The page without what differs from one reading to the next."""
        status, answer = ask(self.pages, "GET", page)
        assert status == 200, f"the page was answered with {status}"
        return answer.split(b"\r\n\r\n", 1)[1]

    def memory_mb(self):
        with open(f"/proc/{self.program.process.pid}/status", encoding="ascii") as status:
            return next(int(line.split()[1]) / 1024 for line in status if line.startswith("VmRSS"))


def expected(method, target, page, unknown):
    """The status that the visitors' door owes to a stranger, who has no key of a form."""
    forms = ("/remove/1", "/remove-all", "/renew")
    if method not in ("GET", "HEAD"):
        if method == "POST" and target in [page + form for form in (*forms, "/remove/2")]:
            return 403
        is_nothing = target.startswith(unknown + "/") or target == page + "/remove/01"
        return 404 if method == "POST" and is_nothing else 405
    shown = ("", "/file/1", "/save/1", "/thumb/1", "/qr.png", "/all.zip", *forms)
    return 200 if target == "/health" or target in [page + part for part in shown] else 404


def doors(build, folder):
    """Every command, in every way a stranger can send it, at the visitors' door."""
    with Server(build, folder) as server:
        server.command({"command": "additem", "tessel": 7, "filename": "boat.png", "displayname": "Boat"})
        page = server.page(7)
        before = server.shown(page)
        unknown = "/p/" + "A" * 22
        targets = ["/", "//", "/?x=1", "/health", "/p/", unknown, "/content", "/getuserpage", "/additem",
                   *(base + part for base in (page, unknown) for part in FORMS_AND_FILES)]
        types = (["Content-Type: application/json"], ["Content-Type: application/x-www-form-urlencoded", "Origin: null"],
                 ["X-HTTP-Method-Override: DELETE", "Authorization: Bearer " + "0" * 64])
        tried = 0
        for command in COMMANDS:
            body = json.dumps(command).encode()
            for method in ("POST", "PUT", "PATCH", "DELETE", "OPTIONS", "TRACE", "CONNECT", "PROPFIND", "GET", "HEAD", "post", "get"):
                for number, target in enumerate(targets):
                    status, answer = ask(server.pages, method, target, body, types[number % len(types)])
                    wanted = expected(method, target, page, unknown)
                    assert status == wanted, f"{method} {target} was answered with {status} in place of {wanted}"
                    assert b"userpageurl" not in answer, f"{method} {target} gave an address away"
                    tried += 1
                for target in ("*", "http://localhost/", "http://localhost" + page, "museum.example:80"):
                    status, answer = ask(server.pages, method, target, body)
                    assert status in (400, 404, 405), f"{method} {target} was answered with {status}"
                    assert b"userpageurl" not in answer, f"{method} {target} gave an address away"
                    tried += 1
        assert server.shown(page) == before, "something sent to the visitors' door changed the page"
        # The same with the key of another page's form, and at last with its own, as its owner's browser sends it.
        other = server.page(8)
        for where, origin, wanted in ((other, None, 403), (page, "http://museum.example", 403), (page, None, 303)):
            key = re.search(rb'name="key" value="([^"]+)"', ask(server.pages, "GET", where + "/remove-all")[1]).group(1)
            headers = ["Content-Type: application/x-www-form-urlencoded", "Origin: " + (origin or f"http://127.0.0.1:{server.pages}")]
            status, _ = ask(server.pages, "POST", page + "/remove-all", b"key=" + key, headers)
            assert status == wanted, f"a form was answered with {status} in place of {wanted}"
            assert (server.shown(page) == before) == (wanted != 303), "a form did what it must not, or nothing"
        report(f"{tried} requests at the visitors' door changed nothing; a page's own form did")
        after = server.shown(page)

        for header in ("Origin: http://museum.example", "Origin: null", "origin:"):
            status, _ = ask(server.commands, "POST", "/", json.dumps(COMMANDS[2]).encode(), [header])
            assert status == 403, f"a command with {header} was answered with {status}"
        assert server.shown(page) == after, "a web page changed a visitor's page"
    refused = subprocess.run([os.path.join(build, "bin", "tavola-mediaserver"), "--commands", "0.0.0.0:0", "--pages", "127.0.0.1:0",
                              "--content", server.content, "--database", os.path.join(folder, "pages.sqlite")],
                             capture_output=True, text=True, timeout=30)
    assert refused.returncode == 2 and "--command-key" in refused.stderr, refused.stderr


def bodies(build, folder):
    """What is no command, and what is no HTTP."""
    generator = random.Random(7)
    with Server(build, folder) as server:
        wrong = [b"", b"{", b"[]", b"null", b'"x"', b"\xff\xfe\x00", b'{"command":1}', b'{"command":"additem"}',
                 b'{"command":"getuserpage","tessel":"x"}', b'{"command":"getuserpage","tessel":1e300}', b"[" * 30000,
                 b'{"a":' * 5000 + b"1" + b"}" * 5000, b'{"command":"additem","tessel":7,"filename":"../secret.txt"}',
                 b'{"command":"additem","tessel":7,"filename":"a\\u0000b"}', b'{"command":"additem","tessel":7,"url":"javascript:1"}']
        wrong += [bytes(generator.randrange(256) for _ in range(generator.randrange(400))) for _ in range(200)]
        for body in wrong:
            status, answer = ask(server.commands, "POST", "/", body)
            assert status in (200, 400), f"{body[:60]!r} was answered with {status}"
            assert b'"success":false' in answer, f"{body[:60]!r} was carried out"
        before = server.memory_mb()
        for start in (b"GET / HTTP/1.1\r\nHost: x\r\nX: ", b"POST / HTTP/1.1\r\nHost: x\r\nTransfer-Encoding: chunked\r\n\r\n4;",
                      b"GET /"):
            status, _ = exchange(server.pages, start + b"x" * 4_000_000)
            assert status in (0, 400, 414, 431), f"a request without an end was answered with {status}"
        for _ in range(300):
            exchange(server.pages, bytes(generator.randrange(256) for _ in range(200)) + b"\r\n\r\n")
        growth = server.memory_mb() - before
        assert growth < 20, f"{growth:.1f} MB were kept of requests without an end"
        assert server.command(COMMANDS[0])["success"]
        report(f"{len(wrong)} bodies that are no command did nothing; requests without an end cost {growth:.1f} MB (limit 20)")


def pages(build, folder):
    """Pages and files of other people, by guessing and by walking out of the folder."""
    with Server(build, folder) as server:
        server.command({"command": "additem", "tessel": 7, "filename": "boat.png", "displayname": "<script>alert(1)</script>"})
        mine, other = server.page(8), server.page(7)
        assert b"<script>alert" not in server.shown(other), "a name became a script"
        token = other[3:]
        guesses = [mine + "/file/1", "/p/" + token[:-1], "/p/" + token + "A", "/p/" + token[::-1], "/p/" + token.swapcase(),
                   "/p/7", "/p/%37", "/p/" + "A" * 22, "/p/" + token + "/file/0", "/p/" + token + "/file/-1",
                   "/p/" + token + "/file/01", "/p/" + token + "/file/1/", "/p/" + token + "/file/99999999999999999999",
                   "/p/" + token + "/file/../../secret.txt", "/../secret.txt", "/%2e%2e/secret.txt", "/p/../../secret.txt",
                   "/p/" + token + "/file/%2e%2e%2fsecret.txt", "/content/boat.png", "/boat.png", "/pages.sqlite"]
        for target in guesses:
            status, answer = ask(server.pages, "GET", target)
            assert status in (400, 404), f"{target} was answered with {status}"
            assert b"secret of the house" not in answer and b"boat.png" not in answer.split(b"\r\n\r\n", 1)[-1], target
        os.symlink(os.path.join(folder, "secret.txt"), os.path.join(server.content, "link.png"))
        answer = server.command({"command": "additem", "tessel": 7, "filename": "link.png"})
        assert not answer["success"], "a link out of the folder was taken"
        report(f"{len(guesses)} guessed addresses led nowhere")


def clients(build, folder):
    """Phones that do nothing, that dribble, and that never read, while a table works."""
    with Server(build, folder, "--timeout", "5") as server:
        server.command({"command": "additem", "tessel": 7, "filename": "boat.png"})
        with open(os.path.join(server.content, "large.png"), "wb") as file:
            file.truncate(30_000_000)
        server.command({"command": "additem", "tessel": 7, "filename": "large.png"})
        page = server.page(7)
        open_ones = []
        for number in range(700):
            client = connect(server.pages)
            if number % 3 == 1:
                client.sendall(b"GET / HTTP/1.1\r\nHost: x\r\nX-")
            elif number % 3 == 2:
                client.sendall(request("GET", page + "/file/2"))
            open_ones.append(client)
        slowest = 0.0
        for number in range(50):
            begin = time.monotonic()
            assert server.command({"command": "additem", "tessel": number, "filename": "boat.png"})["success"]
            slowest = max(slowest, time.monotonic() - begin)
        begin = time.monotonic()
        server.shown(page)
        reading = time.monotonic() - begin
        for client in open_ones:
            client.close()
        assert slowest < 2, f"a table's command took {slowest:.2f} s"
        assert reading < 2, f"a page took {reading:.2f} s"
        report(f"with 700 idle, slow and deaf phones a command took {slowest:.3f} s at most, a page {reading:.3f} s (limit 2)")


def server_kills(build, folder):
    """Thirty kills in the middle of a burst: what was acknowledged is there afterwards."""
    acknowledged = []
    number = 0
    for person in range(30):
        server = Server(build, folder)
        server.__enter__()
        stop = threading.Event()

        def burst(first, end=stop, port=server.commands, tessel=person):
            item = first
            while not end.is_set():
                item += 4
                body = json.dumps({"command": "additem", "tessel": tessel, "url": f"https://museum.example/{item}"}).encode()
                try:
                    status, answer = ask(port, "POST", "/", body, seconds=5)
                except OSError:
                    return
                if status == 200 and b'"success":true' in answer:
                    acknowledged.append((tessel, item))

        threads = [threading.Thread(target=burst, args=(number + lane,)) for lane in range(4)]
        for thread in threads:
            thread.start()
        wanted = len(acknowledged) + 15
        deadline = time.monotonic() + 10
        while len(acknowledged) < wanted and time.monotonic() < deadline:
            threading.Event().wait(0.002)
        server.program.process.send_signal(signal.SIGKILL)
        server.program.process.wait()
        stop.set()
        for thread in threads:
            thread.join()
        number += 100000
    with Server(build, folder) as server:
        shown = [server.shown(server.page(person)) for person in range(30)]
        lost = [item for person, item in acknowledged if f"https://museum.example/{item}\"".encode() not in shown[person]]
        assert not lost, f"{len(lost)} of {len(acknowledged)} acknowledged items are lost, such as {lost[:3]}"
        report(f"30 kills: all {len(acknowledged)} acknowledged items are there")


SCENARIOS = {"doors": doors, "bodies": bodies, "pages": pages, "clients": clients, "server_kills": server_kills}
