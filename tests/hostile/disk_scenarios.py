"""Disks that fill up, and databases that are locked or damaged, under the real programs."""
import json
import os
import sqlite3
import subprocess
import time

from http_bytes import ask
from programs import Failure, MediaServer, ONLY_HERE, Stage, Table, by_class, by_id, by_type, centre
from server_scenarios import Server, report
from visit import PRESENTATIONS

CARD = (850, 560)  # its space opens beside it and leaves the pictures uncovered


class SmallDisk:
    """A disk of a few megabytes. Only where the caller may mount one, in a name space of its own: hostile.py sees to it."""

    def __init__(self, folder, megabytes):
        self.folder = os.path.join(folder, "disk")
        os.makedirs(self.folder)
        subprocess.run(["mount", "-t", "tmpfs", "-o", f"size={megabytes}m,mode=0700", "disk", self.folder], check=True)
        self._ballast = os.path.join(self.folder, "ballast")

    def fill(self):
        with open(self._ballast, "wb", buffering=0) as file:
            for size in (65536, 4096, 1):
                try:
                    while True:
                        file.write(b"x" * size)
                except OSError:
                    pass

    def empty(self):
        os.unlink(self._ballast)

    def away(self):
        subprocess.run(["umount", "--lazy", self.folder], check=True)


def full_server(build, folder):
    """The media server's disk fills up while commands arrive, and has room again."""
    disk = SmallDisk(folder, 4)
    try:
        with Server(build, disk.folder) as server:
            acknowledged = [number for number in range(50) if add(server, number)]
            assert len(acknowledged) == 50, "commands failed with room on the disk"
            disk.fill()
            answers = [add(server, number) for number in range(50, 550)]
            acknowledged += [50 + index for index, success in enumerate(answers) if success]
            refused = answers.count(False)
            assert refused > 400, f"only {refused} of 500 commands failed on a full disk"
            server.shown(server.page(7))
            lines = server.program.error_text().splitlines()
            assert len(lines) <= 12, f"{refused} refused commands wrote {len(lines)} lines"
            disk.empty()
            acknowledged += [number for number in range(600, 650) if add(server, number)]
            assert acknowledged[-50:] == list(range(600, 650)), "commands fail although the disk has room again"
        with Server(build, disk.folder) as server:
            shown = server.shown(server.page(7))
            lost = [number for number in acknowledged if f"https://museum.example/{number}\"".encode() not in shown]
            assert not lost, f"{len(lost)} of {len(acknowledged)} acknowledged items are lost, such as {lost[:3]}"
        report(f"{refused} commands failed on a full disk with {len(lines)} lines (limit 12); all {len(acknowledged)} that were "
               "acknowledged are there")
    finally:
        disk.away()


def add(server, number):
    body = json.dumps({"command": "additem", "tessel": 7, "url": f"https://museum.example/{number}"}).encode()
    status, answer = ask(server.commands, "POST", "/", body)
    success = json.loads(answer.split(b"\r\n\r\n", 1)[1])["success"]
    assert status == (200 if success else 500), f"a command was answered with {status}, and its success is {success}"
    return success


def full_table(build, folder):
    """The table's disk, temporary files included, fills up while a visitor collects, and has room again."""
    disk = SmallDisk(folder, 32)
    server = MediaServer(build, os.path.join(PRESENTATIONS, "gallery", "media"), folder)
    os.mkdir(os.path.join(disk.folder, "tmp"))
    before = os.environ.get("TMPDIR")
    os.environ["TMPDIR"] = os.path.join(disk.folder, "tmp")
    try:
        table = Table(build, os.path.join(PRESENTATIONS, "gallery"), os.path.join(disk.folder, "data"),
                      ["--media-server", server.address])
    except Failure:
        server.stop()
        disk.away()
        raise
    finally:
        os.environ.pop("TMPDIR")
        if before:
            os.environ["TMPDIR"] = before
    stage = Stage(build, table)
    try:
        table.frames(3)
        table.wait_until("the pictures", lambda: table.get("/status")["pendingImages"] == 0)
        disk.fill()
        stage.act(f"at 0.05 card 1001 down {CARD[0]} {CARD[1]} angle 270\nat 1 card 1001 up", 1.5)
        assert by_type(table.tree(), "PersonalSpaceWidget"), "no space opens on a full disk"
        for name in ("paper-moons", "field-lines"):
            drop(stage, table, name)
        no_room = "there is no room to keep the picture in " + os.path.join(disk.folder, "tmp")
        table.wait_until("a line about the QR picture", lambda: any(no_room in line for line in complaints(table)))
        table.wait_until("a line about the disk", lambda: any("No space left on device" in line for line in complaints(table)))
        stage.play(3)
        said = complaints(table)
        assert len(said) <= 8, f"a full disk wrote {len(said)} lines, such as {said[0]}"
        assert not any("Failed to load image" in line for line in said), f"a picture that was cut off is shown: {said}"
        disk.empty()
        drop(stage, table, "terraces")
        table.wait_until("a tile with a picture of the content and its upload", lambda: any(
            "uploaded" in tile["classes"] for tile in tiles(table)[-1:]))
        report(f"a full disk cost {len(said)} lines (limit 8) and no frame; with room again a picture is collected as ever")
    finally:
        stage.stop()
        complaint = table.end() or server.end()
        disk.away()
    assert not complaint, complaint


