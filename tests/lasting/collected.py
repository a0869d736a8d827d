"""What cards have collected lasts over kills and power cuts."""
import contextlib
import os
import sqlite3
import subprocess
import sys

from power import Power
from programs import MediaServer, by_type, centre, value
from replayed_visit import replay
from visit import PRESENTATIONS, Visit, World, require

GALLERY = os.path.join(PRESENTATIONS, "gallery")


def unsynced_files_are_lost(build, folder):
    """The power cuts of the scenarios lose what they have to."""
    power = Power(build, os.path.join(folder, "root"), os.path.join(folder, "copies"))
    subprocess.run([sys.executable, "-c", """if True:
        import os
        def write(name, text, syncs):
            with open(name, "w") as file:
                file.write(text)
                file.flush()
                if syncs:
                    os.fsync(file.fileno())
        def sync_folder(name):
            folder = os.open(name, os.O_RDONLY)
            os.fsync(folder)
            os.close(folder)
        os.makedirs("new/inner")
        write("synced", "all", True)
        write("empty", "no content", False)
        write("grown", "before", True)
        write("new/inner/file", "deep", True)
        sync_folder("new/inner")
        sync_folder("new")
        sync_folder(".")
        write("grown", "before and after", False)
        write("nameless", "all", True)
        os.makedirs("unsynced")
        write("unsynced/file", "all", True)
        sync_folder("unsynced")
        os.remove("synced")
        """], cwd=power.root, env={**os.environ, **power.environment()}, check=True)
    power.cut()
    found = {}
    for path, _, files in os.walk(power.root):
        for name in files:
            with open(os.path.join(path, name), encoding="utf-8") as file:
                found[os.path.relpath(os.path.join(path, name), power.root)] = file.read()
    expected = {"synced": "all", "empty": "", "grown": "before", "new/inner/file": "deep"}
    require(found == expected, f"a power cut leaves {found} instead of {expected}")


class CollectionVisit(Visit):
    """A table that keeps collections, over kills and power cuts of its machine."""

    CARD = "at 0.1 card 1001 down 1150 560 angle 270\nat 0.3 card 1001 up"

    def __init__(self, build, folder, presentation, options):
        super().__init__(World(build, folder, folder))
        self.power = Power(build, os.path.join(folder, "machine"), os.path.join(folder, "copies"))
        self.world.folder = os.path.join(folder, "machine")
        self.options = options
        self.presentation = presentation
        self.start()

    def start(self):
        """Opens the table, and the space of a card."""
        with self.power.over_programs():
            self.open_table(self.presentation, self.options)
        self.stage.act(self.CARD, 0.4)

    def collect(self, css_id):
        """Drags something into the space without waiting for anything."""
        x, y = centre(self.space())
        count = len(self.tiles())
        before = centre(self.by_id(css_id))
        self.stage.act(f"at 0.05 finger 1 down {before[0]:.0f} {before[1]:.0f}\n"
                       f"at 0.1 finger 1 move {x:.0f} {y:.0f} over 0.2\nat 0.4 finger 1 up", 0.5)
        require(len(self.tiles()) == count + 1, f"{css_id} was not collected")

    def by_id(self, css_id):
        def search(widget):
            if widget["cssId"] == css_id:
                return widget
            return next(filter(None, map(search, widget["children"])), None)
        return search(self.table.tree())

    def stored(self, count, css_class=None, pictures=None):
        """Waits until so many things have their status, and so many of them (usually all) a picture, and are on the disk."""
        def is_done():
            tiles = self.tiles()
            return (len(tiles) == count and all(self.preview(tile) for tile in tiles[:count if pictures is None else pictures])
                    and (not css_class or all(css_class in tile["classes"] for tile in tiles))
                    and self.table.get("/collections") == {"waiting": 0, "failed": False})
        self.table.wait_until(f"{count} things to be stored", is_done)

    @staticmethod
    def preview(tile):
        return value(by_type(tile, "ImageWidget")[-1], "source")

    def things(self):
        """The pictures of the tiles, as bytes, in their order, and whether each is uploaded."""
        def bytes_of(tile):
            if not self.preview(tile):
                return None
            with open(self.preview(tile), "rb") as file:
                return file.read()
        return [(bytes_of(tile), "uploaded" in tile["classes"]) for tile in self.tiles()]

    def remove_first(self):
        # What the store answers comes late on a busy machine: pictures change the layout, and the space may have to glide.
        self.settle()
        self.table.frames(30)
        x, y = centre(self.tiles()[0])
        self.stage.act(f"at 0.05 finger 1 down {x:.0f} {y:.0f}\nat 0.1 finger 1 move 200 100 over 0.2\n"
                       "at 0.4 finger 1 up", 0.8)

    def same_after(self, what, things):
        found = self.things()
        require(found == things, f"after {what} the space shows {len(found)} things that are not the {len(things)} of before")


