"""Photographs every state of a personal space, its tooltips and the e-mail popup, for the documentation, and fails where one is hard
to read or to touch.

usage: tools/screenshots [--build DIR] [--out DIR] [--language TAG] [--large-text]
"""
import argparse
import os
import shutil
import sqlite3
import sys
import tempfile

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

from eight_visit import EightVisit  # noqa: E402
from photographs import DROP, Looks  # noqa: E402
from programs import Failure, MediaServer, by_class, by_id, by_type, centre  # noqa: E402
from state_looks import CardsLooks, DelayedMailLooks, GalleryStates, HebrewLooks, SignLooks  # noqa: E402
from visit import PRESENTATIONS, ROOT, World  # noqa: E402


class UploadLooks(Looks):
    def __init__(self, world):
        super().__init__(world)
        gallery = os.path.join(PRESENTATIONS, "gallery")
        media_server = world.add(MediaServer(world.build, os.path.join(gallery, "media"), world.folder))
        self.open_table(gallery, ["--media-server", media_server.address])
        self.card(1001, (850, 560))
        self.collect()
        self.table.wait_until("uploads", lambda: all("uploaded" in tile["classes"] for tile in self.tiles()))
        self.take("personal-space", self.space())
        self.settle()
        self.table.screenshot(os.path.join(world.out, "table.png"))
        print("  table", flush=True)
        tree = self.table.tree()
        self.measure("table", *by_id(tree, "museum"), *by_id(tree, "invitation"), *by_type(tree, "SwitchWidget"),
                     *by_type(tree, "LinkWidget"))


class Films(Looks):
    """Film strips of what moves: each picture is one moment of the same part of the table."""

    def __init__(self, world):
        super().__init__(world)
        gallery = os.path.join(PRESENTATIONS, "gallery")
        media_server = world.add(MediaServer(world.build, os.path.join(gallery, "media"), world.folder))
        self.open_table(gallery, ["--media-server", media_server.address])
        self.opening()
        self.dropping()
        self.closing()
        self.inviting()
        self.tidying()

    def film(self, name, part, moments):
        """Pictures after so many seconds each."""
        for number, seconds in enumerate(moments, 1):
            if seconds:
                self.stage.play(seconds)
            self.table.screenshot(os.path.join(self.world.out, f"film-{name}-{number}.png"), part)
        print(f"  film-{name}", flush=True)

    def opening(self):
        self.stage.enter("at 0.01 card 1001 down 1880 1000 angle 270\nat 200 card 1001 up")
        while not self.spaces():
            self.stage.play(1 / 60)
        self.film("opening", (1240, 540, 680, 540), (0, 0.1, 0.4))

    def dropping(self):
        x, y = centre(by_id(self.table.tree(), "orchard-in-rows")[0])
        self.stage.enter(f"at 0.05 finger 1 down {x:.0f} {y:.0f}\nat 0.1 finger 1 move 1500 850 over 0.4\nat 1 finger 1 up")
        self.stage.play(0.4)
        while by_class(self.space(), "container") == []:
            self.stage.play(1 / 60)
            if "valid-hover" in self.space()["pseudoClasses"] and not self.hovers:
                self.hovers = True
                self.film("dragging", (1000, 420, 920, 660), (0.2,))
        self.film("dropping", (1000, 420, 920, 660), (0.1, 0.6))

    hovers = False

    def closing(self):
        while "closing" not in self.space()["pseudoClasses"]:
            self.stage.play(1, frame=0.25)
        self.film("closing", (1300, 540, 620, 540), (7,))

    def inviting(self):
        self.stage.play(3)
        while "idle" not in self.table.tree()["pseudoClasses"]:
            self.stage.play(1, frame=0.25)
        self.stage.play(0.5)
        self.part("invitation", (740, 160, 800, 800))

    def tidying(self):
        self.drag("night-harbour", (1100, 300))
        self.stage.play(1)
        before = centre(by_id(self.table.tree(), "night-harbour")[0])
        self.stage.play(85, frame=0.25)
        while centre(by_id(self.table.tree(), "night-harbour")[0]) == before:
            self.stage.play(0.05, frame=0.05)
        self.film("tidying", (400, 120, 920, 460), (0, 0.1, 0.4))


def take_eight(world):
    """The table for eight, with a space at each place."""
    visit = EightVisit(world)
    for _, action in visit.steps():
        action()
    visit.table.screenshot(os.path.join(world.out, "eight.png"))
    print("  eight", flush=True)