def drop(stage, table, name):
    """Drags a picture into the space that opened last, wherever that stands; its tile appears even on a full disk."""
    before = len(tiles(table))
    x, y = centre(by_id(table.tree(), name)[0])
    to_x, to_y = centre(by_type(space(table), "PersonalSpaceContentWidget")[0])
    stage.act(f"at 0.05 finger 1 down {x:.0f} {y:.0f}\nat 0.15 finger 1 move {to_x:.0f} {to_y:.0f} over 0.5\nat 0.85 finger 1 up", 1.6)
    table.wait_until(f"a tile of {name}", lambda: len(tiles(table)) > before)


def space(table):
    return by_type(table.tree(), "PersonalSpaceWidget")[-1]


def tiles(table):
    return by_class(space(table), "container")


def complaints(table):
    return [line["text"] for line in table.get("/log") if line["level"] != "info" and not line["text"].startswith(ONLY_HERE)]


def run(command, seconds=60):
    """(exit code, what it wrote) of a program that should end by itself."""
    begin = time.monotonic()
    done = subprocess.run(command, capture_output=True, text=True, timeout=seconds)
    return done.returncode, done.stderr, time.monotonic() - begin


def spoil(kind, path):
    """Does to the database at `path` what can happen to one. Returns what keeps it that way, if anything."""
    if kind == "locked":
        holder = sqlite3.connect(path)
        holder.execute("BEGIN EXCLUSIVE")
        return holder
    with open(path, "r+b") as file:
        if kind == "overwritten":
            file.write(b"This is a letter, and was never a database.".ljust(4096, b"."))
        else:  # damaged in the middle, its first page as it was
            size = os.path.getsize(path)
            file.seek(4096 if size > 4096 else 100)
            file.write(b"\xa5" * (size - file.tell()))
    return None


def databases(build, folder):
    """People, outbox and pages, each locked, overwritten or damaged: told with its remedy, and nothing is changed."""
    programs = {
        "people": [os.path.join(build, "bin", "tavola"), "people", "remove", os.path.join(PRESENTATIONS, "gallery"), "1001", "--data"],
        "outbox": [os.path.join(build, "bin", "tavola"), "mail", "list", os.path.join(PRESENTATIONS, "mailroom"), "--data"],
    }
    tried = 0
    for kind in ("locked", "overwritten", "damaged"):
        for name, command in programs.items():
            if (kind, name) == ("locked", "outbox"):
                continue  # what reads is not kept waiting, and what is accepted waits for its end
            data = os.path.join(folder, f"{name}-{kind}")
            os.mkdir(data)
            presentation = "gallery" if name == "people" else "mailroom"
            with_table(build, presentation, data)
            path = database_of(data, name)
            refused(kind, name, path, [*command, data])
            tried += 1
        data = os.path.join(folder, f"pages-{kind}")
        os.mkdir(data)
        with Server(build, data) as server:
            for number in range(40):
                add(server, number)
        path = os.path.join(data, "pages.sqlite")
        tried += 1
        if kind == "damaged":
            served(build, data, path)
            continue
        refused(kind, "pages", path, [os.path.join(build, "bin", "tavola-mediaserver"), "--commands", "127.0.0.1:0", "--pages",
                                      "127.0.0.1:0", "--content", server.content, "--database", path])
    report(f"{tried} spoilt databases were told, each with its remedy, and nothing in them was changed")


def served(build, data, path):
    """Behind a first page that is whole the server finds damage only when it reads: each command for it fails, and it says why."""
    spoil("damaged", path)
    with open(path, "rb") as file:
        spoilt = file.read()
    with Server(build, data) as server:
        assert not add(server, 1), "an item was kept in a damaged database"
        status, _ = ask(server.pages, "GET", "/health")
        assert status in (200, 503), f"/health was answered with {status}"
        said = server.program.error_text()
        assert "ove it away" in said, f"damage is not told with its remedy: {said}"
    with open(path, "rb") as file:
        assert unchanged(spoilt, file.read()), "the damaged database was changed"


def with_table(build, presentation, data):
    """Opens a table once, so that its databases are there."""
    table = Table(build, os.path.join(PRESENTATIONS, presentation), data, [])
    table.frames(3)
    complaint = table.end()
    assert not complaint, complaint


def database_of(data, name):
    found = [os.path.join(place, file) for place, _, files in os.walk(data) for file in files
             if file.endswith(".sqlite") and name in os.path.join(place, file)[len(data):]]
    if len(found) != 1:
        raise Failure(f"{name}: there are {found}")
    return found[0]


def unchanged(before, after):
    """Whether two readings of a database differ in nothing but SQLite's counters of attempts to write, in the first page."""
    def compared(data):
        return data[:24] + data[28:92] + data[100:] if data.startswith(b"SQLite format 3\0") else data
    return compared(before) == compared(after)


def refused(kind, name, path, command):
    if os.path.exists(path + "-wal"):
        os.unlink(path + "-wal")
    holder = spoil(kind, path)
    with open(path, "rb") as file:
        before = file.read()
    code, said, seconds = run(command)
    if holder:
        holder.rollback()
        holder.close()
    with open(path, "rb") as file:
        after = file.read()
    assert unchanged(before, after), f"{name}, {kind}: the file was changed"
    assert code == 1, f"{name}, {kind}: exit code {code}: {said}"
    assert os.path.basename(path) in said or path in said, f"{name}, {kind}: the file is not named: {said}"
    advised = "ove it away" in said
    assert advised == (kind != "locked"), f"{name}, {kind}: {'' if advised else 'not '}advised to move it away: {said}"
    assert seconds < 15, f"{name}, {kind}: took {seconds:.1f} s"


SCENARIOS = {"full_server": full_server, "full_table": full_table, "databases": databases}
NEED_MOUNTS = {"full_server", "full_table"}
