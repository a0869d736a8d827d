#!/usr/bin/env python3
"""A card at two tables that share what cards collect: whatever is added and removed at either, both end with the same, and with
what the visitor's page shows.

usage: postgres.py sharing.py --build DIRECTORY [--changes 200] [--races 2] [--seed 1] [--within SECONDS]

Two real tables without a screen and a media server, on a PostgreSQL server of their own. In the middle of it one table is killed in
the midst of a change, and started again. Exits with 1 when something does not hold, or a change was shown later than --within.
"""
import argparse
import json
import os
import random
import re
import signal
import sys
import tempfile
import threading
import time

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "..", "tools", "demonstration"))

from outages import server_processes, signal_all, sql  # noqa: E402
from postgres import POSTGRES  # noqa: E402
from programs import Failure, MediaServer, by_id, by_type, centre, end_all, fetch, value  # noqa: E402
from visit import Visit, World, require  # noqa: E402

CARD = 1001
PATIENCE_SECONDS = 20
STYLE = """
LinkWidget.thing { scale: 0.35; }
"""


class Hall:
    """What the tables of a hall have in common: presentation, media server, database."""

    def __init__(self, build, folder):
        self.build, self.folder = build, folder
        self.world = World(build, folder, folder)
        content = os.path.join(folder, "content")
        os.makedirs(content)
        self.server = self.world.add(MediaServer(build, content, folder, options=("--database", os.environ[POSTGRES])))
        self.presentation = self.world.copy_of("gallery", self.change)
        with open(os.path.join(self.presentation, "things.css"), "w", encoding="utf-8") as file:
            file.write(STYLE + "\n".join(f"#thing-{number} {{ left: {20 + 150 * (number % 3)}px; top: {20 + 110 * (number // 3)}px; }}"
                                         for number in range(SharedTable.THINGS)))
        self.tables = []

    @staticmethod
    def change(presentation):
        presentation["database"] = os.environ[POSTGRES]
        presentation["collections"] = {"keep": "30d"}
        presentation["styleSheets"].append("things.css")
        presentation["widgets"] = [presentation["widgets"][0]] + [
            {"component": "link", "id": f"thing-{number}", "classes": ["thing"],
             "attributes": {"source": f"https://museum.example/{number}", "display-name": f"Thing {number}"}}
            for number in range(SharedTable.THINGS)]

    def stored(self):
        """The addresses of what the card has, in the database."""
        return sorted(json.loads(content)["url"] or json.loads(content)["sources"][0]
                      for content in sql(f"SELECT content FROM items WHERE code = '{CARD}'"))

    def on_the_page(self):
        page = self.server.command_answer({"command": "getuserpage", "tessel": CARD})["userpageurl"]
        path = page.split("/", 3)[3]
        return sorted(set(re.findall(r'href="(https://museum\.example/\d+)"', fetch(self.server.pages + path).decode())))

    def programs(self):
        return self.world.programs + [program for table in self.tables for program in table.world.programs]

    def end(self):
        """Ends all programs; Failure when one ended badly."""
        end_all(self.programs())

    def stop(self):
        for program in reversed(self.programs()):
            program.stop()


