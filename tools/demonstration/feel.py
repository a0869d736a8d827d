"""Measures the processor time of each frame while eight people use a table of 3840 x 2160 pixels in a window, drawn without a
graphics card (needs Xvfb).

usage: python3 tools/demonstration/feel.py [--build DIR] [--minutes N]
"""
import argparse
import os
import shutil
import subprocess
import sys
import tempfile
import threading
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

from eight_visit import PLACES, EightVisit, seen_from  # noqa: E402
from programs import Failure, Program, Stage, Table, centre  # noqa: E402
from visit import ROOT, World  # noqa: E402

DRAWING = 0.02  # seconds, longer than the window's timer


class Stalls:
    """Watches for times in which the machine itself stands still, as a virtual one does when its host is busy. The clock of a thread
    runs on meanwhile, so that the frame under way looks long."""

    STEP = 0.002
    LONG = 0.01  # of a sleep of one step; a busy table delays a thread that wakes up by less

    def __init__(self):
        self.longest = 0.0
        threading.Thread(target=self._watch, daemon=True).start()

    def _watch(self):
        while True:
            before = time.monotonic()
            time.sleep(self.STEP)
            self.longest = max(self.longest, time.monotonic() - before - self.STEP)

    def take(self):
        """The longest stall since the last call, in seconds; 0 when there was none."""
        longest, self.longest = self.longest, 0.0
        return longest if longest > self.LONG else 0.0


class WindowTable(Table):
    """A table in a full-screen window of a display of its own, under a manual clock."""

    display = None

    def __init__(self, build, presentation, folder, options=()):
        Program.__init__(self, [os.path.join(build, "bin", "tavola"), "run", presentation, "--tuio", "127.0.0.1:0", "--fullscreen",
                                "--manual-clock", "--inspect", "0", "--data", folder, *options],
                         environment={"QT_QPA_PLATFORM": "xcb", "DISPLAY": f":{self.display}"},
                         wait_for=[r"inspector on (http://\S+?)/$", r"is open$", r"TUIO on \S+:(\d+)"])
        self.inspector = self.found[0].group(1)
        self.tuio_port = int(self.found[2].group(1))

    def processor_ms(self):
        """Milliseconds that the main thread has run."""
        with open(f"/proc/{self.process.pid}/task/{self.process.pid}/schedstat", encoding="ascii") as file:
            return int(file.read().split()[0]) / 1e6


class CrowdedVisit(EightVisit):
    def open_table(self, presentation, options=()):
        self.table = self.world.add(WindowTable(self.world.build, presentation, os.path.join(self.world.folder, "data"), options))
        self.settle()
        self.stage = self.world.add(Stage(self.world.build, self.table, (), self.size))

    def use(self, seconds):
        """Everyone drags a picture onto their space, and another one to and fro, again and again."""
        spaces = [centre(space) for space in self.spaces()]
        for number, place in enumerate(PLACES, 1):
            goal = min(spaces, key=lambda at, p=place: abs(at[0] - seen_from(p, 0, 490)[0]) + abs(at[1] - seen_from(p, 0, 490)[1]))
            taken = centre(self.shelf("shelf-tidal-study", number))
            moved = centre(self.shelf("shelf-paper-moons", number))
            aside = seen_from(place, 300, 420)
            lines = []
            for turn in range(int(seconds / 6)):
                at = turn * 6 + number * 0.11
                lines += [f"at {at + 0.1:.2f} finger 1 down {taken[0]:.0f} {taken[1]:.0f}",
                          f"at {at + 0.2:.2f} finger 1 move {goal[0]:.0f} {goal[1]:.0f} over 1",
                          f"at {at + 1.5:.2f} finger 1 up",
                          f"at {at + 2.5:.2f} finger 2 down {moved[0]:.0f} {moved[1]:.0f}",
                          f"at {at + 2.6:.2f} finger 2 move {aside[0]:.0f} {aside[1]:.0f} over 1",
                          f"at {at + 3.7:.2f} finger 2 move {moved[0]:.0f} {moved[1]:.0f} over 1",
                          f"at {at + 5.2:.2f} finger 2 up"]
            self.stage.enter("\n".join(lines))

    def measure(self, seconds):
        """The processor time of each frame with its drawing and the inspector's answers, in ms, and the machine's stalls in it."""
        spent = []
        stalled = []
        stalls = Stalls()
        frames = int(seconds * 60)
        for frame in range(frames):
            if frame % 3600 == 0:
                print(f"  {frame} of {frames} frames", file=sys.stderr, flush=True)
            before = self.table.processor_ms()
            self.stage.play(1 / 60)
            time.sleep(DRAWING)
            spent.append(self.table.processor_ms() - before)
            stalled.append(stalls.take() * 1000)
        return spent, stalled


def start_display(world):
    read, write = os.pipe()
    os.set_inheritable(write, True)
    server = subprocess.Popen(["Xvfb", "-displayfd", str(write), "-screen", "0", "3840x2160x24"], pass_fds=[write],
                              stderr=subprocess.DEVNULL)
    os.close(write)
    with os.fdopen(read, encoding="ascii") as numbers:
        WindowTable.display = int(numbers.readline())
    return server


def main():
    parser = argparse.ArgumentParser(description="Measures the frames of a table that eight people use.")
    parser.add_argument("--build", default=os.path.join(ROOT, "build", "release"), help="where the programs were built")
    parser.add_argument("--minutes", type=float, default=10)
    options = parser.parse_args()
    world = World(os.path.abspath(options.build), tempfile.mkdtemp(prefix="tavola-feel-"), tempfile.gettempdir())
    display = start_display(world)
    try:
        visit = CrowdedVisit(world)
        visit.spaces_open()
        visit.use(options.minutes * 60)
        spent, stalled = visit.measure(options.minutes * 60)
        longest = sorted(range(len(spent)), key=lambda frame: -spent[frame])[:5]
        ordered = sorted(spent)
        print(f"{len(spent)} frames: mean {sum(spent) / len(spent):.1f} ms, half of them below {ordered[len(spent) // 2]:.1f} ms, "
              f"99 % below {ordered[len(spent) * 99 // 100]:.1f} ms; {sum(1 for one in spent if one > 33)} over 33 ms")
        undisturbed = [one for one, stall in zip(spent, stalled) if not stall]
        print(f"in {len(spent) - len(undisturbed)} of them the machine stood still for {Stalls.LONG * 1000:.0f} ms or more; the longest "
              f"of the others took {max(undisturbed):.1f} ms, {sum(1 for one in undisturbed if one > 33)} over 33 ms")
        print("the longest of all: " + ", ".join(f"{spent[frame]:.1f} ms {frame / 60:.2f} s after the beginning (machine stood still for "
                                                 f"{stalled[frame]:.0f} ms)" for frame in longest))
        return 0
    except Failure as failure:
        print(f"feel: {failure}", file=sys.stderr)
        return 1
    finally:
        for program in reversed(world.programs):
            program.stop()
        display.terminate()
        display.wait()
        shutil.rmtree(world.folder, ignore_errors=True)


if __name__ == "__main__":
    sys.exit(main())
