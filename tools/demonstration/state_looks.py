"""Photographs of the states that need something to go wrong, or several cards."""
import os
import subprocess

from care_visit import NOA, hebrew_gallery
from photographs import CARD, DROP, Looks
from programs import MediaServer, by_class, by_id, by_type, centre
from visit import PRESENTATIONS

STRANGER, ANN, GERMAN, NAMELESS, LAYLA, UNREGISTERED = 9009, 1001, 1002, 1004, 1006, 1007
GARDEN, STAFF, NEWCOMER = 2001, 3001, 9010


class GalleryStates(Looks):
    """A space that uploads, from its beginning to its end, with a media server that goes away."""

    def __init__(self, world):
        super().__init__(world)
        gallery = os.path.join(PRESENTATIONS, "gallery")
        self.media_server = world.add(MediaServer(world.build, os.path.join(gallery, "media"), world.folder))
        self.open_table(gallery, ["--media-server", self.media_server.address])
        self.empty()
        self.dragging()
        self.in_languages()
        self.large()
        self.away()

    def empty(self):
        self.card(NAMELESS)
        self.take("upload-empty", self.space())

    def dragging(self):
        x, y = centre(by_id(self.table.tree(), "terraces")[0])
        visitor = self.stage.enter(f"at 0.05 finger 1 down {x:.0f} {y:.0f}\nat 0.1 finger 1 move {x:.0f} {y - 250:.0f} over 0.4\n"
                                   f"at 1 finger 1 move {DROP[0]} {DROP[1]} over 0.4\nat 2.4 finger 1 up")
        self.stage.play(0.7)
        self.take("would-take", self.space())
        self.stage.play(1.2)
        self.take("valid-hover", self.space())
        self.stage.play(1.5)
        self.stage.leave(visitor)
        self.close()

    def close(self):
        self.tap(by_type(self.space(), "CloseHandle")[0])
        self.stage.play(1)

    def in_languages(self):
        """Two people of different languages, side by side."""
        self.card(GERMAN, (560, 480))
        self.card(LAYLA, (1160, 480))
        self.stage.play(0.5)
        self.take("languages", *self.spaces()[-2:])
        self.close()
        self.close()

    def large(self):
        self.tap(by_id(self.table.tree(), "larger-south")[0])
        self.card(ANN)
        self.drag("paper-moons", DROP)
        self.stage.play(1)
        self.take("large-text", self.space())
        self.tap(by_id(self.table.tree(), "larger-south")[0])
        self.stage.play(0.5)

    def away(self):
        """The table notices by itself; a space that opens then has no page, and nothing is uploaded."""
        self.media_server.stop()
        while "media-server-away" not in self.table.tree()["pseudoClasses"]:
            self.stage.play(1, frame=0.25)
        self.take("media-server-away", self.space())
        self.drag("orchard-in-rows", DROP)
        self.table.wait_until("the failure", lambda: any("failed" in tile["classes"] for tile in self.tiles()))
        self.stage.play(0.5)
        self.take("upload-failed", self.space())
        self.close()
        self.card(NAMELESS)
        self.table.wait_until("the failure", lambda: "user-page-failed" in self.space()["pseudoClasses"])
        self.stage.play(0.3)
        self.take("page-failed", self.space())
        while "closing" not in self.space()["pseudoClasses"]:
            self.stage.play(1, frame=0.25)
        self.stage.play(4)
        self.take("closing", self.space())


