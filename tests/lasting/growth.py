#!/usr/bin/env python3
"""Measures what commands and pages cost with a hundred people and with a hundred thousand, who have a million items.

usage: growth.py --build DIRECTORY [--people 100000]

Two real media servers are asked in turn, so that whatever else the machine does meets both. Prints the medians and their ratio, and
exits with 1 when one is above 1.5.
"""
import argparse
import http.client
import json
import os
import random
import sqlite3
import statistics
import sys
import tempfile
import time

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "..", "tools", "demonstration"))

from programs import MediaServer  # noqa: E402

ITEMS_EACH = 10
ROUNDS = 400
LARGEST_RATIO = 1.5


def fill(file, people):
    """People with ten links each, as a server of years has them; the server has made the tables."""
    database = sqlite3.connect(file)
    database.executemany("INSERT INTO person (tessel, token) VALUES (?, ?)",
                         ((tessel, f"{tessel:022d}") for tessel in range(1, people + 1)))
    database.executemany("INSERT INTO item (tessel, kind, value, displayname, systemname) VALUES (?, 'url', ?, ?, 'Undefined')",
                         ((tessel, f"https://museum.example/{tessel}/{number}", f"Thing {number}")
                          for number in range(ITEMS_EACH) for tessel in range(1, people + 1)))
    database.commit()
    database.execute("PRAGMA wal_checkpoint(TRUNCATE)")
    database.close()


class Side:
    """A server with so many people, and the times that requests took there."""

    def __init__(self, build, folder, people):
        os.makedirs(os.path.join(folder, "content"))
        self.people = people
        MediaServer(build, os.path.join(folder, "content"), folder).end()
        fill(os.path.join(folder, "pages.sqlite"), people)
        self.server = MediaServer(build, os.path.join(folder, "content"), folder)
        self.times = {}

    def ask(self, what, address, body=None):
        host, path = address.split("//")[1].split("/", 1)
        connection = http.client.HTTPConnection(host, timeout=30)
        begin = time.perf_counter()
        connection.request("GET" if body is None else "POST", "/" + path, body)
        answer = connection.getresponse()
        text = answer.read()
        self.times.setdefault(what, []).append(time.perf_counter() - begin)
        connection.close()
        assert answer.status == 200, f"{what} was answered with {answer.status}"
        return text

    def round(self, chosen, number):
        tessel = chosen.randint(1, self.people)
        self.ask("getuserpage", self.server.address, json.dumps({"command": "getuserpage", "tessel": tessel}))
        page = self.ask("page", f"{self.server.pages}p/{tessel:022d}")
        assert page.count(b'class="item ') >= ITEMS_EACH, "the page lacks items"
        item = {"command": "additem", "tessel": tessel, "url": f"https://museum.example/new/{number}", "displayname": "New"}
        self.ask("additem", self.server.address, json.dumps(item))


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", required=True, help="the build directory, with bin/ in it")
    parser.add_argument("--people", type=int, default=100_000, help="on the larger server")
    arguments = parser.parse_args()
    with tempfile.TemporaryDirectory(prefix="tavola-growth-") as folder:
        sides = [Side(os.path.abspath(arguments.build), os.path.join(folder, str(people)), people)
                 for people in (100, arguments.people)]
        for number in range(ROUNDS):
            for side in sides:
                side.round(random.Random(number), number)
        good = True
        for what in sides[0].times:
            few, many = (1000 * statistics.median(side.times[what]) for side in sides)
            good = good and many / few <= LARGEST_RATIO
            print(f"{what}: {few:.2f} ms with {sides[0].people} people, {many:.2f} ms with {sides[1].people} "
                  f"({ITEMS_EACH * sides[1].people} items), {many / few:.2f} times (limit {LARGEST_RATIO})")
        for side in sides:
            side.server.end()
    return 0 if good else 1


if __name__ == "__main__":
    sys.exit(main())