class SharedTable(Visit):
    """A table with small links on it, and the space of the card."""

    THINGS = 18

    def __init__(self, hall, name):
        folder = os.path.join(hall.folder, name)
        os.makedirs(folder)
        super().__init__(World(hall.build, folder, folder))
        self.hall = hall
        hall.tables.append(self)
        self.start()

    def start(self):
        self.open_table(self.hall.presentation, ["--media-server", self.hall.server.address])
        self.stage.act(f"at 0.1 card {CARD} down 1150 560 angle 270\nat 0.3 card {CARD} up", 0.6)

    def thing(self, number):
        return by_id(self.table.tree(), f"thing-{number}")[0]

    def collect(self, number):
        """Drags something into the space, without waiting for anything."""
        x, y = centre(self.space())
        before = centre(self.thing(number))
        self.stage.act(f"at 0.02 finger 1 down {before[0]:.0f} {before[1]:.0f}\n"
                       f"at 0.05 finger 1 move {x:.0f} {y:.0f} over 0.15\nat 0.25 finger 1 up", 0.3)

    def remove(self, index):
        x, y = centre(self.tiles()[index])
        self.stage.act(f"at 0.02 finger 1 down {x:.0f} {y:.0f}\nat 0.05 finger 1 move 1800 1000 over 0.15\nat 0.25 finger 1 up", 0.6)

    def remove_all(self):
        while self.live_tiles():
            self.remove(0)

    def live_tiles(self):
        self.table.frames(30)  # what was removed has faded out
        return self.tiles()

    def shows(self):
        """The pictures of the tiles, and whether each is uploaded."""
        self.table.frames(1, 0.1)  # what is removed fades out
        return sorted((self.picture(tile), "uploaded" in tile["classes"]) for tile in self.tiles())

    @staticmethod
    def picture(tile):
        """Of the link's QR code, which tells things apart."""
        path = value(by_type(tile, "ImageWidget")[-1], "source")
        if not path or not os.path.exists(path):
            return b""
        with open(path, "rb") as file:
            return file.read()

    def close(self):
        self.close_table()
        self.world.programs.clear()

    def waiting_bytes(self):
        """The size of what waits on the table's own disk for the database."""
        path = os.path.join(self.world.folder, "data", "collections", "unwritten")
        return os.path.getsize(path) if os.path.exists(path) else 0

    def wait_for_store(self):
        self.table.wait_until("the store", lambda: self.table.get("/collections") == {"waiting": 0, "failed": False})


def wait_for(what, condition):
    """How long it took until the condition held."""
    begin = time.monotonic()
    while not condition():
        if time.monotonic() - begin > PATIENCE_SECONDS:
            raise Failure(f"waited in vain for {what}")
    return time.monotonic() - begin


def at_once(*actions):
    """Does all of it at the same time."""
    failures = []

    def run(action):
        try:
            action()
        except Exception as failure:
            failures.append(failure)
    threads = [threading.Thread(target=run, args=(action,)) for action in actions]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    if failures:
        raise failures[0]


def are_equal(hall):
    one, other = (table.shows() for table in hall.tables)
    # A table that is killed may not have stored the picture of what was dropped last.
    return one == other and all(is_uploaded for _, is_uploaded in one) and len(one) == len(hall.stored())


