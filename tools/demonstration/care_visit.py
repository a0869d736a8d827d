"""A visit to the table's edges: what opens there becomes whole, cards that nothing took are answered, drags and drops show at
once, what is used stays open, and the table tidies itself."""
import json
import math
import os

from ease import judge
from programs import ONLY_HERE, MediaServer, by_class, by_id, by_type, centre, fetch, value
from visit import PRESENTATIONS, Visit, require

SIZE = (1920, 1080)
STRANGER, ANN, BEN, CARL, NOA = 9009, 1001, 1002, 1003, 1100
HEBREW = {"greeting": "שלום, %1", "page-hint": "גררו תמונות וקישורים לדף הזה.<br>הם מחכים לכם בדף שלכם.",
          "nothing-yet": "אין כאן עדיין כלום"}
PLACES = [(1900, 60), (1000, 1060), (20, 540), (1900, 1060), (30, 30), (900, 20)]
CLOSING = 15.0
CLOSE, CLOSE_LIFTED, IDLE, TIDY = 60.0, 45.0, 60.0, 90.0  # the presentation's settings
FRAME = 1 / 60


def hebrew_gallery(world):
    """A copy of the gallery with one card more, whose language runs from the right."""
    def change(presentation):
        presentation["languages"] = ["../gallery/languages", "hebrew"]
        presentation["people"] = "people-and-noa.csv"

    place = world.copy_of("gallery", change)
    os.mkdir(os.path.join(place, "hebrew"))
    with open(os.path.join(place, "hebrew", "he.json"), "w", encoding="utf-8") as file:
        json.dump(HEBREW, file)
    with open(os.path.join(place, "people.csv"), encoding="utf-8") as people:
        known = people.read()
    with open(os.path.join(place, "people-and-noa.csv"), "w", encoding="utf-8") as file:
        file.write(known + f"{NOA},נועה,noa@museum.example,,personal,he\n")
    return place


