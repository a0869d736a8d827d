"""What is measured: the figures, each with its target, and the program that gives it."""
from dataclasses import dataclass


@dataclass(frozen=True)
class Figure:
    """One figure. `key` names the benchmark that gives it and `counter` the number of that benchmark which counts.

    A figure without a target is printed for comparison and not judged.
    """

    key: str
    title: str
    target: float | None = None
    counter: str = "ratio"
    unit: str = ""  # of the value; a ratio has none
    rival: str = ""

    @property
    def row(self):
        return int(self.key[3:5])

    def meets(self, value):
        return None if self.target is None else value <= self.target


ROW_TITLES = {
    1: "An event with a payload of 16 bytes",
    2: "A change of an attribute with a listener",
    3: "A class toggled on one leaf of 10,000 widgets, 200 rules",
    4: "All of 10,000 widgets restyled, 200 rules",
    5: "Memory of a widget in the tree",
    6: "A frame in which nothing happens, 1,000 tiles",
    7: "Drawing 1920×1080: 40 groups, slightly turned, of 25 picture tiles each",
    8: "Drawing 3840×2160: 12 pictures, and 8 spaces of 12 tiles and texts each",
    9: "The same with two painting threads",
    10: "100 fingers and 40 cards at 200 frames a second, from datagram to grab",
    11: "From a datagram to its change in the painted frame",
    12: "A card comes down, until its space is complete in the tree",
    13: "A space with 1,000 items",
    14: "1 GiB of attachments, from accepting to the last byte at a sink on this machine",
    15: "The plug-in is loaded",
    16: "The program starts with the gallery, warm",
    17: "A long day under the manual clock: 20,000 cards, 20,000 items with snapshots",
    18: "A window with OpenGL: what a frame of row 7 asks of the graphics card, at most",
    19: "1920×1080 in memory: a frame in which style sheets move 60 widgets, with its drawing",
}

_SIGNAL = "a direct signal with the same arguments"
_NOTIFY = "a setter with NOTIFY and one slot"
_FEW = "the same among 100 widgets"
_BARE = "a QGuiApplication that starts and ends"
_VIEW = "QGraphicsView, same scene, same smooth sampling"
_KEPT_VIEW = "QGraphicsView that keeps all that lies on the table as pictures, by an effect on each"
_ALONE = "one thread (wall time)"
_SHEET = "QWidgets with one style sheet"
_FRAME_MS = 16.7  # at 60 Hz

# What draw_bench measures on the large table.
TABLE_WORKS = [("picture-dragged", "a picture dragged", 0.14), ("picture-turned", "a picture turned", 0.22),
               ("space-dragged", "a space dragged", 0.15), ("space-turned", "a space turned", 0.35),
               ("eight-fade", "eight spaces fade in at once", 0.18), ("eight-grow", "eight spaces grow", 0.45),
               ("tile-moved", "a tile in a space moved", 0.5), ("all-drawn", "everything drawn", 0.20)]

# What draw_bench measures with two painting threads: scene, work and title.
SHARED_WORKS = [("groups", "all-moved", "1920×1080: all groups moved"), ("table", "picture-dragged", "3840×2160: a picture dragged")]

# What draw_bench measures of row 8's scene on a screen with another scale, beside the same figures without.
SCALED_WORKS = [("picture-dragged", "a picture dragged"), ("space-dragged", "a space dragged"), ("all-drawn", "everything drawn")]

