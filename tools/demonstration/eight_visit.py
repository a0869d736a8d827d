"""A visit of eight people at once, each at a place of their own: every space is whole and covers no other one, and everyone
collects from a shelf in front of them."""
import math
import os

from programs import ONLY_HERE, MediaServer, by_id, by_type, centre
from visit import PRESENTATIONS, Visit, require

SIZE = (3840, 2160)
# The point at the table's edge, and the angle of a person standing there; 0 is at the lower edge.
PLACES = [(640, 2160, 0), (1920, 2160, 0), (3200, 2160, 0), (3200, 0, 180), (1920, 0, 180), (640, 0, 180), (0, 1080, 90),
          (3840, 1080, 270)]
CODES = [1001, 1002, 1003, 1004, 1005, 1006, 1007, 1008]


def seen_from(place, right, up):
    """The point so far to the right and away from the edge, as seen from the place."""
    x, y, degrees = place
    angle = math.radians(degrees)
    return x + right * math.cos(angle) + up * math.sin(angle), y + right * math.sin(angle) - up * math.cos(angle)


def overlap(one, other):
    """The smaller side of what two upright rectangles share."""
    across = min(one["x"] + one["width"], other["x"] + other["width"]) - max(one["x"], other["x"])
    down = min(one["y"] + one["height"], other["y"] + other["height"]) - max(one["y"], other["y"])
    return max(0.0, min(across, down))


class EightVisit(Visit):
    size = SIZE

    def __init__(self, world):
        super().__init__(world)
        gallery = os.path.join(PRESENTATIONS, "gallery")
        self.media_server = world.add(MediaServer(world.build, os.path.join(gallery, "media"), world.folder))
        self.announced = [ONLY_HERE]
        people = os.path.join(world.folder, "people.csv")
        with open(os.path.join(gallery, "people.csv"), encoding="utf-8") as known, open(people, "w", encoding="utf-8") as file:
            # The seventh card opens no space in the gallery.
            file.write(known.read().replace("1007,,,,unregistered", "1007,Ines,,,personal") + "1008,Omar,,,personal\n")

        def crowded(presentation):
            presentation["people"] = people
        self.open_table(world.copy_of("eight", crowded), ["--media-server", self.media_server.address])

    def steps(self):
        return [
            ("each place has a shelf of its own, turned to it", self.shelves),
            ("eight cards open eight spaces, whole and apart", self.spaces_open),
            ("eight people drag at once, and everyone has what they took", self.drags),
        ]

    def shelf(self, css_id, number):
        return next(widget for widget in by_id(self.table.tree(), css_id) if f"place-{number}" in widget["classes"])

    def shelves(self):
        off = []
        for number, place in enumerate(PLACES, 1):
            near = math.dist(centre(self.shelf("shelf-night-harbour", number)), seen_from(place, -180, 110))
            off.append(round(near))
        self.outcomes["a picture of each shelf, from where it should be, px"] = off
        require(max(off) < 30, f"the pictures of the shelves are {off} px from where they should be")

    def spaces_open(self):
        for place, code in zip(PLACES, CODES):
            x, y = seen_from(place, -240, 490)
            self.stage.enter(f"at 0.01 card {code} down {x:.0f} {y:.0f} angle {(place[2] + 270) % 360}\nat 300 card {code} up")
        self.stage.play(1.2)
        rects = [space["rect"] for space in self.spaces()]
        require(len(rects) == 8, f"{len(rects)} spaces are open instead of eight")
        cut = sum(1 for rect in rects if rect["x"] < -0.5 or rect["y"] < -0.5 or rect["x"] + rect["width"] > SIZE[0] + 0.5
                  or rect["y"] + rect["height"] > SIZE[1] + 0.5)
        covered = sum(1 for i, one in enumerate(rects) for other in rects[:i] if overlap(one, other) > 0.5)
        seen = self.outcomes["eight spaces"] = {"cutOff": cut, "coveringAnother": covered}
        require(seen == {"cutOff": 0, "coveringAnother": 0}, f"seen: {seen}")

    def drags(self):
        spaces = [centre(space) for space in self.spaces()]
        for number, place in enumerate(PLACES, 1):
            x, y = centre(self.shelf("shelf-night-harbour", number))
            goal = min(spaces, key=lambda at, p=place: math.dist(at, seen_from(p, 0, 490)))
            self.stage.enter(f"at 0.05 finger 1 down {x:.0f} {y:.0f}\nat 0.1 finger 1 move {goal[0]:.0f} {goal[1]:.0f} over 0.5\n"
                             "at 0.8 finger 1 up")
        self.stage.play(2)
        tiles = [len([widget for widget in by_type(space, "Widget") if "container" in widget["classes"]])
                 for space in self.spaces()]
        self.outcomes["tiles of each space"] = tiles
        require(tiles == [1] * 8, f"the spaces have {tiles} tiles")
