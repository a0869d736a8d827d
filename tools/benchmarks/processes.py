"""Rows that take whole processes: their processor time is read when they have ended."""
import json
import os
import re
import statistics
import subprocess
import sys
import tempfile
import time
import urllib.request

ROUNDS = 9
_ENVIRONMENT = {"QT_QPA_PLATFORM": "offscreen", "QT_HASH_SEED": "0"}


class Process:
    """A process whose processor time counts, all its threads together."""

    def __init__(self, command, environment=None):
        self.process = subprocess.Popen(command, env={**os.environ, **_ENVIRONMENT, **(environment or {})}, stdout=subprocess.PIPE,
                                        stderr=subprocess.DEVNULL, text=True)

    def wait_for(self, pattern):
        """The first line of its output that has the pattern."""
        for line in self.process.stdout:
            match = re.search(pattern, line)
            if match:
                return match
        raise RuntimeError(f"{self.process.args[0]} ended before it was ready")

    def end(self, stop=False):
        """Seconds of processor time, when it has ended."""
        if stop:
            self.process.terminate()
        self.process.stdout.close()
        _, status, usage = os.wait4(self.process.pid, 0)
        self.process.returncode = os.waitstatus_to_exitcode(status)
        if self.process.returncode != 0:
            raise RuntimeError(f"{self.process.args[0]} ended with code {self.process.returncode}")
        return usage.ru_utime + usage.ru_stime


def open_table(build, presentation, data, complete, more=()):
    """Opens a presentation with `more` options, draws the table after its first frame, or when all of its pictures are there, and
    ends it. Seconds of processor time, and the number of pictures that were still on their way after the first frame."""
    table = Process([str(build / "bin" / "tavola"), "run", str(presentation), "--headless", "--manual-clock", "--inspect", "0",
                     "--tuio", "0", "--data", data, *more], {"XDG_CACHE_HOME": data})
    try:
        address = table.wait_for(r"(http://127\.0\.0\.1:\d+)")[1]
        first = pending = run_frame(address)
        for _ in range(10000):
            if pending == 0 or not complete:
                break
            time.sleep(0.05)  # each question costs the table processor time, too
            pending = run_frame(address)
        else:
            raise RuntimeError("the pictures do not come")
        with urllib.request.urlopen(f"{address}/screenshot.png?rect=0,0,1,1", timeout=30) as answer:
            answer.read()
    except BaseException:
        table.process.kill()
        table.process.wait()
        raise
    return table.end(stop=True), first


def run_frame(address):
    """The number of pictures on their way after a frame."""
    with urllib.request.urlopen(f"{address}/frames?count=1&dt=0.016", data=b"", timeout=30) as answer:
        return json.load(answer)["pendingImages"]


def run_start(build, root, arguments):
    """Row 16; nothing, with the reason printed, when a program fails."""
    rounds = 1 if arguments.smoke else arguments.rounds or ROUNDS
    gallery = root / "presentations" / "gallery"
    complete, undecoded, first, bare = [], [], [], []
    waits = 0
    try:
        with tempfile.TemporaryDirectory(prefix="tavola-bench-") as data:
            open_table(build, gallery, data, True)  # from here on everything is warm
            for _ in range(rounds):
                complete.append(open_table(build, gallery, data, True)[0])
                undecoded.append(open_table(build, gallery, data, True, ["--decoded-megabytes", "0"])[0])
                seconds, pending = open_table(build, gallery, data, False)
                first.append(seconds)
                waits += pending == 0
                bare.append(Process([str(build / "bin" / "bare_program")]).end())
    except (OSError, RuntimeError, ValueError) as failure:
        print(f"row 16: {failure}", file=sys.stderr)
        return {}

    def against_bare(seconds):
        return {"ratio": statistics.median(our / rival for our, rival in zip(seconds, bare)),
                "ours_ns": statistics.median(seconds) * 1e9, "rival_ns": statistics.median(bare) * 1e9}

    return {"row16/complete": against_bare(complete), "row16/undecoded": against_bare(undecoded),
            "row16/first": against_bare(first),
            "row16/waits": {"value": waits}}
