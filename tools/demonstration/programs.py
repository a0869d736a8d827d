"""The programs of a demonstration: starts them, reads them through their own interfaces, and ends them."""
import atexit
import json
import os
import re
import shutil
import signal
import subprocess
import tempfile
import threading
import time
import urllib.error
import urllib.request


class Failure(Exception):
    """An expectation that was not met; the text says which."""


class Program:
    """A running program whose first lines on standard output name its addresses."""

    def __init__(self, command, environment=None, wait_for=(), seconds=30):
        self.command = command
        self.lines = []
        self._arrived = threading.Condition()
        self.errors = tempfile.NamedTemporaryFile("w+", prefix="tavola-demo-", suffix=".log")
        self.process = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=self.errors, stdin=subprocess.PIPE,
                                        text=True, env={**os.environ, **(environment or {})})
        # A script that fails on its way leaves no program running.
        atexit.register(lambda: self.process.poll() is None and self.process.kill())
        threading.Thread(target=self._read, daemon=True).start()
        self.found = [self._wait(pattern, seconds) for pattern in wait_for]

    def _read(self):
        for line in self.process.stdout:
            with self._arrived:
                self.lines.append(line.rstrip("\n"))
                self._arrived.notify_all()
        with self._arrived:
            self.lines.append(None)
            self._arrived.notify_all()

    def _wait(self, pattern, seconds):
        deadline = time.monotonic() + seconds
        with self._arrived:
            while True:
                for line in self.lines:
                    match = line is not None and re.search(pattern, line)
                    if match:
                        return match
                if None in self.lines or time.monotonic() > deadline:
                    raise Failure(f"{os.path.basename(self.command[0])} did not start: {self.error_text()}")
                self._arrived.wait(deadline - time.monotonic())

    def error_text(self):
        self.errors.flush()
        with open(self.errors.name, encoding="utf-8", errors="replace") as file:
            return file.read().strip()[-2000:] or "it said nothing"

    def stop(self):
        if self.process.poll() is None:
            self.process.terminate()
            try:
                self.process.wait(10)
            except subprocess.TimeoutExpired:
                self.process.kill()
                self.process.wait()
        return self.process.returncode

    def end(self):
        """Stops it. Returns what was wrong at its end, such as a sanitizer's report, or nothing."""
        code = self.stop()
        if code in (0, -signal.SIGTERM):
            return ""
        return f"{os.path.basename(self.command[0])} ended with code {code}: {self.error_text()}"


def end_all(programs):
    """Ends them all, the last one first; Failure when one ended badly."""
    bad = [complaint for program in reversed(programs) for complaint in [program.end()] if complaint]
    if bad:
        raise Failure("; ".join(bad))


def fetch(address, data=None, seconds=30):
    """The body of an HTTP answer; Failure for anything but success."""
    request = urllib.request.Request(address, data=data, method="GET" if data is None else "POST")
    try:
        with urllib.request.build_opener(urllib.request.ProxyHandler({})).open(request, timeout=seconds) as answer:
            return answer.read()
    except urllib.error.HTTPError as error:
        raise Failure(f"{address} answered {error.code}: {error.read()[:300]!r}") from error
    except OSError as error:
        raise Failure(f"{address} cannot be reached: {error}") from error


# A table says so once when it learns of pages on a server of this machine that has no other address.
ONLY_HERE = "MediaServerService # Pages have addresses such as http://127.0.0.1:"


class MediaServer(Program):
    def __init__(self, build, content, folder, port=0, options=()):
        super().__init__([os.path.join(build, "bin", "tavola-mediaserver"), "--commands", f"127.0.0.1:{port}",
                          "--pages", "127.0.0.1:0", "--content", content,
                          "--database", os.path.join(folder, "pages.sqlite"), *options],
                         wait_for=[r"commands on (http://\S+/)", r"pages on (http://\S+/)"])
        self.address = self.found[0].group(1)  # for commands
        self.pages = self.found[1].group(1)

    def command_answer(self, command):
        return json.loads(fetch(self.address, json.dumps(command).encode()))


class ManualTable(Program):
    """A table under a manual clock, its widgets read through the inspector."""

    def __init__(self, build, command, folder, options, wait_for=()):
        super().__init__([os.path.join(build, "bin", "tavola"), *command, "--headless", "--manual-clock", "--inspect", "0",
                          "--data", folder, *options],
                         environment={"QT_QPA_PLATFORM": "offscreen"},
                         wait_for=[r"inspector on (http://\S+?)/$", r"is open$", *wait_for])
        self.inspector = self.found[0].group(1)

    def get(self, path):
        return json.loads(fetch(self.inspector + path))

    def frames(self, count=1, dt=1 / 60):
        """Runs frames. The table's status, with the "milliseconds" that they have taken."""
        return json.loads(fetch(f"{self.inspector}/frames?count={count}&dt={dt}", b""))

    def screenshot(self, path, rect=None):
        part = "?rect=" + ",".join(f"{number:.0f}" for number in rect) if rect else ""
        with open(path, "wb") as file:
            file.write(fetch(self.inspector + "/screenshot.png" + part))

    def tree(self):
        return self.get("/tree")

    def wait_until(self, what, condition, seconds=30):
        """Runs frames of no duration until `condition` returns something; for results from a network or a worker thread."""
        deadline = time.monotonic() + seconds
        while True:
            result = condition()
            if result:
                return result
            if time.monotonic() > deadline:
                raise Failure(f"waited {seconds} s in vain for {what}")
            self.frames(1, 0)