class MailLooks(Looks):
    def __init__(self, world):
        super().__init__(world)
        from mail_server import MailServer
        self.mail = world.add(MailServer(world.folder))
        self.open_table(os.path.join(PRESENTATIONS, "mailroom"), ["--mail-server", self.mail.address])
        self.of_an_unregistered_card()
        self.of_a_failure()
        self.of_tooltips()
        self.of_the_popup()

    def of_an_unregistered_card(self):
        self.card(1004)
        self.collect()
        self.take("unregistered", self.space())
        self.tap(self.child("envelope"))
        self.stage.play(0.4)
        self.take("no-email", self.space())
        self.tap(by_type(self.space(), "TextEditWidget")[0])
        self.stage.play(0.8)
        self.type("lena.o@museum.test")
        self.take("waiting-with-keyboard", self.space(), self.keyboard())
        self.mail.hold()
        self.press("key-enter")
        self.stage.play(1.2)
        self.take("sending", self.space())
        self.mail.release()
        self.table.wait_until("the mail", lambda: self.has_class("email-successful"))
        self.stage.play(1)
        self.take("successful", self.space())
        self.register("registering", "registered", "lena")

    def register(self, registering, outcome, name):
        """While another program holds the registry the space waits for it."""
        registry = sqlite3.connect(os.path.join(self.world.folder, "data", "people.sqlite"), isolation_level=None)
        registry.execute("BEGIN IMMEDIATE")
        self.tap(by_type(self.space(), "TextEditWidget")[0])
        self.stage.play(0.8)
        self.type(name)
        self.press("key-enter")
        self.stage.play(0.6)
        self.take(registering, self.space())
        if outcome == "registered":
            registry.execute("ROLLBACK")
        self.table.wait_until("the registry's answer", lambda: not self.has_class("registering"))
        self.stage.play(0.3)
        self.take(outcome, self.space())
        if registry.in_transaction:
            registry.execute("ROLLBACK")
        registry.close()
        self.close_space()

    def close_space(self):
        """Waits until spaces close because they are not touched."""
        self.table.frames(130, 1)
        self.table.frames(60)

    def of_a_failure(self):
        self.card(1001)
        self.collect()
        self.take("initial", self.space())
        self.mail.refusal = "554 This mailbox is closed"
        self.tap(self.child("envelope"))
        self.table.wait_until("the refusal", lambda: self.has_class("email-failed"))
        self.mail.refusal = None
        self.stage.play(0.3)
        self.take("failed", self.space())
        self.close_space()
        # A card without a name whose registration fails: the registry stays locked too long.
        self.card(1003)
        self.drag("terraces", DROP)
        self.stage.play(0.5)
        self.tap(self.child("envelope"))
        self.table.wait_until("the mail", lambda: self.has_class("email-successful"))
        self.stage.play(0.5)
        self.register("registering-again", "registering-failed", "ida")
        os.remove(os.path.join(self.world.out, "registering-again.png"))

    def of_tooltips(self):
        self.card(1001)
        self.tap(self.child("help-button"))
        self.stage.play(0.5)
        self.take("tooltip-help", self.space(), by_class(self.space(), "tooltip-text")[-1])
        self.tap(self.child("help-button"))
        self.stage.play(1)
        self.tap(self.child("info"))
        self.stage.play(0.5)
        self.take("tooltip-email", self.space(), by_class(self.space(), "tooltip-text")[-1])
        self.close_space()

    def popup(self):
        popups = by_type(self.table.tree(), "EmailSendingPopupWidget")
        if not popups:
            raise Failure("no popup is open")
        return popups[-1]

    def of_the_popup(self):
        x, y = centre(by_id(self.table.tree(), "night-harbour")[0])
        self.stage.act(f"at 0.1 card 1001 down {x:.0f} {y:.0f} angle 270\nat 1.2 card 1001 up", 2)
        self.take("popup-waiting", self.popup())
        self.mail.hold()
        self.tap(by_class(self.popup(), "send-button")[0])
        self.stage.play(1.2)
        self.take("popup-sending", self.popup())
        self.mail.release()
        self.table.wait_until("the mail", lambda: "email-successful" in self.popup()["classes"])
        self.stage.play(0.3)
        self.take("popup-successful", self.popup())
        self.stage.play(11)
        self.mail.refusal = "554 This mailbox is closed"
        self.stage.act(f"at 0.1 card 1001 down {x:.0f} {y:.0f} angle 270\nat 1.2 card 1001 up", 2)
        self.tap(by_class(self.popup(), "send-button")[0])
        self.table.wait_until("the refusal", lambda: "email-failed" in self.popup()["classes"])
        self.stage.play(0.3)
        self.take("popup-failed", self.popup())


def main():
    parser = argparse.ArgumentParser(prog="tools/screenshots", description="Photographs what visitors see, for the documentation.")
    parser.add_argument("--build", metavar="DIR", default=os.path.join(ROOT, "build", "demo"), help="where the programs were built")
    parser.add_argument("--out", metavar="DIR", default=os.path.join(ROOT, "docs", "images"), help="where pictures go")
    parser.add_argument("--language", metavar="TAG", help="photograph tables that speak this language")
    parser.add_argument("--large-text", action="store_true", help="photograph what visitors see after a tap on \"Larger text\"")
    options = parser.parse_args()
    Looks.is_large = options.large_text
    if options.language:
        Looks.options = ["--language", options.language]
    out = os.path.abspath(options.out)
    os.makedirs(out, exist_ok=True)
    for looks in (UploadLooks, GalleryStates, SignLooks, Films, take_eight, HebrewLooks, MailLooks, DelayedMailLooks,
                  CardsLooks):
        world = World(os.path.abspath(options.build), tempfile.mkdtemp(prefix="tavola-looks-"), out)
        try:
            looks(world)
        except Failure as failure:
            sys.exit(f"tools/screenshots: {failure}")
        finally:
            for program in reversed(world.programs):
                program.stop()
            shutil.rmtree(world.folder, ignore_errors=True)
    print(f"{sum(seen.texts for seen in Looks.measured)} texts, the lowest contrast is "
          f"{min(seen.lowest for seen in Looks.measured):.1f}; {sum(seen.tapped for seen in Looks.measured)} things to tap, the "
          f"smallest is {min(seen.smallest for seen in Looks.measured):.1f} mm")
    for complaint in Looks.complaints:
        print(f"tools/screenshots: {complaint}", file=sys.stderr)
    return 1 if Looks.complaints else 0


if __name__ == "__main__":
    sys.exit(main())
