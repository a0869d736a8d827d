"""Plays a visit at tables that record it, then replays each recording, with no server running, and holds the widgets of each
frame against one another: they must be the same.

usage: replayed_visit.py --build DIR --visit NAME --out DIR
"""
import argparse
import itertools
import json
import os
import shutil
import sys
import tempfile

from demo import VISITS
from programs import Failure, Program, end_all, fetch
from same_in_both import differences
from visit import World

CHUNK = 500  # frames that are asked for at once


class Replay(Program):
    """A replay of a recording that runs its frames as fast as it can."""

    def __init__(self, build, recording, trees):
        super().__init__([os.path.join(build, "bin", "tavola"), "replay", recording, "--headless", "--manual-clock",
                          "--inspect", "0", "--trees", trees], environment={"QT_QPA_PLATFORM": "offscreen"},
                         wait_for=[r"inspector on (http://\S+?)/$", r"is open$"])
        self.inspector = self.found[0].group(1)

    def run(self):
        """Replays to the end of the recording. Returns what was logged."""
        before = -1
        while True:
            frame = json.loads(fetch(f"{self.inspector}/frames?count={CHUNK}", b"", 300))["frame"]
            if frame == before:
                break
            before = frame
        return json.loads(fetch(self.inspector + "/log"))


def compared(recorded, replayed):
    """The first difference of two files of widgets, in words, and the numbers of equal frames and of different states before
    it."""
    states = set()
    with open(recorded, encoding="utf-8") as one, open(replayed, encoding="utf-8") as two:
        for number, (before, after) in enumerate(itertools.zip_longest(one, two)):
            if before is None or after is None:
                return [f"the {'recorded' if before is None else 'replayed'} table had {number} frames only"], number, len(states)
            if before != after:
                return [f"frame {number + 1} is another:", *list(differences(
                    *(json.loads(line) for line in (before, after)), names=("recorded", "replayed")))[:20]], number, len(states)
            states.add(json.loads(before)["hash"])
    return [], number + 1, len(states)


def replay(build, recording):
    """The differences of a replay; empty when there are none."""
    table = Replay(build, recording, recording + ".replayed.trees")
    try:
        log = table.run()
    finally:
        ended = table.stop()
    found, frames, states = compared(recording + ".trees", recording + ".replayed.trees")
    found += [line["text"] for line in log if line["text"].startswith(("Replay", "DatagramPlayer"))]
    if ended != 0:
        found.append(f"the replay ended with {ended}: {table.error_text()}")
    if states < 2:
        found.append("nothing happened in what was recorded")
    print(f"  {os.path.basename(recording)}: {frames} frames with {states} different states of the widgets are the same.")
    return found


def main():
    parser = argparse.ArgumentParser(description="Records a visit, replays it and compares the widgets frame by frame.")
    for option in ("--build", "--visit", "--out"):
        parser.add_argument(option, required=True)
    options = parser.parse_args()
    build = os.path.abspath(options.build)
    out = os.path.abspath(options.out)
    shutil.rmtree(out, ignore_errors=True)
    os.makedirs(out)
    world = World(build, tempfile.mkdtemp(prefix="tavola-replay-"), out, recordings=out)
    found = []
    try:
        played = VISITS[options.visit](world)
        for name, action in played.steps():
            action()
            print(f"  played {name}", flush=True)
        played.close_table()
        end_all(world.programs)
        for recording in world.recorded:
            found += replay(build, recording)
    except Failure as failure:
        found.append(str(failure))
    finally:
        for program in reversed(world.programs):
            program.stop()
        shutil.rmtree(world.folder, ignore_errors=True)
    for line in found:
        print(line, file=sys.stderr)
    print("Every frame is the same." if not found else "The replay differs.")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
