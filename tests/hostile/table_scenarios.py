"""The table against senders of rubbish, deaf clients of its inspector, and a machine that kills it."""
import json
import os
import random
import re
import signal
import socket
import struct
import subprocess
import time
import zlib

from http_bytes import ask, connect, exchange, port_of
from programs import Program, by_type, fetch

PRESENTATIONS = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "presentations")


def report(text):
    print("  " + text, flush=True)


class Table:
    """A presentation, usually the gallery, without a screen, by the clock."""

    def __init__(self, build, folder, *options, tuio="127.0.0.1:0", presentation=os.path.join(PRESENTATIONS, "gallery")):
        data = os.path.join(folder, "data")
        os.makedirs(data, exist_ok=True)
        command = [os.path.join(build, "bin", "tavola"), "run", presentation, "--headless",
                   "--inspect", "0", "--tuio", tuio, "--data", data, *options]
        self.program = Program(command, wait_for=[r"inspector on (http://\S+?)/$", r"TUIO on \S+:(\d+)", r"is open$"])
        self.inspector = self.program.found[0].group(1)
        self.tuio = int(self.program.found[1].group(1))

    def __enter__(self):
        return self

    def __exit__(self, kind, value, trace):
        complaint = self.program.end()
        if kind is None:
            assert not complaint, complaint

    def get(self, path):
        return json.loads(fetch(self.inspector + path))

    def memory_mb(self, kind="VmRSS"):
        with open(f"/proc/{self.program.process.pid}/status", encoding="ascii") as status:
            return next(int(line.split()[1]) / 1024 for line in status if line.startswith(kind))


def osc(address, tags, *values):
    def text(value):
        data = value.encode() + b"\0"
        return data + b"\0" * (-len(data) % 4)
    message = text(address) + text("," + tags)
    for tag, value in zip(tags, values):
        message += text(value) if tag == "s" else struct.pack(">i" if tag == "i" else ">f", value)
    return message


def bundle(*messages):
    return b"#bundle\0" + struct.pack(">Q", 1) + b"".join(struct.pack(">i", len(one)) + one for one in messages)


def cursor_frame(number, fingers, place):
    alive = osc("/tuio/2Dcur", "s" + "i" * fingers, "alive", *range(1, fingers + 1))
    sets = [osc("/tuio/2Dcur", "sifffff", "set", i, place, 0.1 + 0.01 * i, 0.0, 0.0, 0.0) for i in range(1, fingers + 1)]
    return bundle(alive, *sets, osc("/tuio/2Dcur", "si", "fseq", number))


