#!/usr/bin/env python3
"""Measures how much longer the frames of a busy table take while the database that it shares with others hangs.

usage: postgres.py frames.py --build DIRECTORY [--rounds 20]

A real table without a screen, on a PostgreSQL server of its own. A visitor with an open space collects a thing, again and again: in
every second round the server is stopped (SIGSTOP). Each frame of a round is compared with the same frame of the other rounds. Prints
the largest growth, and exits with 1 when one is above 0.2 ms: of the fastest of each, since whatever else the machine does makes
frames slower and none faster.
"""
import argparse
import os
import signal
import statistics
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "..", "tools", "demonstration"))

from outages import server_processes, signal_all  # noqa: E402
from programs import Failure, centre  # noqa: E402
from sharing import Hall, SharedTable  # noqa: E402

LARGEST_GROWTH_MS = 0.2
FRAMES = 60
KINDS = ("runs", "hangs")


def play_round(table, number):
    """A drag into the space, frame by frame. How long each frame has taken, in milliseconds."""
    x, y = centre(table.space())
    begin = centre(table.thing(number % table.THINGS))
    visitor = table.stage.enter(f"at 0.05 finger 1 down {begin[0]:.0f} {begin[1]:.0f}\n"
                                f"at 0.1 finger 1 move {x:.0f} {y:.0f} over 0.3\nat 0.5 finger 1 up")
    times, run_frames = [], table.table.frames
    table.table.frames = lambda count=1, dt=1 / 60: times.append(run_frames(count, dt)["milliseconds"])
    try:
        for _ in range(FRAMES):
            table.stage.play(1 / 60)
    finally:
        table.table.frames = run_frames
    table.stage.leave(visitor)
    return times


def play(build, folder, rounds):
    hall = Hall(build, folder)
    try:
        return measure(SharedTable(hall, "busy"), rounds)
    finally:
        hall.stop()


def measure(table, rounds):
    times = {kind: [] for kind in KINDS}
    play_round(table, 0)  # everything is loaded and drawn once
    table.remove_all()
    for number in range(1, 2 * rounds + 1):
        kind = KINDS[number % 2]
        processes = server_processes()
        if kind == "hangs":
            signal_all(processes, signal.SIGSTOP)
        try:
            times[kind].append(play_round(table, number))
        finally:
            signal_all(reversed(processes), signal.SIGCONT)
        table.remove_all()
        table.wait_for_store()

    def each(choose):
        return [[choose(one[frame] for one in times[kind]) for frame in range(FRAMES)] for kind in KINDS]
    fastest, middle = each(min), each(statistics.median)
    growth = max(hangs - runs for runs, hangs in zip(*fastest))
    print(f"  {rounds} rounds of {FRAMES} frames each: a frame takes {statistics.median(middle[0]):.2f} ms while the database runs and "
          f"{statistics.median(middle[1]):.2f} ms while it hangs (medians); the fastest of each grows by {growth:.3f} ms at most, "
          f"medians by {max(hangs - runs for runs, hangs in zip(*middle)):.3f} ms (limit {LARGEST_GROWTH_MS} ms)")
    return growth


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", required=True, help="the build directory, with bin/ in it")
    parser.add_argument("--rounds", type=int, default=20)
    arguments = parser.parse_args()
    with tempfile.TemporaryDirectory(prefix="tavola-frames-") as folder:
        try:
            growth = play(os.path.abspath(arguments.build), folder, arguments.rounds)
        except Failure as failure:
            sys.exit(f"frames: {failure}")
    if growth > LARGEST_GROWTH_MS:
        sys.exit("frames: a frame has grown too much")
    print("frames: holds")


if __name__ == "__main__":
    main()
