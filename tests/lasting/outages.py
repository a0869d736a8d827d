#!/usr/bin/env python3
"""Plays outages of a database that two media servers share: nothing that was acknowledged is lost, nothing is there twice.

usage: postgres.py outages.py --build DIRECTORY [--outages 6] [--only KIND]
       outages.py --build DIRECTORY [--outages 6]       on a SQLite file: media servers are killed, nothing else

Clients add and remove links at both servers while the PostgreSQL server is stopped in the middle of its work (SIGSTOP), restarted
after a crash, loses its connections, and while a media server is killed and started again. Exits with 1 when something is lost.
"""
import argparse
import contextlib
import itertools
import json
import os
import random
import signal
import sqlite3
import subprocess
import sys
import tempfile
import threading
import time

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "..", "tools", "demonstration"))

from postgres import POSTGRES  # noqa: E402
from programs import Failure, MediaServer, fetch  # noqa: E402

CLIENTS = 8
HANG_SECONDS = 1.5
VERSION, CLUSTER = os.environ.get("PGVERSION", ""), "regress"


def sql(statement):
    return subprocess.run(["psql", "-XAtq", "-v", "ON_ERROR_STOP=1", "-c", statement], check=True, capture_output=True,
                          text=True).stdout.splitlines()


def server_processes():
    """The PostgreSQL server's process and all its children."""
    with open(os.path.join(sql("SHOW data_directory")[0], "postmaster.pid"), encoding="ascii") as file:
        parent = int(file.readline())
    children = subprocess.run(["pgrep", "-P", str(parent)], check=False, capture_output=True, text=True).stdout.split()
    return [parent, *map(int, children)]


def signal_all(processes, number):
    for process in processes:
        with contextlib.suppress(ProcessLookupError):  # a connection that has ended meanwhile
            os.kill(process, number)


class Venue:
    """Two media servers on one database, and what their clients know for certain."""

    def __init__(self, build, folder):
        self.build, self.folder = build, folder
        os.makedirs(os.path.join(folder, "content"))
        self.servers = [self.start(), self.start()]
        self.lock = threading.Lock()
        self.is_over = threading.Event()
        self.known = {}  # what was acknowledged last: (card, address) → whether it is there
        self.answers = {"acknowledged": 0, "failed": 0}
        self.longest = 0.0

    def start(self):
        options = ("--database", os.environ[POSTGRES]) if POSTGRES in os.environ else ()
        return MediaServer(self.build, os.path.join(self.folder, "content"), self.folder, options=options)

    def rows(self):
        items = "SELECT tessel || ' ' || value FROM item"
        if POSTGRES in os.environ:
            return sql(items)
        with sqlite3.connect(os.path.join(self.folder, "pages.sqlite")) as database:
            return [row[0] for row in database.execute(items)]

    def restart(self, number):
        self.servers[number].process.kill()
        self.servers[number].process.wait()
        self.servers[number] = self.start()

    def tell(self, chosen, command):
        """Gives the command until it is acknowledged, at whichever server."""
        while True:
            begin = time.monotonic()
            try:
                answer = json.loads(fetch(chosen.choice(self.servers).address, json.dumps(command).encode()))
                is_done = answer["success"]
            except (Failure, OSError, ValueError):
                is_done = False
            with self.lock:
                self.longest = max(self.longest, time.monotonic() - begin)
                self.answers["acknowledged" if is_done else "failed"] += 1
            if is_done:
                return
            time.sleep(0.05)

    def client(self, card):
        chosen = random.Random(card)
        there = []
        for number in itertools.count():
            if self.is_over.is_set():
                return
            if there and chosen.random() < 0.3:
                address, command = there.pop(chosen.randrange(len(there))), "deleteitem"
            else:
                address, command = f"https://museum.example/{card}/{number}", "additem"
                there.append(address)
            self.tell(chosen, {"command": command, "tessel": card, "url": address, "displayname": "Thing"})
            with self.lock:
                self.known[card, address] = command == "additem"


def hang(_):
    """The server stops in the middle of whatever it does, and goes on later."""
    processes = server_processes()
    signal_all(processes, signal.SIGSTOP)
    time.sleep(HANG_SECONDS)
    signal_all(reversed(processes), signal.SIGCONT)


def crash(_):
    subprocess.run(["pg_ctlcluster", VERSION, CLUSTER, "restart", "-m", "immediate"], check=True, capture_output=True)


def cut(_):
    sql("SELECT pg_terminate_backend(pid) FROM pg_stat_activity WHERE application_name = 'tavola'")


def kill(venue):
    venue.restart(random.randrange(2))


OUTAGES = (cut, hang, kill, crash) if POSTGRES in os.environ else (kill,)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", required=True, help="the build directory, with bin/ in it")
    parser.add_argument("--outages", type=int, default=6)
    parser.add_argument("--only", choices=[outage.__name__ for outage in OUTAGES], help="this kind of outage instead of each in turn")
    arguments = parser.parse_args()
    outages = [outage for outage in OUTAGES if arguments.only in (None, outage.__name__)]
    with tempfile.TemporaryDirectory(prefix="tavola-outages-") as folder:
        venue = Venue(arguments.build, folder)
        clients = [threading.Thread(target=venue.client, args=(card,)) for card in range(1, CLIENTS + 1)]
        for client in clients:
            client.start()
        try:
            for number in range(arguments.outages):
                before = venue.answers["acknowledged"]
                while venue.answers["acknowledged"] < before + 3 * CLIENTS:  # in the middle of a burst
                    time.sleep(0.01)
                outages[number % len(outages)](venue)
        finally:
            venue.is_over.set()
        for client in clients:
            client.join()
        rows = venue.rows()
        wanted = sorted(f"{card} {address}" for (card, address), is_there in venue.known.items() if is_there)
        lost, extra = set(wanted) - set(rows), set(rows) - set(wanted)
        twice = len(rows) - len(set(rows))
        print(f"  {arguments.outages} outages, {venue.answers['acknowledged']} acknowledged, {venue.answers['failed']} failed and "
              f"given again; {len(rows)} items; the longest answer took {venue.longest:.1f} s")
        for server in venue.servers:
            server.end()
        if lost or extra or twice:
            sys.exit(f"outages: {len(lost)} items are lost, {len(extra)} came back, {twice} are there twice")
    print("outages: holds")


if __name__ == "__main__":
    main()