def play(visit, css_class):
    """Collects, kills, cuts the power, and removes; the list is always as it was."""
    for count, name in enumerate(("paper-moons", "basalt", "paper-moons"), 1):
        visit.collect(name)
        visit.stored(count, css_class)
    things = visit.things()
    require(things[0][0] != things[1][0], "two pictures look alike")
    visit.kill_table()
    visit.start()
    visit.stored(3, css_class)
    visit.same_after("a kill", things)

    # Something that is not stored yet may be lost, or its picture, but nothing else.
    visit.collect("basalt")
    visit.kill_table()
    visit.power.cut()
    visit.start()
    visit.table.wait_until("what was collected", lambda: len(visit.tiles()) >= 3)
    visit.stored(len(visit.tiles()), css_class, 3)
    found = visit.things()
    require(len(found) <= 4 and found[:3] == things, "a power cut has changed what was stored")

    visit.remove_first()
    visit.stored(len(found) - 1, css_class, 2)
    visit.kill_table()
    visit.power.cut()
    visit.start()
    visit.stored(len(found) - 1, css_class, 2)
    visit.same_after("a removal and a power cut", found[1:])
    visit.kill_table()

    # A recording has what the store answered.
    visit.world.recordings = visit.world.out
    visit.start()
    visit.stored(len(found) - 1, css_class, 2)
    visit.collect("paper-moons")
    visit.stored(len(found), css_class, 2)
    visit.close_table()
    differences = replay(visit.world.build, visit.world.recorded[-1])
    require(not differences, "; ".join(differences))


def keeping(build, folder, name):
    def change(presentation):
        presentation["collections"] = {"keep": "30d"}
    return World(build, folder, folder).copy_of(name, change)


def upload_survives_power_cuts(build, folder):
    content = os.path.join(folder, "content")
    os.makedirs(content)
    server = MediaServer(build, content, folder)
    try:
        visit = CollectionVisit(build, folder, keeping(build, folder, "gallery"), ["--media-server", server.address])
        play(visit, "uploaded")
        page = server.command_answer({"command": "getuserpage", "tessel": 1001})
        require(page.get("success"), f"the server answered {page}")
    finally:
        server.stop()
    print("  what was uploaded lasts over kills and power cuts")


def mail_survives_power_cuts(build, folder):
    visit = CollectionVisit(build, folder, keeping(build, folder, "mailroom"), [])
    play(visit, None)
    print("  what is to be mailed lasts over kills and power cuts")


def waiting_survives_power_cuts(build, folder):
    """What is collected while the database does not answer is on the table's own disk."""
    visit = CollectionVisit(build, folder, keeping(build, folder, "mailroom"), [])
    visit.collect("paper-moons")
    visit.stored(1)
    place = os.path.join(visit.world.folder, "data", "collections")
    waiting = os.path.join(place, "unwritten")
    with contextlib.closing(sqlite3.connect(os.path.join(place, "collections.sqlite"), isolation_level=None)) as locker:
        locker.execute("BEGIN IMMEDIATE")
        visit.collect("basalt")
        visit.table.wait_until("a change on the disk", lambda: os.path.exists(waiting) and os.path.getsize(waiting) > 0
                               and visit.power.has(waiting))
        visit.kill_table()
    visit.power.cut()
    visit.start()
    visit.stored(2, pictures=1)
    visit.kill_table()
    print("  what was collected while the database did not answer lasts over a kill and a power cut")


SCENARIOS = {scenario.__name__: scenario
             for scenario in (unsynced_files_are_lost, upload_survives_power_cuts, mail_survives_power_cuts, waiting_survives_power_cuts)}