class Table(ManualTable):
    """A table with datagram input for visitors."""

    def __init__(self, build, presentation, folder, options=()):
        super().__init__(build, ["run", presentation, "--tuio", "127.0.0.1:0"], folder, options, [r"TUIO on \S+:(\d+)"])
        self.tuio_port = int(self.found[2].group(1))


class Visitor(Program):
    """tavola-visit with a script of its own, one frame at a time."""

    def __init__(self, build, table, script, options=()):
        self.file = tempfile.NamedTemporaryFile("w", suffix=".visit", encoding="utf-8")
        self.file.write(script)
        self.file.flush()
        super().__init__([os.path.join(build, "bin", "tavola-visit"), self.file.name, "--to",
                          f"127.0.0.1:{table.tuio_port}", "--step", *options])
        self.now = 0.0
        self.sent = 0

    def play(self, seconds):
        """Sends what the script has for the next `seconds`."""
        self.now += seconds
        answers = len(self.lines)
        self.process.stdin.write(f"{self.now:.6f}\n")
        self.process.stdin.flush()
        with self._arrived:
            if not self._arrived.wait_for(lambda: len(self.lines) > answers, 20) or self.lines[-1] is None:
                raise Failure(f"a visitor stopped: {self.error_text()}")
            self.sent = int(self.lines[-1])


class Stage:
    """Visitors at a table, in step with its clock: every datagram arrives before the frame that it belongs to."""

    FRAME = 1 / 60
    APART = 100_000  # seconds between the times of visitors: a table tells by them that another one has begun

    def __init__(self, build, table, visit_options=(), size=(1920, 1080)):
        self.build = build
        self.table = table
        self.size = size  # of the table, in pixels
        self.visit_options = list(visit_options)
        self.visitors = []
        self.left = 0  # datagrams of visitors who have gone
        self.complaints = []  # about how they went
        self.now = 0.0
        self._began = 0
        self._before = table.get("/input")["datagramsReceived"]

    def enter(self, script):
        """Starts a script; its time begins now."""
        # Scripts played one after the other use one sender, because a table accepts a limited number.
        taken = {visitor.name for visitor in self.visitors}
        self._began += self.APART
        name = next(name for name in map("visitor-{}".format, range(100)) if name not in taken)
        visitor = Visitor(self.build, self.table, f"size {self.size[0]} {self.size[1]}\n" + script + "\n",
                          ["--source", name, "--began", str(self._began), *self.visit_options])
        visitor.name = name
        self.visitors.append(visitor)
        return visitor

    def leave(self, visitor):
        self.left += visitor.sent
        self.visitors.remove(visitor)
        self.complaints.append(visitor.end())

    def play(self, seconds, frame=FRAME):
        """Plays all scripts for `seconds`, in frames of at most `frame`, or longer ones while nothing happens."""
        rest = seconds
        while rest > 1e-9:
            step = min(frame, rest)
            rest -= step
            self.now += step
            for visitor in self.visitors:
                visitor.play(step)
            sent = self.left + sum(visitor.sent for visitor in self.visitors)
            deadline = time.monotonic() + 20
            while self.table.get("/input")["datagramsReceived"] - self._before < sent:
                if time.monotonic() > deadline:
                    raise Failure("datagrams were lost on the way to the table")
            self.table.frames(1, step)

    def play_until(self, seconds, frame=FRAME):
        self.play(max(0.0, seconds - self.now), frame)

    def act(self, script, seconds):
        """Plays a script from its beginning to its end."""
        visitor = self.enter(script)
        self.play(seconds)
        self.leave(visitor)

    def tap(self, *points):
        """Taps the points one after the other."""
        lines = []
        for index, (x, y) in enumerate(points):
            lines += [f"at {0.02 + index * 0.16:.2f} finger 1 down {x:.1f} {y:.1f}", f"at {0.10 + index * 0.16:.2f} finger 1 up"]
        self.act("\n".join(lines), len(points) * 0.16)

    def stop(self):
        for visitor in self.visitors:
            visitor.stop()

    def end(self):
        return "; ".join(filter(None, self.complaints + [visitor.end() for visitor in self.visitors]))


def find(tree, predicate):
    """Widgets of a tree, depth first, for which `predicate` holds."""
    found = [tree] if predicate(tree) else []
    for child in tree["children"]:
        found += find(child, predicate)
    return found


def by_type(tree, name):
    return find(tree, lambda widget: widget["type"] == name)


def by_class(tree, name):
    return find(tree, lambda widget: name in widget["classes"])


def by_id(tree, name):
    return find(tree, lambda widget: widget["cssId"] == name)


def value(widget, attribute):
    return widget["attributes"].get(attribute, {}).get("value", "")


def centre(widget):
    rect = widget["rect"]
    return rect["x"] + rect["width"] / 2, rect["y"] + rect["height"] / 2


def decode_qr(path):
    """The texts of the QR codes in a picture; Failure where no decoder is installed."""
    if not shutil.which("zbarimg"):
        raise Failure("zbarimg is not installed (Debian package zbar-tools)")
    result = subprocess.run(["zbarimg", "--quiet", "--raw", path], capture_output=True, text=True, check=False)
    return result.stdout.split()