class Changes:
    """Random changes at two tables, and what is to come of them."""

    def __init__(self, hall, seed):
        self.hall, self.chosen = hall, random.Random(seed)
        self.longest = 0.0
        self.counts = {"added": 0, "removed": 0}

    def one(self):
        """A change at one of the tables, which the other one shows soon."""
        table = self.chosen.choice(self.hall.tables)
        tiles = table.live_tiles()
        known = {int(address.rsplit("/", 1)[1]) for address in self.hall.stored()}
        free = [number for number in range(SharedTable.THINGS) if number not in known]
        other = self.hall.tables[1 - self.hall.tables.index(table)]
        if tiles and (not free or len(tiles) > 8 or self.chosen.random() < 0.4):
            table.remove(self.chosen.randrange(len(tiles)))
            self.counts["removed"] += 1
            expected = len(tiles) - 1
        else:
            table.collect(self.chosen.choice(free))
            self.counts["added"] += 1
            expected = len(tiles) + 1
        wait_for("the store", lambda: len(table.shows()) == expected and len(self.hall.stored()) == expected)
        took = wait_for("a change at the other table", lambda: len(other.shows()) == expected)
        self.longest = max(self.longest, took)
        # What is removed has to be known as uploaded at the table that removes it.
        wait_for("the upload", lambda: all(is_uploaded for _, is_uploaded in table.shows() + other.shows()))

    def race(self):
        """A thing is removed at one table while it is collected once more at the other one: the page has it, or has it not, as the
        tables do."""
        one, other = self.hall.tables
        one.collect(0)
        wait_for("what both show", lambda: are_equal(self.hall) and len(self.hall.stored()) == 1)
        require(len(one.live_tiles()) == 1, "what was removed before is still there")
        at_once(lambda: one.remove(0), lambda: other.collect(0))
        wait_for("a page as the tables", lambda: len(self.hall.stored()) == 1 and are_equal(self.hall)
                 and self.hall.on_the_page() == self.hall.stored())
        other.remove_all()
        wait_for("an empty page", lambda: are_equal(self.hall) and not self.hall.stored() and not self.hall.on_the_page())

    def kill_in_the_middle(self):
        """One table is killed as soon as something was dropped, and comes back."""
        killed = self.hall.tables[0]
        known = {int(address.rsplit("/", 1)[1]) for address in self.hall.stored()}
        killed.collect(next(number for number in range(SharedTable.THINGS) if number not in known))
        killed.kill_table()
        other = self.hall.tables[1]
        if other.live_tiles():
            other.remove(0)
        killed.start()
        wait_for("both tables to show the same", lambda: are_equal(self.hall))

    def end_while_the_database_hangs(self, end, what):
        """What was collected then is not lost, and the table is not kept open."""
        ended = self.hall.tables[1]
        known = {int(address.rsplit("/", 1)[1]) for address in self.hall.stored()}
        processes = server_processes()
        signal_all(processes, signal.SIGSTOP)
        try:
            ended.collect(next(number for number in range(SharedTable.THINGS) if number not in known))
            begin = time.monotonic()
            wait_for("a change on the table's own disk", ended.waiting_bytes)
            kept, begin = time.monotonic() - begin, time.monotonic()
            end(ended)
            took = time.monotonic() - begin
        finally:
            signal_all(reversed(processes), signal.SIGCONT)
        ended.start()
        wait_for("both tables to show the same", lambda: are_equal(self.hall))
        require(len(self.hall.stored()) == len(known) + 1, "what was collected while the database hung is lost")
        wait_for("nothing to wait on the table's own disk", lambda: not ended.waiting_bytes())
        print(f"  a table was {what} within {took:.1f} s while the database hung; what had been collected was on its own disk within "
              f"{kept:.2f} s of its last frame, and there after its start")


def play(build, folder, changes, races, seed, within):
    hall = Hall(build, folder)
    try:
        vary(hall, changes, races, seed, within)
    except Failure as failure:
        logs = "; ".join(table.table.error_text() for table in hall.tables)
        raise Failure(f"{failure}. Stored are {hall.stored()}. {logs}") from failure
    finally:
        hall.stop()


def vary(hall, changes, races, seed, within):
    for name in ("one", "other"):
        SharedTable(hall, name)
    script = Changes(hall, seed)
    for _ in range(races):
        script.race()
    for number in range(changes):
        if number == changes // 2:
            script.kill_in_the_middle()
        script.one()
    wait_for("both tables to show the same", lambda: are_equal(hall))
    script.end_while_the_database_hangs(SharedTable.close, "closed")
    script.end_while_the_database_hangs(SharedTable.kill_table, "killed")
    stored, page = hall.stored(), hall.on_the_page()
    require(sorted(set(stored)) == page, f"the page shows {page}, the tables {stored}")
    print(f"  {races} races; {script.counts['added']} added and {script.counts['removed']} removed at random, one table killed: both tables and the "
          f"page show the same {len(stored)} things; the other table showed a change after {script.longest:.2f} s at most")
    require(script.longest < within, "a change was shown too late")
    hall.end()


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", required=True, help="the build directory, with bin/ in it")
    parser.add_argument("--changes", type=int, default=200)
    parser.add_argument("--races", type=int, default=2, help="a thing is removed and collected at once, so many times")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--within", type=float, default=PATIENCE_SECONDS)
    arguments = parser.parse_args()
    with tempfile.TemporaryDirectory(prefix="tavola-sharing-") as folder:
        try:
            play(os.path.abspath(arguments.build), folder, arguments.changes, arguments.races, arguments.seed,
                 arguments.within)
        except Failure as failure:
            sys.exit(f"sharing: {failure}")
    print("sharing: holds")


if __name__ == "__main__":
    main()
