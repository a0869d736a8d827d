"""The first visit: Ann puts her card down, collects a picture and a link, and finds them again."""
import os
import tempfile

from programs import ONLY_HERE, MediaServer, by_class, by_id, by_type, centre, decode_qr, value
from report import page_entries
from visit import PRESENTATIONS, Visit, require

CARD = (850, 560)
DROP = (1150, 520)


def script(tree):
    moons = centre(by_id(tree, "paper-moons")[0])
    link = centre(by_id(tree, "opening-hours")[0])
    return f"""
at 0.2  card 1001 down {CARD[0]} {CARD[1]} angle 270
at 1.5  finger 1 down {moons[0]:.0f} {moons[1]:.0f}
at 1.6  finger 1 move {DROP[0]} {DROP[1]} over 0.8
at 3.0  finger 1 up
at 4.0  finger 2 down {link[0]:.0f} {link[1]:.0f}
at 4.1  finger 2 move {DROP[0]} {DROP[1] + 30} over 0.8
at 5.4  finger 2 up
at 7.0  card 1001 up
at 90.0 card 1001 down {CARD[0]} {CARD[1]} angle 270
at 93.0 card 1001 move {CARD[0]} {CARD[1]}
"""


class FirstVisit(Visit):
    def __init__(self, world):
        super().__init__(world)
        gallery = os.path.join(PRESENTATIONS, "gallery")
        self.media_server = world.add(MediaServer(world.build, os.path.join(gallery, "media"), world.folder))
        self.announced = [ONLY_HERE]
        self.open_table(gallery, ["--media-server", self.media_server.address])
        self.stage.enter(script(self.table.tree()))

    def steps(self):
        return [
            ("the table is ready", self.ready),
            ("Ann's card opens her personal space beside the card", self.card_opens_space),
            ("a picture dragged over the space is welcome", self.picture_hovers),
            ("the picture and a link become two tiles", self.two_tiles),
            ("both are uploaded", self.uploaded),
            ("her page lists both", self.page),
            ("the space shows the page's address and a QR code that leads there", self.qr),
            ("the space stays when the card is lifted", self.card_up),
            ("the space closes when it is not touched", self.closes),
            ("the same card finds the same tiles again", self.again),
        ]

    def ready(self):
        require(len(by_type(self.table.tree(), "ContentWidget")) >= 7, "pictures are missing")
        require(len(by_type(self.table.tree(), "DocumentWidget")) >= 2, "documents are missing")

    def card_opens_space(self):
        self.stage.play_until(1.0)
        require(len(self.spaces()) == 1, f"{len(self.spaces())} personal spaces are open instead of one")
        space = self.space()
        x, y = centre(space)
        beside = space["rect"]["x"] - CARD[0]
        require(69 < beside < 80 and abs(y - CARD[1]) < 2, f"the space's centre is at {x:.1f}, {y:.1f}, not beside the card")
        title = value(by_class(space, "title")[0], "text")
        require(title == "Hi, Ann", f'the title is "{title}"')

    def picture_hovers(self):
        self.stage.play_until(2.8)
        require("valid-hover" in self.space()["pseudoClasses"], "the space does not welcome the picture")

    def two_tiles(self):
        self.stage.play_until(3.9)
        require(len(self.tiles()) == 1, f"{len(self.tiles())} tiles after the first drop")
        self.stage.play_until(6.4)
        require(len(self.tiles()) == 2, f"{len(self.tiles())} tiles after the second drop")

        def previews():
            images = [image for tile in self.tiles() for image in by_type(tile, "ImageWidget")
                      if "status-icon" not in image["classes"]]
            return len(images) == 2 and all(value(image, "source") for image in images)
        self.table.wait_until("the tiles' previews", previews)

    def uploaded(self):
        self.table.wait_until("both tiles to be uploaded",
                              lambda: all("uploaded" in tile["classes"] for tile in self.tiles()))

    def page(self):
        url = value(self.space(), "user-page-url")
        require(url.startswith(self.media_server.pages + "p/"), f'the page\'s address is "{url}"')
        require("1001" not in url.rsplit("/", 1)[1], "the card's number is in the page's address")
        text = page_entries(url)
        for name in ("Paper moons", "Opening hours and tickets"):
            require(name in text, f"the page does not list {name}")

    def qr(self):
        space = self.space()
        url = value(space, "user-page-url")
        link = value(by_class(space, "user-page-link")[0], "text")
        require(link == url, f'the link shows "{link}"')
        self.table.wait_until("the QR picture", lambda: value(by_class(self.space(), "qr-icon")[0], "source"))
        self.table.frames(2, 0)
        self.table.wait_until("the QR picture", lambda: self.table.get("/status")["pendingImages"] == 0)
        with tempfile.TemporaryDirectory() as folder:
            picture = os.path.join(folder, "table.png")
            rect = by_class(self.space(), "qr-icon")[0]["rect"]
            self.table.screenshot(picture, [rect[side] for side in ("x", "y", "width", "height")])
            codes = decode_qr(picture)
        require(codes == [url], f"the table's QR codes say {codes}, not {url}")

    def card_up(self):
        self.stage.play_until(9.0)
        require(self.table.get("/input")["sources"][0]["markers"] == 0, "the card is still on the table")
        self.space()

    def closes(self):
        self.stage.play_until(89.0, frame=0.25)
        require(not by_type(self.table.tree(), "PersonalSpaceWidget"), "the space is still open")

    def again(self):
        self.stage.play_until(91.5)
        require(len(self.tiles()) == 2, f"{len(self.tiles())} tiles instead of two")
        self.table.wait_until("both tiles to show that they are uploaded",
                              lambda: all("uploaded" in tile["classes"] for tile in self.tiles()))
        self.table.wait_until("the page's address", lambda: value(self.space(), "user-page-url"))
        self.table.frames(30)
        self.table.wait_until("the pictures", lambda: self.table.get("/status")["pendingImages"] == 0)