FIGURES = [
    Figure("row01/written-1", "eventSend, one listener", 0.45, rival=_SIGNAL),
    Figure("row01/written-0", "eventSend, no listener", 0.5, rival=_SIGNAL),
    Figure("row01/listeners/1", "eventSendValues, one listener", 0.45, rival=_SIGNAL),
    Figure("row01/listeners/0", "eventSendValues, no listener", 0.5, rival=_SIGNAL),
    Figure("row02/handle/1", "set by handle", 0.25, rival=_NOTIFY),
    Figure("row02/name", "set by name", 0.3, rival="setProperty of a widget's property, with one slot"),
    Figure("row03/restyled", "widgets restyled", 1, "value", "widgets"),
    Figure("row03/same/10000", "one leaf all the time", 1.1, rival=_FEW),
    Figure("row03/different/10000", "leaves in random order", 1.6, rival=_FEW),
    Figure("row04/again/10000", "styles computed anew", 0.009, rival=_SHEET),
    Figure("row04/types/10000", "the same", None, rival="QWidgets with a sheet that names types and ids, which is fastest there"),
    Figure("row04/variables/10000", "with variables and inheritance in use", 1.3, rival="the same rules without"),
    Figure("row04/another/10000", "the sheet replaced by another", None, rival=_SHEET),
    Figure("row05/widget", "a plain widget", 1100, "value", "bytes"),
    Figure("row05/text", "a text", 1900, "value", "bytes"),
    Figure("row05/qt", "for comparison: a QWidget", None, "value", "bytes"),
    Figure("row06/idle/1000", "time of an idle frame", 1.1, rival="an empty table"),
    Figure("row06/allocations", "allocations in an idle frame", 0, "value", "allocations"),
    Figure("row07/tile-moved", "one tile moved", 0.35, rival=_VIEW),
    Figure("row07/tile-turned", "one tile turned", 0.40, rival=_VIEW),
    Figure("row07/group-moved", "one group moved", 0.45, rival=_VIEW),
    Figure("row07/all-moved", "all moved", 0.33, rival=_VIEW),
    Figure("row07/all-turned", "all turned", 1.0, rival=_VIEW),
    *(Figure(f"row08/{work}", title, target, rival=_VIEW) for work, title, target in TABLE_WORKS),
    *(Figure(f"row08/kept/{work}", title, None, rival=_KEPT_VIEW) for work, title, _ in TABLE_WORKS),
    *(Figure(f"row08/scaled/{work}", f"the same on a screen that shows the table 1.25 times larger: {title}", None, rival=_VIEW)
      for work, title in SCALED_WORKS),
    *(Figure(f"row09/{work}", title, 0.6, rival=_ALONE) for _, work, title in SHARED_WORKS),
    *(Figure(f"row09/paused/{work}", f"{title}, 16 ms between the frames", None, rival=_ALONE)
      for _, work, title in SHARED_WORKS),
    Figure("row10/fed", "a second of input, datagrams fed in", 0.5, "value", "% of a core"),
    Figure("row10/socket", "a second of input, through a socket", 1.5, "value", "% of a core"),
    Figure("row10/allocations", "allocations in a second of input", 0, "value", "allocations"),
    Figure("row11/frames", "frames until the picture shows it", 1, "value", "frames"),
    Figure("row12/space", "a space opens", 0.15, rival="the same children as QWidgets with one style sheet"),
    Figure("row12/names", "the same", None, rival="QWidgets with a sheet that names them by object names, which is fastest there"),
    Figure("row13/add-growth", "an item added (all tiles are scaled anew)", 10, rival="the same among 100 items"),
    Figure("row13/remove-growth", "an item removed (all tiles are scaled anew)", 10, rival="the same among 100 items"),
    Figure("row13/lay-out-growth", "laid out anew, each item", 1.1, rival="the same among 100 items"),
    Figure("row14/mail", "growth of the process", 4, "growth", "MiB"),
    Figure("row14/mail", "time", 0.5, rival="the curl command composing the same message (wall time)"),
    Figure("row15/load", "loaded and registered, its dependencies loaded", 3, rival="an empty library of Qt"),
    Figure("row16/complete", "to the first complete frame, whole process", 5, rival=_BARE),
    Figure("row16/undecoded", "the same when no decoded pictures are kept", None, rival=_BARE),
    Figure("row16/first", "to the first frame, whose pictures are on their way", None, rival=_BARE),
    Figure("row16/waits", "first frames that wait for a picture", 0, "value", "frames"),
    Figure("row17/day", "memory grown since the first hundredth, stored contents taken off", 1, "percent", "%"),
    Figure("row17/day", "widgets left", 0, "widgets_left", "widgets"),
    Figure("row18/tile-moved", "one tile moved", 12, "draws", "draw calls"),
    Figure("row18/all-drawn", "everything drawn", 120, "draws", "draw calls"),
    Figure("row18/tile-moved", "one tile moved", 0, "uploads", "uploads"),
    Figure("row18/all-drawn", "everything drawn", 0, "uploads", "uploads"),
    Figure("row19/all", "a quarter each going, turning, growing and changing colour", _FRAME_MS, "value", "ms"),
    Figure("row19/go", "all going and fading", _FRAME_MS, "value", "ms"),
    Figure("row19/grow", "all growing", _FRAME_MS, "value", "ms"),
    Figure("row19/turn", "all turning", _FRAME_MS, "value", "ms"),
]

# The scenes of draw_bench, by row.
SCENES = {7: "groups", 8: "table"}

# The row whose scene is measured against a rival that keeps pictures, and on a screen with another scale, too.
KEPT_SCENE_ROW = 8

# Programs of Google Benchmark in the build's bin/, and the rows that they hold.
PROGRAMS = {"table_bench": {1, 2, 3, 4, 6, 10, 11, 19}, "count_bench": {5, 6, 10}, "space_bench": {12, 13}, "load_bench": {15},
            "outbox_bench": {14}, "day_bench": {17}, "gl_bench": {18}}

# Of these, the ones that need a screen with OpenGL: they get one in memory.
ON_A_SCREEN = {"gl_bench"}


# Growth over size: what is measured, and what the size counts.
SERIES = {
    "row01/listeners": ("eventSendValues", "listeners"),
    "row02/handle": ("set by handle", "listeners"),
    "row03/same": ("one leaf all the time", "widgets; the rival: 100"),
    "row03/different": ("leaves in random order", "widgets; the rival: 100"),
    "row04/again": ("styles computed anew", "widgets"),
    "row04/types": ("styles computed anew, against types and ids", "widgets"),
    "row04/variables": ("with variables, against none", "widgets"),
    "row04/another": ("the sheet replaced by another", "widgets"),
    "row06/idle": ("an idle frame, against an empty table", "tiles"),
    "row13/add": ("an item added", "items"),
    "row13/remove": ("an item removed", "items"),
    "row13/lay-out": ("laid out anew, each item", "items"),
}


def figures_of(rows):
    return [figure for figure in FIGURES if not rows or figure.row in rows]
