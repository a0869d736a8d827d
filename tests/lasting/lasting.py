#!/usr/bin/env python3
"""Plays what has to last over kills, restarts and power cuts, with the real programs: content that goes from a table to the media
server, and what cards have collected.

usage: lasting.py --build DIRECTORY [SCENARIO ...]     all scenarios without a name

Each scenario starts programs of its own on free ports of this machine, in a temporary folder, and exits with 1 when something is
lost.
"""
import argparse
import hashlib
import json
import os
import random
import sys
import tempfile
import traceback
import urllib.parse
import urllib.request

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "..", "tools", "demonstration"))

from collected import SCENARIOS as COLLECTED  # noqa: E402
from power import Power  # noqa: E402
from programs import Failure, MediaServer, centre, fetch, value  # noqa: E402
from visit import PRESENTATIONS, Visit, World, require  # noqa: E402

GALLERY = os.path.join(PRESENTATIONS, "gallery")


def read(*path):
    with open(os.path.join(*path), "rb") as file:
        return file.read()


def announced(name, content):
    return {"command": "additem", "tessel": 7, "filename": name, "displayname": name,
            "sha256": hashlib.sha256(content).hexdigest(), "size": len(content)}


def ask_content(server, method, name, content, begin=0, end=0):
    """What the server says about a file, after a piece of it when `method` is PUT."""
    query = urllib.parse.urlencode({"sha256": hashlib.sha256(content).hexdigest(), "size": len(content), "from": begin})
    request = urllib.request.Request(f"{server.address}content/{urllib.parse.quote(name)}?{query}", method=method,
                                     data=content[begin:end] if method == "PUT" else None)
    with urllib.request.build_opener(urllib.request.ProxyHandler({})).open(request, timeout=30) as answer:
        return json.loads(answer.read())


def transfer_survives_kills(build, folder):
    """A file arrives whole though the server is killed after every few pieces."""
    chosen = random.Random(13)
    content = chosen.randbytes(1_500_000)
    kills = 0
    os.makedirs(os.path.join(folder, "content"))
    while True:
        server = MediaServer(build, os.path.join(folder, "content"), folder)
        if kills == 0:
            answer = server.command_answer(announced("film.mp4", content))
            require(answer.get("content") == "coming", f"the item was answered with {answer}")
        state = ask_content(server, "GET", "film.mp4", content)
        before = state["received"]
        require(kills == 0 or before > 0, "a kill has cost what had arrived")
        for _ in range(chosen.randint(1, 4)):
            end = state["received"] + state["piece"]
            state = ask_content(server, "PUT", "film.mp4", content, state["received"], end)
            if state["state"] == "there":
                break
        server.process.kill()
        server.process.wait()
        kills += 1
        if state["state"] == "there":
            break
    require(read(folder, "content", "film.mp4") == content, "the file has changed on the way")
    server = MediaServer(build, os.path.join(folder, "content"), folder)
    page = server.command_answer({"command": "getuserpage", "tessel": 7})["userpageurl"].rsplit("/", 1)[1]
    text = fetch(server.pages + "p/" + page).decode()
    require("film.mp4" in text and "Coming" not in text, "the page does not show the file")
    complaint = server.end()
    require(not complaint, complaint)
    print(f"  a file of {len(content)} bytes arrived over {kills} kills")


