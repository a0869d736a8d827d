#!/usr/bin/env python3
"""A card at two tables that share what cards collect: one tap is one letter, at whichever of them, and however one ends.

usage: postgres.py mailing.py --build DIRECTORY [--rounds 2]

Two real tables without a screen, on a PostgreSQL server and a mail server of their own. In each round the envelope is tapped at both
tables at once; at last one of them is killed after it has claimed what it sends, and before its letter is in its outbox. A table with
a store of its own is killed when its letter is in the outbox, and before it has removed what it has sent. Exits with 1 when something
is not sent, or sent twice.
"""
import argparse
import contextlib
import glob
import os
import sqlite3
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "..", "tools", "demonstration"))

from mail_server import MailServer  # noqa: E402
from outages import sql  # noqa: E402
from postgres import POSTGRES  # noqa: E402
from programs import Failure, centre, end_all  # noqa: E402
from sharing import at_once, wait_for  # noqa: E402
from visit import Visit, World, require  # noqa: E402

CARD = "at 0.1 card 1001 down 850 480 angle 270\nat 0.6 card 1001 up"
DROP = (1150, 470)
THINGS = ("paper-moons", "opening-hours")
MOST_FRAMES = 60
STORE, OUTBOX = "collections/collections.sqlite", "mail/outbox*/outbox.sqlite"


class PostOffice:
    """What the tables have in common: presentation, mail server, database."""

    def __init__(self, build, folder, database=None):
        self.build, self.folder = build, folder
        self.world = World(build, folder, folder)
        letters = os.path.join(folder, "letters")
        os.makedirs(letters)
        self.mail = self.world.add(MailServer(letters))
        self.presentation = self.world.copy_of("mailroom", lambda presentation: presentation.update(
            {"collections": {"keep": "30d"}, **({"database": database} if database else {})}))
        self.tables = []

    def stop(self):
        for program in self.programs():
            program.stop()

    def programs(self):
        return self.world.programs + [program for table in self.tables for program in table.world.programs]

    def require_letters(self, count, when):
        """All outboxes are empty, so nothing else is on its way."""
        for table in self.tables:
            table.table.wait_until("an empty outbox", lambda table=table: all(
                box["queued"] + box["sending"] == 0 for box in table.table.get("/mail")))
        require(len(self.mail.messages) == count, f"{when} {len(self.mail.messages)} letters have arrived in place of {count}")


class PostTable(Visit):
    def __init__(self, office, name):
        folder = os.path.join(office.folder, name)
        os.makedirs(folder)
        super().__init__(World(office.build, folder, folder))
        self.office = office
        office.tables.append(self)
        self.start()

    def start(self):
        self.open_table(self.office.presentation, ["--mail-server", self.office.mail.address])
        self.stage.act(CARD, 1.5)

    def shows(self, count):
        self.table.frames(30)  # what is removed fades out
        return len(self.tiles()) == count

    def begin_to_send(self):
        """Taps the envelope, and stops with the very frame in which the space begins to send: no answer has reached the table."""
        x, y = centre(self.child("envelope"))
        visitor = self.stage.enter(f"at 0.02 finger 1 down {x:.1f} {y:.1f}\nat 0.10 finger 1 up")
        for _ in range(MOST_FRAMES):
            self.stage.play(1 / 60)
            if self.has_class("sending-email"):
                self.stage.leave(visitor)
                return
        raise Failure("the envelope does nothing")

    def wait_until_sent(self):
        self.table.wait_until("the letter to be sent", lambda: self.has_class("email-successful"))

    def begin_anew(self):
        """The space as it is for the next letter."""
        self.tap(self.child("cancel-button"))
        self.stage.play(1)


def collect(tables):
    """Something is collected at each of the tables, and both show all of it."""
    for count, (table, thing) in enumerate(zip(tables, THINGS), 1):
        table.drag(thing, DROP)
        for other in tables:
            wait_for("what was collected", lambda other=other, count=count: other.shows(count))


