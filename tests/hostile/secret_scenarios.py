"""What leaves the programs: their standard error and their recordings, where a person has been at the table."""
import os
import socket
import subprocess
import time

from programs import by_class, by_type, value
from server_scenarios import Server
from table_scenarios import PRESENTATIONS, Table, card_frame, people

NAME, ADDRESS = "Umalinda Okonkwo", "umalinda.okonkwo@museum.example"


def report(text):
    print("  " + text, flush=True)


def whole(program):
    program.errors.flush()
    with open(program.errors.name, "rb") as file:
        return file.read()


def open_space(table, code):
    """Puts the card down until its space shows a page; returns the page's token."""
    deadline = time.monotonic() + 30
    number = 0
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as sender:
        while True:
            number += 1
            sender.sendto(card_frame(number, code), ("127.0.0.1", table.tuio))
            for space in by_type(table.get("/tree"), "PersonalSpaceWidget"):
                for link in by_class(space, "user-page-link"):
                    if "/p/" in value(link, "text"):
                        return value(link, "text").split("/p/")[1]
            assert time.monotonic() < deadline, "the card opened no space with a page"


def secrets(build, folder):
    """A registered person opens a space: what they are called and where their page is stays inside."""
    with Table(build, folder):
        pass  # from here on its registry counts
    subprocess.run([*people(build, folder, "add"), "4711", "--name", NAME, "--email", ADDRESS], check=True, capture_output=True)
    recording = os.path.join(folder, "evening.rec")
    with Server(build, folder) as server:
        table = Table(build, folder, "--record", recording, "--media-server", f"http://127.0.0.1:{server.commands}/")
        token = open_space(table, 4711)
        exact = [line["text"] for line in table.get("/log")]
        server_said = whole(server.program)
    said = whole(table.program)
    complaint = table.program.end()
    assert not complaint, complaint
    with open(recording, "rb") as file:
        kept = file.read()
    with open(recording + ".private", "rb") as file:
        private = file.read()
    words = [word.encode() for word in (*NAME.split(), ADDRESS.split("@")[0], token)]
    for where, text in (("the table's log", said), ("the media server's log", server_said), ("the recording", kept)):
        for word in words:
            assert word not in text, f"{where} has {word.decode()}"
    assert any(token in line for line in exact), "the table's log has no page in it, so nothing was tried"
    assert token[:4].encode() in said, "a page in the table's log is not shortened, but missing"
    for word in words:
        assert word in private, f"the private half of the recording lacks {word.decode()}"
    for name in (recording, recording + ".private"):
        assert os.stat(name).st_mode & 0o077 == 0, f"others may read {name}"

    command = [os.path.join(build, "bin", "tavola"), "replay", recording, "--headless"]
    shortened = b"are shortened in this replay"
    for is_private_there in (True, False):
        if not is_private_there:
            os.remove(recording + ".private")
        replay = subprocess.run(command, capture_output=True, timeout=120)
        assert replay.returncode == 0, replay.stderr
        assert (shortened in replay.stderr) != is_private_there, replay.stderr
        assert not any(word in replay.stderr for word in words), replay.stderr
    report("no name, no address and no page in two logs and a recording; its private half has them, and it replays without")


SCENARIOS = {"secrets": secrets}
