"""Opens the museum's table for a visitor, or plays a visit by itself and reports what happened."""
import argparse
import os
import shutil
import signal
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

from cards_visit import CardsVisit  # noqa: E402
from care_visit import CareVisit  # noqa: E402
from eight_visit import EightVisit  # noqa: E402
from email_visit import EmailVisit  # noqa: E402
from faults_visit import FaultsVisit  # noqa: E402
from first_visit import FirstVisit  # noqa: E402
from programs import Failure, MediaServer, end_all  # noqa: E402
from report import Report  # noqa: E402
from visit import PRESENTATIONS, ROOT, World  # noqa: E402

PRESENTATION = os.path.join(PRESENTATIONS, "gallery")
VISITS = {"first": FirstVisit, "faults": FaultsVisit, "email": EmailVisit, "cards": CardsVisit, "care": CareVisit, "eight": EightVisit}
COMMAND_PORT = 8180


def has_display():
    """Whether there is a screen: a desktop's, or one that Qt uses without a desktop."""
    platform = os.environ.get("QT_QPA_PLATFORM")
    if platform:
        return platform not in ("offscreen", "minimal")
    return bool(os.environ.get("DISPLAY") or os.environ.get("WAYLAND_DISPLAY"))


def open_table(build, headless):
    """Opens a table until its window is closed or Ctrl-C is pressed."""
    data = os.path.join(os.environ.get("XDG_DATA_HOME") or os.path.expanduser("~/.local/share"), "tavola", "demonstration")
    os.makedirs(data, exist_ok=True)
    headless = headless or not has_display()
    media_server = MediaServer(build, os.path.join(PRESENTATION, "media"), data, COMMAND_PORT,
                               ["--site", os.path.join(PRESENTATION, "presentation.json")])
    command = [os.path.join(build, "bin", "tavola"), "run", PRESENTATION, "--media-server", media_server.address,
               "--data", data]
    if headless:
        command += ["--headless", "--inspect", "8181"]
    print("\nThe Small Museum is open.\n")
    if headless:
        print("  There is no display here, so the table runs without a window.\n"
              "  Look at it:      http://127.0.0.1:8181/screenshot.png\n"
              f"  Visit it:        {build}/bin/tavola-visit VISIT (TUIO on 127.0.0.1:3333); see --help there\n"
              "  Or play a visit: tools/demo --headless --out DIR")
    else:
        print("  Hold the key 1 and click on the table: Ann's card comes down and her personal space opens.\n"
              "  Drag pictures, documents and links onto it with the mouse.\n"
              "  The keys 2 to 7 are other people's cards. The wheel turns a card, Shift and a click lift it.")
    print(f"  What is collected is listed on the person's page, at {media_server.pages}p/…: the space shows the\n"
          "  whole address and its QR code.\n"
          "  To end, close the window or press Ctrl-C.\n", flush=True)
    table = subprocess.Popen(command)
    signal.signal(signal.SIGTERM, lambda *_: table.terminate())
    try:
        while True:
            try:
                return table.wait()
            except KeyboardInterrupt:
                continue  # the table has received it, too, and closes in order
    finally:
        media_server.stop()


def play(build, visit, out, visit_options, recordings=None):
    """Plays a visit by datagrams on loopback ports that the system chooses."""
    os.makedirs(out, exist_ok=True)
    for name in os.listdir(out):
        if name == "report.json" or name.endswith(".eml") or name[:2].isdigit() and name.endswith(".png"):
            os.remove(os.path.join(out, name))
    if recordings:
        os.makedirs(recordings, exist_ok=True)
    world = World(build, tempfile.mkdtemp(prefix="tavola-visit-"), out, visit_options, recordings)
    try:
        played = VISITS[visit](world)
        report = Report(out, played)
        print(f"The visit \"{visit}\":")
        for name, action in played.steps():
            if not report.step(name, action):
                break
        held = report.write()
        played.stage.stop()
        ended = played.table.stop()
        if held and ended != 0:
            raise Failure(f"the table ended with {ended}: {played.table.error_text()}")
        end_all(world.programs)
        print(f"Report and pictures are in {out}")
        return 0 if held else 1
    except Failure as failure:
        print(f"tools/demo: {failure}", file=sys.stderr)
        return 1
    finally:
        for program in reversed(world.programs):
            program.stop()
        shutil.rmtree(world.folder, ignore_errors=True)


def main():
    parser = argparse.ArgumentParser(
        prog="tools/demo", description="Builds the project and opens the museum's table; or plays a visit by itself.")
    parser.add_argument("--headless", action="store_true", help="no window")
    parser.add_argument("--out", metavar="DIR", help="play a visit by itself and write its pictures and report.json here")
    parser.add_argument("--visit", choices=sorted(VISITS), default="first", help="which visit to play (default: first)")
    parser.add_argument("--tuio-version", choices=["1.1", "2.0"], default="1.1",
                        help="how the visit's datagrams are written (default: 1.1)")
    parser.add_argument("--record", metavar="DIR", help="record the visit's tables into this folder, which has no recordings yet")
    parser.add_argument("--build", metavar="DIR", default=os.path.join(ROOT, "build", "demo"), help="where the programs were built")
    options = parser.parse_args()
    # As Ctrl-C does: programs that were started end, too.
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(128 + signal.SIGTERM))
    build = os.path.abspath(options.build)
    if options.out:
        return play(build, options.visit, os.path.abspath(options.out), ["--tuio-version", options.tuio_version],
                    options.record and os.path.abspath(options.record))
    try:
        return open_table(build, options.headless)
    except Failure as failure:
        print(f"tools/demo: {failure}", file=sys.stderr)
        return 1


if __name__ == "__main__":
    sys.exit(main())