def tap_at_both(office, count):
    """Both tables are tapped at once; after it there are so many letters."""
    collect(office.tables)
    at_once(*(table.begin_to_send for table in office.tables))
    at_once(*(table.wait_until_sent for table in office.tables))
    for table in office.tables:
        wait_for("what was sent to go", lambda table=table: table.shows(0))
    office.require_letters(count, "after a tap at both tables")
    for table in office.tables:
        table.begin_anew()


def kill_in_the_middle(office, count):
    """A table is killed between its claim and its letter, while the other one waits for it."""
    killed, other = office.tables
    collect(office.tables)
    killed.begin_to_send()
    wait_for("the claim", lambda: sql("SELECT count(*) FROM items WHERE claimed_until > 0") == [str(len(THINGS))])
    other.begin_to_send()
    killed.kill_table()
    other.table.frames(30)
    require(len(office.mail.messages) == count - 1, "a letter has arrived although another table had claimed everything")
    # A minute passes.
    sql("UPDATE items SET claimed_until = 0; NOTIFY tavola_collections")
    other.wait_until_sent()
    killed.start()
    for table in office.tables:
        wait_for("what was sent to go", lambda table=table: table.shows(0))
    office.require_letters(count, "after one of two tables was killed")


def play(build, folder, rounds):
    office = PostOffice(build, folder, os.environ[POSTGRES])
    try:
        for name in ("one", "other"):
            PostTable(office, name)
        for number in range(rounds):
            tap_at_both(office, number + 1)
        kill_in_the_middle(office, rounds + 1)
        require(not sql("SELECT key FROM items"), "something that was sent is still stored")
        end_all(office.programs())
    except Failure as failure:
        logs = "; ".join(table.table.error_text() for table in office.tables)
        raise Failure(f"{failure}. {logs}") from failure
    finally:
        office.stop()
    print(f"  {rounds} times the envelope was tapped at two tables at once, then one of them was killed in the midst of it: "
          f"{rounds + 1} letters")


def kill_after_the_letter(build, folder):
    """What is in a letter is gone after the start of a table that was killed before it has removed that."""
    office = PostOffice(build, folder)
    try:
        table = PostTable(office, "own")
        table.drag(THINGS[0], DROP)
        wait_for("what was collected", lambda: table.shows(1) and rows(table, STORE, "items") == 1)
        table.begin_to_send()
        # A letter that is on its way is sent again.
        wait_for("the letter", lambda: len(office.mail.messages) == 1 and rows(table, OUTBOX, "messages") == 0)
        table.kill_table()
        require(rows(table, STORE, "items") == 1, "what was sent was removed before the table was killed")
        table.start()
        wait_for("what was sent to go", lambda: table.shows(0) and rows(table, STORE, "items") == 0)
        office.require_letters(1, "after a table was killed when its letter was accepted")
        end_all(office.programs())
    finally:
        office.stop()
    print("  a table was killed when its letter was in the outbox: what is in it was gone after its start")


def rows(table, name, what):
    """How many rows a database in a table's data folder has."""
    file = glob.glob(os.path.join(table.world.folder, "data", name))[0]
    with contextlib.closing(sqlite3.connect(f"file:{file}?mode=ro", uri=True)) as database:
        return database.execute(f"SELECT count(*) FROM {what}").fetchone()[0]


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", required=True, help="the build directory, with bin/ in it")
    parser.add_argument("--rounds", type=int, default=2)
    arguments = parser.parse_args()
    with tempfile.TemporaryDirectory(prefix="tavola-mailing-") as folder:
        try:
            play(os.path.abspath(arguments.build), os.path.join(folder, "shared"), arguments.rounds)
            kill_after_the_letter(os.path.abspath(arguments.build), os.path.join(folder, "own"))
        except Failure as failure:
            sys.exit(f"mailing: {failure}")
    print("mailing: holds")


if __name__ == "__main__":
    main()