def pages_survive_power_cuts(build, folder):
    """What a media server has acknowledged, commands and content, outlasts a power cut."""
    content = random.Random(17).randbytes(100_000)
    power = Power(build, os.path.join(folder, "machine"), os.path.join(folder, "copies"))
    os.makedirs(os.path.join(power.root, "content"))

    def start():
        with power.over_programs():
            return MediaServer(build, os.path.join(power.root, "content"), power.root)

    def cut(server):
        server.process.kill()
        server.process.wait()
        power.cut()

    cut(start())  # the folders are on the disk
    server = start()
    question = {"command": "getuserpage", "tessel": 7}
    address = server.command_answer(question)["userpageurl"].rsplit("/", 1)[1]
    server.command_answer(announced("film.mp4", content))
    state = ask_content(server, "GET", "film.mp4", content)
    while state["state"] != "there":
        state = ask_content(server, "PUT", "film.mp4", content, state["received"], state["received"] + state["piece"])
    # The last command: that of the content has synced no more than the content.
    server.command_answer({"command": "additem", "tessel": 7, "url": "https://museum.example/last"})
    cut(server)
    server = start()
    require(read(power.root, "content", "film.mp4") == content, "a power cut has changed the content")
    after = server.command_answer(question)["userpageurl"].rsplit("/", 1)[1]
    require(after == address, "after a power cut the page has another address")
    text = fetch(server.pages + "p/" + address).decode()
    require("film.mp4" in text and "museum.example" in text and "Coming" not in text, "a power cut has changed the page")
    complaint = server.end()
    require(not complaint, complaint)
    print("  acknowledged commands and content last over a power cut")


class ContentVisit(Visit):
    """A table whose media server has an empty folder."""

    def __init__(self, build, folder):
        super().__init__(World(build, folder, folder))
        self.content = os.path.join(folder, "content")
        os.makedirs(self.content)
        self.server = self.world.add(MediaServer(build, self.content, folder))
        self.open_table(GALLERY, ["--media-server", self.server.address])

    def page(self):
        """The page of the open space."""
        url = self.table.wait_until("the page", lambda: value(self.space(), "user-page-url"))
        return fetch(url).decode()

    def drag_in(self, css_id):
        x, y = centre(self.space())
        self.drag(css_id, (x, y))

    def collected(self, count):
        self.table.wait_until(f"{count} pictures to be uploaded", lambda: len(self.tiles()) == count
                              and all("uploaded" in tile["classes"] for tile in self.tiles()))

    def end(self):
        for program in reversed(self.world.programs):
            complaint = program.end()
            require(not complaint, complaint)


def table_sends_content(build, folder):
    """What is collected at a real table is on the page, with its content, in an empty content folder."""
    visit = ContentVisit(build, folder)
    visit.stage.enter("at 0.2 card 1001 down 1150 560 angle 270\nat 60 card 1001 up\n")
    visit.stage.play_until(1.0)
    visit.page()
    for count, name in enumerate(("paper-moons", "basalt"), 1):
        visit.drag_in(name)
        visit.collected(count)
        file = name + ".png"
        arrived = os.path.join(visit.content, file)
        visit.table.wait_until(f"{file} on the server", lambda: os.path.exists(arrived))
        require(read(arrived) == read(GALLERY, "media", file), f"{file} has changed on the way")
    visit.table.wait_until("the page to show both", lambda: "Coming" not in visit.page())
    require(visit.page().count("/file/") >= 2, "the page shows no pictures")
    visit.end()
    print("  two pictures of a table reached an empty content folder")


SCENARIOS = {"transfer_survives_kills": transfer_survives_kills, "table_sends_content": table_sends_content,
             "pages_survive_power_cuts": pages_survive_power_cuts, **COLLECTED}


def play(name, build):
    with tempfile.TemporaryDirectory(prefix="tavola-lasting-") as folder:
        try:
            SCENARIOS[name](build, folder)
            print(f"{name}: holds")
            return True
        except Failure as failure:
            print(f"{name}: {failure}")
        except Exception:  # a fault of the scenario itself is a failure, too
            traceback.print_exc()
        return False


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", required=True, help="the build directory, with bin/ in it")
    parser.add_argument("scenario", nargs="*", choices=[[], *SCENARIOS], metavar="SCENARIO")
    arguments = parser.parse_args()
    results = [play(name, os.path.abspath(arguments.build)) for name in arguments.scenario or SCENARIOS]
    return 0 if all(results) else 1


if __name__ == "__main__":
    sys.exit(main())