class CareVisit(Visit):
    def __init__(self, world):
        super().__init__(world)
        gallery = os.path.join(PRESENTATIONS, "gallery")
        self.media_server = world.add(MediaServer(world.build, os.path.join(gallery, "media"), world.folder))
        self.announced = [ONLY_HERE]
        self.open_table(hebrew_gallery(world), ["--media-server", self.media_server.address, "--show-input"])

    def steps(self):
        return [
            ("what opens at the edge stands at its card first, and is whole after half a second", self.whole),
            ("a card that the registry does not know is answered", self.unknown),
            ("a card on a picture that takes none is answered", self.covered),
            ("a card on another person's space is answered", self.other_space),
            ("a card shows something in its first frame", self.first_frame),
            ("what is dragged has a shadow, and the space that would take it shows it", self.dragging),
            ("a drop shows in its frame, and the picture goes home below the space", self.dropped),
            ("a space that closes soon shows it, and a touch keeps it", self.closing),
            ("the handle closes the space at once", self.handle),
            ("the space of a lifted card closes after its own time", self.lifted),
            ("an unused table invites, and a touch ends that", self.invitation),
            ("an unused table tidies itself", self.tidies),
            ("a card's language is that of its space, its halo and its page", self.language),
            ("the space of a card whose language runs from the right is mirrored", self.mirrored),
            ("a tap makes texts larger, and another one movements fewer", self.switches),
        ]

    def see(self, what, seen):
        self.outcomes[what] = seen
        return seen

    def lift(self, visitor):
        self.stage.leave(visitor)

    def is_whole(self, rect):
        return (rect["x"] >= -0.5 and rect["y"] >= -0.5 and rect["x"] + rect["width"] <= SIZE[0] + 0.5
                and rect["y"] + rect["height"] <= SIZE[1] + 0.5)

    def close_by_handle(self):
        self.tap(by_type(self.space(), "CloseHandle")[0])
        self.stage.play(1)

    def whole(self):
        seen = []
        for index, place in enumerate(PLACES):
            self.stage.enter(f"at 0.01 card {ANN} down {place[0]} {place[1]} angle {index * 45}\nat 0.9 card {ANN} up")
            for _ in range(30):  # until the tracker has confirmed the card
                if not self.spaces():
                    self.stage.play(1 / 60)
            require(self.spaces(), f"no space opened at {place}")
            first = math.dist(centre(self.space()), place)
            self.stage.play(0.5)
            rect = self.space()["rect"]
            seen.append({"card": place, "firstFrameOffPx": round(first, 1), "whole": self.is_whole(rect),
                         "movedPx": round(math.dist(centre(self.space()), place))})
            self.stage.play(1)
            self.lift(self.stage.visitors[-1])
            self.close_by_handle()
            require(not self.spaces(), "the space is still open")
        self.see("spaces at the edges", seen)
        for one in seen:
            require(one["firstFrameOffPx"] < 2, f"in its first frame the space is not at the card: {one}")
            require(one["whole"], f"after half a second a part of the space is cut off: {one}")

    def signs(self):
        return [{"classes": sign["classes"], "words": value(by_class(sign, "card-sign-text")[0], "text")}
                for sign in by_type(self.table.tree(), "CardSign")]

    def unknown(self):
        self.sign_of(STRANGER, (1110, 560), "unknown", "a card that the registry does not know")

    def covered(self):
        self.sign_of(BEN, (1700, 470), "covered", "a card on a picture that takes none")

    def sign_of(self, code, point, reason, what):
        self.stage.enter(f"at 0.01 card {code} down {point[0]} {point[1]} angle 270\nat 1.0 card {code} up")
        self.stage.play(2 / 60)
        seen = self.see(what, self.signs())
        require(len(seen) == 1 and reason in seen[0]["classes"] and seen[0]["words"], f"the table's answer is {seen}")
        self.stage.play(2.8)  # a lifted card is waited for
        self.lift(self.stage.visitors[-1])
        require(not self.signs(), "the sign is still there")

    def other_space(self):
        self.stage.enter(f"at 0.01 card {ANN} down 1110 560 angle 270\nat 200 card {ANN} up")
        self.stage.play(1)
        self.sign_of(BEN, (1400, 450), "other-space", "a card on another person's space")

    def first_frame(self):
        """The tracker confirms a card with its second message, so that the first one shows nothing."""
        self.stage.enter(f"at {FRAME / 2:.4f} card {CARL} down 960 900 angle 270\n"
                         f"at {FRAME * 1.5:.4f} card {CARL} move 960 900\nat 1 card {CARL} up")
        frames = 0
        while len(self.spaces()) < 2:
            self.stage.play(FRAME)
            frames += 1
            require(frames < 10, "no space opened")
        seen = self.see("a card comes down", {"framesUntilItsSpace": frames})
        require(frames <= 2, f"seen: {seen}")
        self.stage.play(2.5)
        self.lift(self.stage.visitors[-1])
        self.close_by_handle()

    def content(self, css_id):
        return by_id(self.table.tree(), css_id)[0]

    def order(self):
        """The ids of what lies on the table, from the bottom to the top."""
        return [child["id"] for child in by_id(self.table.tree(), "main")[0]["children"]]

    def dragging(self):
        self.home = centre(self.content("basalt"))
        x, y = self.home
        self.stage.enter(f"at 0.01 finger 1 down {x:.0f} {y:.0f}\nat 0.1 finger 1 move {x + 100:.0f} {y:.0f} over 0.1\n"
                         "at 1 finger 1 move 1400 600 over 0.3\nat 1.9 finger 1 up")
        self.stage.play(0.5)
        space = self.space()
        seen = self.see("a picture that is dragged", {
            "dragging": "dragging" in self.content("basalt")["pseudoClasses"],
            "shadows": len(by_type(self.table.tree(), "DragShadow")),
            "wouldTake": "would-take" in space["classes"], "hover": "valid-hover" in space["pseudoClasses"]})
        require(seen == {"dragging": True, "shadows": 1, "wouldTake": True, "hover": False}, f"seen: {seen}")

    def dropped(self):
        before = self.stage.now
        frames = 0
        while "dragging" in self.content("basalt")["pseudoClasses"]:
            self.stage.play(FRAME)
            require(self.stage.now - before < 5, "the drag does not end")
        while not by_type(self.table.tree(), "FlyingPicture"):
            self.stage.play(FRAME)
            frames += 1
            require(frames < 10, "nothing shows the drop")
        self.stage.play(0.6)
        order = self.order()
        seen = self.see("a picture that is dropped", {
            "framesUntilItShows": frames, "tiles": len(self.tiles()),
            "flyingAfterwards": len(by_type(self.table.tree(), "FlyingPicture")),
            "homeOffPx": round(math.dist(centre(self.content("basalt")), self.home)),
            "belowTheSpace": order.index(self.content("basalt")["id"]) < order.index(self.space()["id"])})
        require(seen == {"framesUntilItShows": 0, "tiles": 1, "flyingAfterwards": 0, "homeOffPx": 0, "belowTheSpace": True},
                f"seen: {seen}")
        self.lift(self.stage.visitors[-1])

    def is_closing(self):
        return "closing" in self.space()["pseudoClasses"]

    def closing(self):
        self.stage.play(CLOSE - CLOSING + 1, frame=0.25)
        before = self.is_closing()
        self.tap(self.space())
        self.stage.play(0.3)
        seen = self.see("a space that closes soon", {"closing": before, "closingAfterTouch": self.is_closing()})
        require(seen == {"closing": True, "closingAfterTouch": False}, f"seen: {seen}")

    def handle(self):
        self.close_by_handle()
        require(not self.spaces(), "the space is still open")
        self.lift(self.stage.visitors[-1])
        self.stage.play(1)

    def lifted(self):
        self.stage.enter(f"at 0.01 card {CARL} down 1110 560 angle 270\nat 1 card {CARL} up")
        self.stage.play(2.5)
        begin = self.stage.now
        while self.spaces():
            self.stage.play(1, frame=0.25)
            require(self.stage.now - begin < CLOSE, "the space is still open")
        seen = self.see("the space of a lifted card", {"closedAfterSeconds": round(self.stage.now - begin)})
        require(CLOSE_LIFTED - 4 < seen["closedAfterSeconds"] < CLOSE_LIFTED + 3, f"seen: {seen}")
        self.lift(self.stage.visitors[-1])

    def is_idle(self):
        return "idle" in self.table.tree()["pseudoClasses"]

    def invitation(self):
        self.stage.play(IDLE + 2, frame=0.25)
        shown = [widget["cssId"] for widget in by_type(self.table.tree(), "InvitationWidget") if widget["visible"]]
        idle = self.is_idle()
        self.stage.tap((1000, 480))
        self.stage.play(0.3)
        seen = self.see("an unused table", {"idle": idle, "invitations": len(shown), "idleAfterTouch": self.is_idle()})
        require(seen == {"idle": True, "invitations": 4, "idleAfterTouch": False}, f"seen: {seen}")

    def tidies(self):
        x, y = centre(self.content("terraces"))
        self.drag("terraces", (x - 500, y))
        self.stage.play(1)
        moved = math.dist(centre(self.content("terraces")), (x, y))
        self.stage.play(TIDY + 2, frame=0.25)
        seen = self.see("a table that tidies itself", {
            "movedPx": round(moved, -2), "homeOffPx": round(math.dist(centre(self.content("terraces")), (x, y)))})
        require(seen == {"movedPx": 500, "homeOffPx": 0}, f"seen: {seen}")

    def language(self):
        self.stage.enter(f"at 0.01 card {BEN} down 1110 560 angle 270\nat 0.5 card {BEN} up")
        self.stage.play(1)
        self.table.wait_until("the page", lambda: "?lang=" in value(self.child("user-page-link"), "text"))
        address = value(self.child("user-page-link"), "text")
        page = fetch(address).decode()
        seen = self.see("a German card", {"title": self.title(), "info": value(self.child("info"), "text"),
                                         "page": page[page.index("<html"):page.index(">", page.index("<html")) + 1]})
        require(seen == {"title": "Hallo, Jürgen Åström", "info": "Noch nichts hier", "page": '<html lang="de">'}, f"seen: {seen}")
        self.stage.play(2)
        self.lift(self.stage.visitors[-1])
        self.close_by_handle()
        self.stage.enter(f"at 0.01 card {BEN} down 1700 470 angle 270\nat 0.5 card {BEN} up")
        self.stage.play(2 / 60)
        words = self.see("a German card on a picture", [sign["words"] for sign in self.signs()])
        require(words == ["Bitte legen Sie Ihre Karte auf eine freie Stelle."], f"seen: {words}")
        self.stage.play(2.8)
        self.lift(self.stage.visitors[-1])

    def mirrored(self):
        self.stage.enter(f"at 0.01 card {NOA} down 1110 560 angle 270\nat 0.5 card {NOA} up")
        self.stage.play(1)
        self.table.wait_until("the page", lambda: by_class(self.space(), "qr-icon")[0]["visible"])
        middle = centre(self.space())[0]
        seen = self.see("a Hebrew card", {
            "title": self.title(), "codeOnTheLeft": centre(self.child("qr-icon"))[0] < middle,
            "handleOnTheLeft": centre(by_type(self.space(), "CloseHandle")[0])[0] < middle,
            "hardToRead": judge(self.table.tree(), [self.space()["id"]]).complaints})
        require(seen == {"title": HEBREW["greeting"].replace("%1", "נועה"), "codeOnTheLeft": True, "handleOnTheLeft": True,
                         "hardToRead": []}, f"seen: {seen}")

    def font_size(self, css_id):
        return float(value(by_id(self.table.tree(), css_id)[0], "font-size"))

    def switches(self):
        self.stage.play(2)
        self.lift(self.stage.visitors[-1])
        self.close_by_handle()
        sizes = [self.font_size("invitation")]
        self.tap(by_id(self.table.tree(), "larger-south")[0])
        self.stage.play(0.3)
        sizes.append(self.font_size("invitation"))
        self.tap(by_id(self.table.tree(), "calmer-north")[0])
        self.stage.play(0.3)
        self.stage.enter(f"at 0.01 card {ANN} down 1890 560 angle 270\nat 0.5 card {ANN} up")
        while not self.spaces():
            self.stage.play(FRAME)
        self.stage.play(FRAME)
        seen = self.see("larger text and less motion", {"fontSizes": sizes, "wholeInSecondFrame": self.is_whole(self.space()["rect"])})
        require(seen == {"fontSizes": [20.0, 26.0], "wholeInSecondFrame": True}, f"seen: {seen}")
        self.stage.play(1)
        self.lift(self.stage.visitors[-1])
