"""A table to be photographed for the documentation, which measures how easy what it shows is to read and to touch."""
import os

from ease import judge
from programs import by_class
from visit import Visit

CARD = (850, 480)
DROP = (1150, 470)
MARGIN = 24


class Looks(Visit):
    """A table to be photographed: `take` crops the picture to a widget and its surroundings, and measures how easy they are to
    read and to touch."""

    complaints = []
    measured = []
    options = []  # for each table
    is_large = False  # whether texts are

    def open_table(self, presentation, options=()):
        super().open_table(presentation, [*options, *Looks.options])

    def measure(self, name, *widgets):
        seen = judge(self.table.tree(), [widget["id"] for widget in widgets])
        Looks.measured.append(seen)
        Looks.complaints += [f"{name}: {what}" for what in seen.complaints]

    def enlarge(self):
        """Taps the switch for larger texts, where they shall be large; an idle table takes that back."""
        tree = self.table.tree()
        if Looks.is_large and "large-text" not in tree["pseudoClasses"]:
            self.tap(by_class(tree, "larger")[0])
            self.stage.play(0.3)

    def take(self, name, *widgets):
        self.enlarge()
        self.settle()
        self.measure(name, *widgets)
        rects = [widget["rect"] for widget in widgets]
        left = max(0, min(rect["x"] for rect in rects) - MARGIN)
        top = max(0, min(rect["y"] for rect in rects) - MARGIN)
        right = min(1920, max(rect["x"] + rect["width"] for rect in rects) + MARGIN)
        bottom = min(1080, max(rect["y"] + rect["height"] for rect in rects) + MARGIN)
        self.table.screenshot(os.path.join(self.world.out, name + ".png"), (left, top, right - left, bottom - top))
        print(f"  {name}", flush=True)

    def part(self, name, rect):
        """Photographs a part of the table as it is."""
        self.table.screenshot(os.path.join(self.world.out, name + ".png"), rect)
        print(f"  {name}", flush=True)

    def card(self, code, point=CARD):
        self.enlarge()
        self.stage.act(f"at 0.1 card {code} down {point[0]} {point[1]} angle 270\nat 0.6 card {code} up", 1.4)

    def collect(self):
        self.drag("paper-moons", DROP)
        self.drag("opening-hours", DROP)
        self.stage.play(1)