def packets(build, folder):
    """Three seconds of rubbish as fast as one process can send it, mixed with a tracker that works."""
    generator = random.Random(11)
    rubbish = [bytes(generator.randrange(256) for _ in range(generator.choice((0, 3, 16, 200, 1400)))) for _ in range(64)]
    rubbish += [b"#bundle\0" + struct.pack(">Qi", 1, 2**31 - 1), osc("/tuio/2Dobj", "s", "set"), b"/tuio/2Dcur\0,s",
                bundle(*[osc("/tuio/2Dcur", "s", "alive")] * 200), cursor_frame(-5, 300 // 10, float("nan"))]
    with Table(build, folder) as table:
        before = table.get("/status")
        memory = table.memory_mb()
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as sender:
            begin = time.monotonic()
            sent = 0
            slowest = 0.0
            while time.monotonic() - begin < 3:
                for _ in range(500):
                    sender.sendto(generator.choice(rubbish), ("127.0.0.1", table.tuio))
                sent += 500
                sender.sendto(cursor_frame(sent, 5, (sent % 1000) / 1000), ("127.0.0.1", table.tuio))
                asked = time.monotonic()
                status = table.get("/status")
                slowest = max(slowest, time.monotonic() - asked)
            seconds = time.monotonic() - begin
        status = table.get("/status")
        frames = (status["frame"] - before["frame"]) / seconds
        growth = table.memory_mb() - memory
        report(f"{sent / seconds:.0f} packets a second of rubbish: {frames:.0f} frames a second (limit 30), the inspector answered "
               f"within {slowest:.2f} s (limit 1), memory grew by {growth:.1f} MB (limit 30)")
        assert frames >= 30 and slowest < 1 and growth < 30


def connections(build, folder):
    """Clients of the inspector that never end a request, and that ask without reading."""
    with Table(build, folder) as table:
        port = port_of(table.inspector + "/")
        before = table.memory_mb()
        status, _ = exchange(port, b"POST /frames HTTP/1.1\r\nHost: localhost\r\nTransfer-Encoding: chunked\r\n\r\n4;" + b"x" * 8_000_000)
        assert status in (0, 431), f"a chunk extension without an end was answered with {status}"
        status, _ = ask(port, "GET", "/tree", headers=["Sec-Fetch-Site: cross-site"])
        assert status == 403, f"a request for a page of another site was answered with {status}"
        deaf = []
        for _ in range(20):
            client = connect(port)
            client.sendall(b"GET /screenshot.png HTTP/1.1\r\nHost: localhost\r\n\r\n" * 10)
            deaf.append(client)
        start = table.get("/status")["frame"]
        begin = time.monotonic()
        while time.monotonic() - begin < 3:
            table.get("/status")
        frames = (table.get("/status")["frame"] - start) / (time.monotonic() - begin)
        growth = table.memory_mb() - before
        for client in deaf:
            client.close()
        report(f"with 20 deaf clients {frames:.0f} frames a second (limit 10), memory grew by {growth:.1f} MB (limit 300)")
        assert frames >= 10 and growth < 300


def table_kills(build, folder):
    """Thirty kills of a table that is being used: it opens again each time, with its people, and one's card opens the space."""
    with Table(build, folder):
        pass  # from here on its registry counts
    add = subprocess.run([*people(build, folder, "add"), "4711", "--name", "Kept"], capture_output=True, text=True)
    assert add.returncode == 0, add.stderr
    before = exported(build, folder)
    assert "\n4711,Kept," in before and "\n1001,Ann," in before, f"these people are in the registry: {before}"
    opened = 0
    for _ in range(30):
        table = Table(build, folder)
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as sender:
            for number in range(1, 20):
                sender.sendto(card_frame(number, 1001), ("127.0.0.1", table.tuio))
        table.get("/status")
        table.program.process.send_signal(signal.SIGKILL)
        table.program.process.wait()
        opened += 1
    assert exported(build, folder) == before, f"after {opened} kills the registry has other people"
    with Table(build, folder) as table, socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as sender:
        errors = [line["text"] for line in table.get("/log") if line["level"] == "error"]
        assert not errors, f"after {opened} kills the table says: {errors[0]}"
        deadline = time.monotonic() + 30
        number = 0
        while not by_type(table.get("/tree"), "PersonalSpaceWidget"):
            assert time.monotonic() < deadline, f"after {opened} kills a person's card opens no space"
            number += 1
            sender.sendto(card_frame(number, 4711), ("127.0.0.1", table.tuio))
        report(f"{opened} kills, and the table opens with all its people, the space of one, and without an error")


def card_frame(number, code):
    """A packet of a tracker that sees one card in the middle of the table."""
    put = osc("/tuio/2Dobj", "siiffffffff", "set", 1, code, 0.5, 0.5, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0)
    return bundle(osc("/tuio/2Dobj", "si", "alive", 1), put, osc("/tuio/2Dobj", "si", "fseq", number))


def people(build, folder, action):
    return [os.path.join(build, "bin", "tavola"), "people", action, "--data", os.path.join(folder, "data"),
            os.path.join(PRESENTATIONS, "gallery")]


def exported(build, folder):
    return subprocess.run([*people(build, folder, "export"), "-"], capture_output=True, text=True, check=True).stdout


def deaf_log(build, folder):
    """A table whose log has no reader: every line of it would end a program that SIGPIPE ends."""
    reader, writer = os.pipe()
    os.close(reader)
    data = os.path.join(folder, "data")
    command = [os.path.join(build, "bin", "tavola"), "run", os.path.join(PRESENTATIONS, "gallery"), "--headless", "--inspect", "0",
               "--tuio", "127.0.0.1:0", "--data", data]
    process = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=writer, text=True,
                               preexec_fn=lambda: signal.signal(signal.SIGPIPE, signal.SIG_DFL))
    os.close(writer)
    try:
        found = {}
        for line in process.stdout:
            for name, pattern in (("inspector", r"inspector on (http://\S+?)/$"), ("tuio", r"TUIO on \S+:(\d+)"), ("open", r"is open$")):
                match = re.search(pattern, line.rstrip("\n"))
                if match:
                    found[name] = match.group(match.re.groups)
            if "open" in found:
                break
        assert "open" in found, f"the table ended with {process.wait()} before it was open"
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as sender:
            sender.sendto(b"rubbish", ("127.0.0.1", int(found["tuio"])))
        deadline = time.monotonic() + 20
        lines = []
        while not lines and time.monotonic() < deadline:
            lines = [line for line in json.loads(fetch(found["inspector"] + "/log")) if line["level"] != "info"]
        assert lines, "the table logged nothing, so nothing was tried"
        assert process.poll() is None, "the table ended with its log's reader"
        report("a table whose log has no reader goes on")
    finally:
        process.terminate()
        code = process.wait(20)
    assert code == 0, f"the table ended with {code}"


def silent_trackers(build, folder):
    """Sixteen connections that stay silent, in front of a tracker whose first profile closes no frame."""
    def framed(packet):
        return struct.pack(">i", len(packet)) + packet

    with Table(build, folder, tuio="tcp:127.0.0.1:0") as table:
        silent = [socket.create_connection(("127.0.0.1", table.tuio), 20) for _ in range(16)]
        with socket.create_connection(("127.0.0.1", table.tuio), 20) as tracker:
            alive = osc("/tuio/2Dobj", "si", "alive", 1)
            for number in range(1, 21):
                tracker.sendall(framed(bundle(alive)) + framed(cursor_frame(number, 3, 0.1)))
            deadline = time.monotonic() + 20
            frames, warnings = 0, []
            while time.monotonic() < deadline and (frames < 20 or not any("closes no frame" in line for line in warnings)):
                report_of_input = table.get("/input")
                frames = sum(source["frames"] for source in report_of_input["sources"])
                warnings = [line["text"] for line in table.get("/log") if line["level"] == "warning"]
        for one in silent:
            one.close()
        assert frames == 20, f"of a tracker behind 16 silent connections {frames} of 20 frames arrived"
        made_room = report_of_input["listeners"][0]["silentConnections"]
        assert made_room == 1, f"/input names {made_room} silent connections that made room"
        assert sum("to make room for" in line for line in warnings) == 1, warnings
        unclosed = report_of_input["sources"][0]["unclosedFrames"]
        assert unclosed == {"2Dobj": 19}, f"/input names these frames without an end: {unclosed}"
        assert sum("closes no frame of 2Dobj" in line for line in warnings) == 1, warnings
        report("16 silent connections: one made room, and a tracker's frames arrived; a profile without an end is counted and told once")


def chunk(kind, content):
    return struct.pack(">I", len(content)) + kind + content + struct.pack(">I", zlib.crc32(kind + content))


def talkative_png(texts):
    """A PNG of 10 × 10 pixels with texts of 8 MB each, compressed to 8 KB."""
    plain = black_png(10, 10)
    return plain[:33] + chunk(b"zTXt", b"Comment\0\0" + zlib.compress(b"a" * 7_900_000, 9)) * texts + plain[33:]


def black_png(width, height):
    rows = zlib.compress(bytes((1 + (width + 7) // 8) * height), 9)
    header = struct.pack(">IIBBBBB", width, height, 1, 0, 0, 0, 0)
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", rows) + chunk(b"IEND", b"")


def huge_document(side):
    """A PDF of few bytes with a JPEG 2000 picture of very many pixels."""
    def big(value, size):
        return value.to_bytes(size, "big")
    sides = big(side, 4) * 2
    picture = (b"\xff\x4f\xff\x51" + big(47, 2) + big(0, 2) + sides + bytes(8) + sides + bytes(8) + big(3, 2) + b"\x07\x01\x01" * 3
               + b"\xff\x52\0\x0c\0\0\0\x01\0\x05\x04\x04\0\x01" + b"\xff\x5c" + big(19, 2) + b"\x40" + b"\x48" * 16
               + b"\xff\x90" + big(10, 2) + bytes(6) + b"\0\x01\xff\x93" + b"\x80" * 2000 + b"\xff\xd9")
    drawing = b"q 200 0 0 100 0 0 cm /I Do Q"
    objects = [b"<< /Type /Catalog /Pages 2 0 R >>", b"<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
               b"<< /Type /Page /Parent 2 0 R /MediaBox [0 0 200 100] /Contents 4 0 R /Resources << /XObject << /I 5 0 R >> >> >>",
               b"<< /Length %d >>\nstream\n%s\nendstream" % (len(drawing), drawing),
               b"<< /Type /XObject /Subtype /Image /Width %d /Height %d /ColorSpace /DeviceRGB /BitsPerComponent 8 "
               b"/Filter /JPXDecode /Length %d >>\nstream\n%s\nendstream" % (side, side, len(picture), picture)]
    body = b"".join(b"%d 0 obj\n%s\nendobj\n" % (number, text) for number, text in enumerate(objects, 1))
    return b"%PDF-1.5\n" + body + b"trailer\n<< /Root 1 0 R >>\n"


def huge_pictures(build, folder):
    """Three pictures of 196 megapixels in files of 25 KB, one in a document of 3 KB, and one that can be shown."""
    place = os.path.join(folder, "presentation")
    os.makedirs(place)
    for name, side in (("one", 14000), ("two", 14000), ("three", 14000), ("small", 100)):
        with open(os.path.join(place, name + ".png"), "wb") as file:
            file.write(black_png(side, side))
    widgets = [{"component": "picture", "id": name, "attributes": {"source": {"file": name + ".png"}}}
               for name in ("one", "two", "three", "small")]
    with open(os.path.join(place, "four.pdf"), "wb") as file:
        file.write(huge_document(14000))
    with open(os.path.join(place, "talkative.png"), "wb") as file:
        file.write(talkative_png(120))
    widgets.append({"component": "picture", "id": "five", "attributes": {"source": {"file": "talkative.png"}}})
    widgets.append({"component": "document", "id": "four", "attributes": {"source": {"file": "four.pdf"}}})
    with open(os.path.join(place, "presentation.json"), "w", encoding="utf-8") as file:
        json.dump({"title": "Huge", "widgets": widgets}, file)
    with Table(build, folder, presentation=place) as table:
        deadline = time.monotonic() + 60
        lines = []
        while time.monotonic() < deadline and (len(lines) < 3 or table.get("/status")["pendingImages"]):
            lines = [line["text"] for line in table.get("/log") if "14000 x 14000 pixels need" in line["text"]]
        most = table.memory_mb("VmHWM")
        assert any("the texts in it may take more than 128 MB" in line["text"] for line in table.get("/log")), "the texts are decoded"
        left_out = []
        while time.monotonic() < deadline and not left_out:
            left_out = [line["text"] for line in table.get("/log") if "is shown without a JPEG 2000 picture" in line["text"]]
        assert len(left_out) == 1 and "more than the limit of 1024 MB to decode" in left_out[0], left_out
        assert len(lines) == 3, f"of three huge pictures {len(lines)} were refused"
        assert all("the limit is 256 MB; make it smaller" in line for line in lines), lines
        report(f"three pictures of 196 megapixels, and one in a document, are refused with a line each; the table had at most {most:.0f} MB (limit 300)")
        assert most < 300


SCENARIOS = {"huge_pictures": huge_pictures, "silent_trackers": silent_trackers, "deaf_log": deaf_log, "packets": packets, "connections": connections, "table_kills": table_kills}
