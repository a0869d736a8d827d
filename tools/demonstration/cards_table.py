"""A table with the presentation "cards": cards put down and lifted, and what of the table its visit reads."""
import math
import os

from programs import by_id, centre
from visit import PRESENTATIONS, Visit, require

LIFTED = 1.6          # a lifted card is waited for, what it opened fades out


def degrees(widget):
    return round(math.degrees(widget["rotation"]), 1) % 360


def turn(before, after):
    """Degrees from −180 to 180."""
    return round((degrees(after) - degrees(before) + 180) % 360 - 180)


def way(before, after):
    (x0, y0), (x1, y1) = centre(before), centre(after)
    return [round(x1 - x0), round(y1 - y0)]


def about(point, offset, angle):
    """The position of `offset` from `point` after a rotation."""
    c, s = math.cos(math.radians(angle)), math.sin(math.radians(angle))
    return point[0] + offset[0] * c - offset[1] * s, point[1] + offset[0] * s + offset[1] * c


def near(a, b, by=2):
    return all(abs(x - y) <= by for x, y in zip(a, b))


class CardsTable(Visit):
    """The part of the visit that its steps stand on."""

    def __init__(self, world):
        super().__init__(world)
        from mail_server import MailServer
        self.mail = world.add(MailServer(world.out))
        self.open()

    # ---- Tables and cards ----

    def open(self, **attributes):
        """A table with the presentation as it is, or with other attributes or slots of its detector."""
        if attributes:
            def change(presentation):
                detector = next(w for w in presentation["widgets"] if w.get("id") == "detector")
                slots = attributes.pop("slots", detector["slots"])
                detector["slots"] = slots
                detector["attributes"] = {name.replace("_", "-"): value for name, value in attributes.items()}
            presentation = self.world.copy_of("cards", change)
        else:
            presentation = os.path.join(PRESENTATIONS, "cards")
        self.open_table(presentation, ["--mail-server", self.mail.address, "--show-input"])
        self.lies_always = {widget["id"] for widget in self.main()["children"]}

    def reopen(self, **attributes):
        self.close_table()
        self.open(**attributes)

    def put(self, code, point, angle=270, stay=1.0, then=()):
        """Puts a card down for some seconds; `then` is the rest of its script. Plays the first second."""
        begin = self.stage.now
        self.stage.enter("\n".join([f"at 0.1 card {code} down {point[0]:.0f} {point[1]:.0f} angle {angle}",
                                    *(f"at {at} card {code} {action}" for at, action in then),
                                    f"at {stay} card {code} up"])).leaves = begin + stay
        self.stage.play(1.0)
        return begin

    def lift(self):
        """Plays until all cards, and what closes with them, are gone."""
        self.stage.play_until(max(visitor.leaves for visitor in self.stage.visitors) + LIFTED)
        for visitor in list(self.stage.visitors):
            self.stage.leave(visitor)
        require(not self.table.get("/grabs"), "a card is still on the table")

    def clear(self):
        """Plays until everything that visitors opened has closed."""
        self.table.frames(70, 1.0)
        require(not self.opened(), f"{self.ids(self.opened())} did not close")

    # ---- Reading the table ----

    def main(self):
        return by_id(self.table.tree(), "main")[0]

    def opened(self):
        """The visible widgets that are not the presentation's own."""
        return [widget for widget in self.main()["children"] if widget["id"] not in self.lies_always and widget["visible"]]

    @staticmethod
    def ids(widgets):
        """The names that the presentation gave to widgets; their types where it gave none."""
        return [widget["cssId"] or widget["type"] for widget in widgets]

    def holder(self, code):
        """The widget that holds a card: its type and the presentation's name for it."""
        for grab in self.table.get("/grabs"):
            if grab["code"] == str(code):
                holder = grab["holder"]
                return holder and {"type": holder["type"], "id": holder["cssId"]}
        return "the card is not on the table"

    def marker_id(self, code):
        return [grab["id"] for grab in self.table.get("/grabs") if grab["code"] == str(code)]

    def see(self, about_what, seen):
        self.outcomes[about_what] = seen
        return seen