class SignLooks(Looks):
    """The halos of cards that nothing took, and an idle table."""

    def __init__(self, world):
        super().__init__(world)
        gallery = os.path.join(PRESENTATIONS, "gallery")
        media_server = world.add(MediaServer(world.build, os.path.join(gallery, "media"), world.folder))
        self.open_table(gallery, ["--media-server", media_server.address, "--show-input"])
        self.stage.enter(f"at 0.01 card {STRANGER} down 1180 360 angle 270\nat 200 card {STRANGER} up")
        self.stage.enter(f"at 0.01 card {UNREGISTERED} down 960 850 angle 270\nat 200 card {UNREGISTERED} up")
        self.stage.enter(f"at 0.01 card {ANN} down 1690 470 angle 270\nat 200 card {ANN} up")
        self.stage.enter(f"at 0.01 card {GERMAN} down 800 420 angle 270\nat 200 card {GERMAN} up")
        self.stage.play(1)
        self.stage.enter(f"at 0.01 card {GERMAN} down 1330 850 angle 270\nat 200 card {GERMAN} up")
        self.stage.play(0.5)
        space = self.space()["rect"]
        self.stage.enter(f"at 0.01 card {LAYLA} down {space['x'] + 230:.0f} {space['y'] + 250:.0f} angle 270\n"
                         f"at 200 card {LAYLA} up")
        self.stage.play(0.5)
        self.take("card-signs", *by_type(self.table.tree(), "CardSign"), *by_class(self.table.tree(), "card-sign-text"))
        self.clear()
        self.made_known(gallery)
        self.clear()
        self.people_away()

    def made_known(self, presentation):
        """A card that gets an owner while it lies there."""
        self.stage.enter(f"at 0.01 card {NEWCOMER} down 1180 560 angle 270\nat 200 card {NEWCOMER} up")
        self.stage.play(0.5)
        subprocess.run([os.path.join(self.world.build, "bin", "tavola"), "people", "add", presentation, str(NEWCOMER), "--name", "Eve",
                        "--data", os.path.join(self.world.folder, "data")], check=True, capture_output=True)
        self.table.wait_until("the registry", lambda: by_class(self.table.tree(), "again"))
        self.take("card-again", by_class(self.table.tree(), "again")[0], by_class(self.table.tree(), "card-sign-text")[0])

    def clear(self):
        """Takes all cards away. A table gives up trackers that send nothing more."""
        for visitor in list(self.stage.visitors):
            self.stage.leave(visitor)
        while by_type(self.table.tree(), "CardSign"):
            self.stage.play(1, frame=0.25)

    def people_away(self):
        path = os.path.join(self.world.folder, "data")
        for folder, _, files in os.walk(path):
            for file in files:
                if file.startswith("people.sqlite"):
                    with open(os.path.join(folder, file), "wb") as spoilt:
                        spoilt.write(b"spoilt" * 1000)
        self.table.wait_until("the table to notice", lambda: "people-away" in self.table.tree()["pseudoClasses"])
        self.stage.enter(f"at 0.01 card {STRANGER} down 1180 560 angle 270\nat 200 card {STRANGER} up")
        self.stage.play(0.5)
        self.take("people-away", by_type(self.table.tree(), "CardSign")[0], by_class(self.table.tree(), "card-sign-text")[0])


class HebrewLooks(Looks):
    """A space whose language runs from the right."""

    def __init__(self, world):
        super().__init__(world)
        media = os.path.join(PRESENTATIONS, "gallery", "media")
        media_server = world.add(MediaServer(world.build, media, world.folder))
        self.open_table(hebrew_gallery(world), ["--media-server", media_server.address])
        self.card(NOA)
        self.collect()
        self.table.wait_until("uploads", lambda: all("uploaded" in tile["classes"] for tile in self.tiles()))
        self.take("right-to-left", self.space())


class DelayedMailLooks(Looks):
    """A mail server that wants the mail later: the table keeps it."""

    def __init__(self, world):
        super().__init__(world)
        from mail_server import MailServer
        self.mail = world.add(MailServer(world.folder))
        self.open_table(os.path.join(PRESENTATIONS, "mailroom"), ["--mail-server", self.mail.address])
        self.mail.refusal = "451 Come back later"
        self.card(ANN)
        self.send("mail-kept")
        self.card(1003)
        self.send("kept-your-name")

    def send(self, name):
        self.drag("terraces", DROP)
        self.stage.play(1)
        self.tap(self.child("envelope"))
        self.table.wait_until("the outbox", lambda: self.has_class("email-successful"))
        self.stage.play(0.5)
        self.take(name, self.space())
        self.tap(by_type(self.space(), "CloseHandle")[0])
        self.stage.play(1)


class CardsLooks(Looks):
    """What the cards of a garden and of the staff open."""

    def __init__(self, world):
        super().__init__(world)
        from mail_server import MailServer
        self.open_table(os.path.join(PRESENTATIONS, "cards"), ["--mail-server", world.add(MailServer(world.folder)).address])
        self.show("folder-and-menu", GARDEN, CARD)
        self.show("menu", STAFF, (1100, 540))

    def show(self, name, code, point):
        self.stage.enter(f"at 0.1 card {code} down {point[0]} {point[1]} angle 270\nat 3 card {code} up")
        self.stage.play(1.5)
        nodes = by_type(self.table.tree(), "ContentMenuNode")
        self.take(name, *nodes, *by_id(self.table.tree(), "garden-terraces"), *by_class(self.table.tree(), "document"))
        self.stage.play(4)
        self.stage.leave(self.stage.visitors[-1])
