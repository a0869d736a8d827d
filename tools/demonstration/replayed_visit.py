"""Plays a visit at a table that records its input, replays the recording and holds the widgets of each frame against one
another: they must be the same.

usage: replayed_visit.py --build DIR --out DIR
"""
import argparse
import json
import os
import shutil
import sys
import tempfile
import zlib

from cards_visit import CardsVisit
from programs import Failure, ManualTable, Table, fetch
from same_in_both import differences
from visit import World


MOST = 0.9  # of the states that the table was in when it was recorded must be seen again


class SeenFrames:
    """A table's widgets noted after each frame; None where pictures are on their way, for how long they take is no input."""

    def __init__(self, *arguments):
        self.seen = []
        super().__init__(*arguments)

    def frames(self, count=1, dt=1 / 60):
        for _ in range(count):
            super().frames(1, dt)
            is_whole = self.get("/status")["pendingImages"] == 0
            self.seen.append(zlib.compress(fetch(self.inspector + "/tree"), 1) if is_whole else None)


class SeenTable(SeenFrames, Table):
    pass


class SeenReplay(SeenFrames, ManualTable):
    pass


class RecordedVisit(CardsVisit):
    """The part of the visit that is played at one table, and that no server has a part in."""

    table_class = SeenTable

    def open_table(self, presentation, options=()):
        self.recording = os.path.join(self.world.out, "visit.recording")
        self.options = options
        super().open_table(self.of_links(), [*options, "--record", self.recording])

    def of_links(self):
        """The presentation with links for its pictures and documents: what waits for a file depends on the disk as well as
        on the input."""
        def change(value):
            if isinstance(value, list):
                for item in value:
                    change(item)
            elif isinstance(value, dict):
                if value.get("component") in ("picture", "document"):
                    value["component"] = "link"
                    attributes = value["attributes"]
                    attributes.pop("cover", None)
                    attributes["source"] = "https://museum.example/" + os.path.basename(attributes["source"]["file"])
                value.pop("icon", None)
                for item in value.values():
                    change(item)
        folder = self.world.copy_of("cards", change)
        menu = os.path.join(folder, "garden-menu.json")
        with open(menu, encoding="utf-8") as file:
            entries = json.load(file)
        change(entries)
        os.remove(menu)
        with open(menu, "w", encoding="utf-8") as file:
            json.dump(entries, file)
        return folder

    def steps(self):
        names = [name for name, action in super().steps()]
        return super().steps()[1:names.index("a rejected card does nothing where there is no such folder")]


def replay(world, played):
    """The places at which a replayed frame is another; nothing when there are none."""
    table = world.add(SeenReplay(world.build, ["replay", played.recording], os.path.join(world.folder, "other-data"),
                                played.options))
    recorded = played.table.seen
    compared = []
    for number, before in enumerate(recorded):
        table.frames()
        after = table.seen[-1]
        if before is None or after is None:
            continue
        compared.append(before)
        if zlib.decompress(after) != zlib.decompress(before):
            trees = [json.loads(zlib.decompress(tree)) for tree in (before, after)]
            return [f"frame {number + 1} of {len(recorded)} is another:",
                    *list(differences(*trees, names=("recorded", "replayed")))[:20]]
    table.stop()
    # A table that stands still for its pictures may do so for longer in one of the two.
    states, seen_again = len(set(recorded) - {None}), len(set(compared))
    if seen_again < MOST * states:
        return [f"only {seen_again} of the {states} states of the table were seen again, with pictures on their way in the others"]
    print(f"{len(compared)} of {len(recorded)} frames compared and the same, with {seen_again} of {states} states of the table.")
    return []


def main():
    parser = argparse.ArgumentParser(description="Records a visit, replays it and compares the widgets frame by frame.")
    for option in ("--build", "--out"):
        parser.add_argument(option, required=True)
    options = parser.parse_args()
    out = os.path.abspath(options.out)
    shutil.rmtree(out, ignore_errors=True)
    os.makedirs(out)
    world = World(os.path.abspath(options.build), tempfile.mkdtemp(prefix="tavola-replay-"), out)
    try:
        played = RecordedVisit(world)
        for name, action in played.steps():
            action()
            print(f"  played {name}", flush=True)
        played.close_table()
        found = replay(world, played)
    except Failure as failure:
        found = [str(failure)]
    finally:
        for program in reversed(world.programs):
            program.stop()
        shutil.rmtree(world.folder, ignore_errors=True)
    for line in found:
        print(line, file=sys.stderr)
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
