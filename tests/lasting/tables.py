#!/usr/bin/env python3
"""Four tables that share their people in one database: who registers at one is known at all, and cards open while it hangs.

usage: postgres.py tables.py --build DIRECTORY

Real tables without a screen, on a PostgreSQL server that is stopped (SIGSTOP) and goes on. Exits with 1 when something does not hold.
"""
import argparse
import os
import signal
import subprocess
import sys
import tempfile
import time

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "..", "tools", "demonstration"))

from outages import server_processes, signal_all  # noqa: E402
from postgres import POSTGRES  # noqa: E402
from programs import Failure, by_class, by_type, end_all, value  # noqa: E402
from visit import Visit, World, require  # noqa: E402

TABLES = 4
PATIENCE_SECONDS = 60


class SharedTable(Visit):
    def __init__(self, build, folder, presentation):
        super().__init__(World(build, folder, folder))
        self.open_table(presentation)

    def titles(self):
        return [value(by_class(space, "title")[0], "text") for space in by_type(self.table.tree(), "PersonalSpaceWidget")]

    def card(self, code, seconds=0.6):
        """Puts a card down for a moment. The titles of the spaces that are open then."""
        visitor = self.stage.enter(f"at 0.05 card {code} down 1150 560 angle 270\nat {seconds - 0.1} card {code} up\n")
        self.stage.play(seconds)
        self.stage.leave(visitor)
        return self.titles()

    def has_copied(self, name):
        """Whether the table's copy of the people has that name; runs a frame."""
        self.table.frames(1, 0)
        with open(os.path.join(self.world.folder, "data", "people-copy.csv"), encoding="utf-8") as file:
            return name in file.read()

    def opens(self, code, title):
        """Whether the card opens a space. A card that was refused is the same one for some seconds, though it was lifted."""
        if title not in self.card(code):
            self.stage.play(6)
        return title in self.titles() or title in self.card(code)

    def is_away(self):
        self.table.frames(1, 0)
        return "people-away" in self.table.tree()["pseudoClasses"]


def wait_for_all(what, tables, condition):
    """Asks all tables in turn; how long the last one took."""
    begin = time.monotonic()
    waiting = list(tables)
    while waiting:
        waiting = [table for table in waiting if not condition(table)]
        if time.monotonic() - begin > PATIENCE_SECONDS:
            raise Failure(f"waited in vain for {what} at {len(waiting)} tables")
    return time.monotonic() - begin


def play(build, folder):
    world = World(build, folder, folder)
    presentation = world.copy_of("gallery", lambda all_of_it: all_of_it.update({"database": os.environ[POSTGRES]}))
    tables = []
    for number in range(TABLES):
        place = os.path.join(folder, f"table-{number}")
        os.makedirs(place)
        tables.append(SharedTable(build, place, presentation))
    subprocess.run([os.path.join(build, "bin", "tavola"), "people", "add", presentation, "2001", "--name", "Uma"], check=True)
    took = wait_for_all("the new card", tables, lambda table: table.has_copied("Uma"))
    for table in tables:
        require(table.opens(2001, "Hi, Uma"), "a card that is registered elsewhere opened no space")
    print(f"  {TABLES} tables knew of a new card within {took:.1f} s, and it opened at each")

    processes = server_processes()
    signal_all(processes, signal.SIGSTOP)
    try:
        longest = 0.0
        for table in tables:
            require(table.opens(1001, "Hi, Ann"), "a card did not open while the database hung")
            for _ in range(100):
                begin = time.monotonic()
                table.table.frames(1)
                longest = max(longest, time.monotonic() - begin)
        took = wait_for_all(":people-away", tables, SharedTable.is_away)
        print(f"  cards opened while the database hung, no frame took longer than {longest * 1000:.0f} ms with its request; "
              f":people-away after {took:.1f} s")
    finally:
        signal_all(reversed(processes), signal.SIGCONT)
    took = wait_for_all("the end of :people-away", tables, lambda table: not table.is_away())
    print(f"  the outage was over {took:.1f} s after its end")
    end_all([program for table in tables for program in table.world.programs])


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", required=True, help="the build directory, with bin/ in it")
    arguments = parser.parse_args()
    with tempfile.TemporaryDirectory(prefix="tavola-tables-") as folder:
        try:
            play(os.path.abspath(arguments.build), folder)
        except Failure as failure:
            sys.exit(f"tables: {failure}")
    print("tables: holds")


if __name__ == "__main__":
    main()
