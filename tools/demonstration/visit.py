"""The base of all visits: a table with its servers, the actions of visitors, and reading the table."""
import json
import os

from programs import Failure, Stage, Table, by_class, by_id, by_type, centre, value
from report import warnings_of

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
PRESENTATIONS = os.path.join(ROOT, "presentations")


def require(condition, what):
    if not condition:
        raise Failure(what)



class World:
    """The surroundings of a visit: the programs' build, a folder of its own, the folder for results, and the folder for
    recordings of its tables, if any."""

    def __init__(self, build, folder, out, visit_options=(), recordings=None):
        self.build = build
        self.folder = folder
        self.out = out
        self.visit_options = visit_options
        self.recordings = recordings
        self.recorded = []  # the recordings made so far, one for each table that was opened
        self.copies = 0
        self.programs = []

    def add(self, program):
        self.programs.append(program)
        return program

    def recording(self):
        """Options for a table that is about to open: it is recorded, and the widgets of each frame written down beside it."""
        if not self.recordings:
            return []
        self.recorded.append(os.path.join(self.recordings, f"table-{len(self.recorded) + 1}.recording"))
        return ["--record", self.recorded[-1], "--trees", self.recorded[-1] + ".trees"]

    def copy_of(self, name, change):
        """The presentation `name` with a presentation.json that `change` has altered, beside all the others."""
        self.copies += 1
        place = os.path.join(self.folder, f"presentations-{self.copies}")
        os.makedirs(os.path.join(place, "copy"))
        for other in os.listdir(PRESENTATIONS):
            os.symlink(os.path.join(PRESENTATIONS, other), os.path.join(place, other))
        source = os.path.join(PRESENTATIONS, name)
        for file in os.listdir(source):
            if file != "presentation.json":
                os.symlink(os.path.join(source, file), os.path.join(place, "copy", file))
        with open(os.path.join(source, "presentation.json"), encoding="utf-8") as file:
            presentation = json.load(file)
        change(presentation)
        with open(os.path.join(place, "copy", "presentation.json"), "w", encoding="utf-8") as file:
            json.dump(presentation, file)
        return os.path.join(place, "copy")


class Visit:
    """Base of the visits; a subclass opens its table in `__init__` and names its steps in `steps`."""

    media_server = None
    size = (1920, 1080)  # of the table, in pixels

    def __init__(self, world):
        self.world = world
        self.table = None
        self.stage = None
        self.outcomes = {}  # what was seen, for the report
        self.warnings = []  # of tables that are closed already

    def open_table(self, presentation, options=()):
        self.table = self.world.add(Table(self.world.build, presentation, os.path.join(self.world.folder, "data"),
                                                [*options, *self.world.recording()]))
        # The layout depends on the proportions of the pictures.
        self.settle()
        self.stage = self.world.add(Stage(self.world.build, self.table, self.world.visit_options, self.size))

    def close_table(self):
        """Closes the table, so that another one can be opened."""
        self.warnings += warnings_of(self.table)
        self.stage.stop()
        ended = self.table.stop()
        require(ended == 0, f"the table ended with {ended}: {self.table.error_text()}")

    def kill_table(self):
        """Ends the table as a crash does, so that another one can be opened."""
        self.stage.stop()
        self.table.process.kill()
        self.table.process.wait()
        self.world.programs.clear()

    def settle(self):
        """Runs frames until every picture is loaded."""
        self.table.frames(3)
        self.table.wait_until("the pictures", lambda: self.table.get("/status")["pendingImages"] == 0)
        self.table.frames(2)

    # ---- Actions of visitors ----

    def drag(self, css_id, target):
        """Drags something to a point with one finger."""
        x, y = centre(by_id(self.table.tree(), css_id)[0])
        self.stage.act(f"at 0.05 finger 1 down {x:.0f} {y:.0f}\n"
                       f"at 0.15 finger 1 move {target[0]:.0f} {target[1]:.0f} over 0.5\nat 0.85 finger 1 up", 1.6)

    def tap(self, widget):
        self.stage.tap(centre(widget))

    def type(self, text):
        """Taps the keys of the keyboard that is open on the table, one after the other."""
        keys = []
        for letter in text:
            if letter != letter.lower():
                keys.append(by_class(self.keyboard(), "key-shift")[0])
            key = self.key(letter.lower())
            require(key is not None, f'the keyboard has no key for "{letter}"')
            keys.append(key)
        self.stage.tap(*map(centre, keys))

    def keyboard(self):
        keyboards = by_type(self.table.tree(), "KeyboardWidget")
        require(keyboards, "no keyboard is open")
        return keyboards[-1]

    def key(self, letter):
        if letter == " ":
            return by_class(self.keyboard(), "key-space")[0]
        keys = [key for key in by_class(self.keyboard(), "key") if value(key, "text") == letter]
        return keys[0] if keys else None

    def press(self, css_class):
        self.tap(by_class(self.keyboard(), css_class)[0])

    # ---- Reading the table ----

    def spaces(self):
        return by_type(self.table.tree(), "PersonalSpaceWidget")

    def space(self):
        spaces = self.spaces()
        require(spaces, "no personal space is open")
        return spaces[-1]

    def child(self, css_class):
        return by_class(self.space(), css_class)[0]

    def tiles(self):
        return by_class(self.space(), "container")

    def title(self):
        return value(self.child("title"), "text")

    def has_class(self, name):
        return name in self.space()["classes"]
