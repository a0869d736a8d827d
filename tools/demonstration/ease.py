"""How easy a table is to read and to touch, measured in the tree of its widgets: contrasts by the formula of WCAG 2, sizes in
millimetres."""

from programs import value

LEAST_TEXT_CONTRAST = 4.5
LEAST_EDGE_CONTRAST = 3.0
LEAST_TAPPED_MM = 12.0
TAPPED_CLASSES = {"envelope", "help-button", "cancel-button", "save-button", "send-button", "menu-entry", "menu-close"}
TAPPED_TYPES = {"InputFieldWidget", "KeyWidget", "CloseHandle", "SwitchWidget"}
EDGED_TYPES = {"PersonalSpaceContentWidget", "InputFieldWidget"}
OVERLAP_PX = 2
OVER_OTHERS = {"TooltipWidget"}  # stand over what they explain
TEXT_TYPES = {"TextWidget", "TextEditWidget", "KeyWidget", "SwitchWidget"}


def colour(text):
    """Red, green, blue and alpha, 0 to 1, of "#rgb", "#rrggbb", "#rrggbbaa" or "transparent"; None for anything else."""
    if text == "transparent":
        return (0.0, 0.0, 0.0, 0.0)
    if not text.startswith("#"):
        return None
    digits = text[1:]
    if len(digits) in (3, 4):
        digits = "".join(digit * 2 for digit in digits)
    parts = [int(digits[i:i + 2], 16) / 255 for i in range(0, len(digits), 2)]
    return tuple(parts + [1.0] * (4 - len(parts)))


def over(above, below):
    alpha = above[3]
    return tuple(above[i] * alpha + below[i] * (1 - alpha) for i in range(3)) + (1.0,)


def luminance(rgb):
    parts = [part / 12.92 if part <= 0.03928 else ((part + 0.055) / 1.055) ** 2.4 for part in rgb[:3]]
    return 0.2126 * parts[0] + 0.7152 * parts[1] + 0.0722 * parts[2]


def contrast(one, other):
    bright, dark = sorted((luminance(one), luminance(other)), reverse=True)
    return (bright + 0.05) / (dark + 0.05)


def contains(rect, point):
    return rect["x"] <= point[0] <= rect["x"] + rect["width"] and rect["y"] <= point[1] <= rect["y"] + rect["height"]


class Judge:
    """Goes through a tree in the order in which it is drawn, and judges the widgets below those with the given ids."""

    def __init__(self, judged, pixel_pitch_mm):
        self.judged = judged
        self.pitch = pixel_pitch_mm
        self.painted = []  # (rect, colour), from the bottom to the top
        self.complaints = []
        self.texts = 0
        self.tapped = 0
        self.lowest = 100.0
        self.smallest = 1000.0

    def ground(self, point):
        seen = (0.0, 0.0, 0.0, 1.0)
        for rect, painted in self.painted:
            if contains(rect, point):
                seen = over(painted, seen)
        return seen

    def visit(self, widget, opacity=1.0, judged=False):
        if not widget["visible"] or not widget["rect"]["width"]:
            return
        judged = judged or widget["id"] in self.judged
        opacity *= widget["opacity"]
        rect = widget["rect"]
        middle = (rect["x"] + rect["width"] / 2, rect["y"] + rect["height"] / 2)
        below = self.ground(middle)
        background = colour(value(widget, "background-color") or "transparent")
        if background and background[3] * opacity > 0:
            self.painted.append((rect, background[:3] + (background[3] * opacity,)))
        if judged:
            self.judge(widget, opacity, middle, below)
        if judged:
            self.judge_overlaps(widget)
        for child in widget["children"]:
            self.visit(child, opacity, judged)

    def judge(self, widget, opacity, middle, below):
        name = name_of(widget)
        text = value(widget, "text")
        ink = colour(value(widget, "color") or "#000000")
        if widget["type"] in TEXT_TYPES and text.strip() and ink:
            self.texts += 1
            ground = self.ground(middle)
            ratio = contrast(over(ink[:3] + (ink[3] * opacity,), ground), ground)
            self.lowest = min(self.lowest, ratio)
            if ratio < LEAST_TEXT_CONTRAST:
                self.complaints.append(f'{name}: "{text[:30]}" has a contrast of {ratio:.2f}')
            if "%1" in text:
                self.complaints.append(f'{name}: "{text[:30]}" shows a placeholder')
        if widget["type"] in EDGED_TYPES:
            edge = colour(value(widget, "border-color"))
            ratio = contrast(over(edge, below), below)
            if ratio < LEAST_EDGE_CONTRAST:
                self.complaints.append(f"{name}: its edge has a contrast of {ratio:.2f}")
        if widget["type"] in TAPPED_TYPES or TAPPED_CLASSES & set(widget["classes"]):
            self.tapped += 1
            least = min(widget["rect"]["width"], widget["rect"]["height"]) * self.pitch
            self.smallest = min(self.smallest, least)
            if least < LEAST_TAPPED_MM:
                self.complaints.append(f"{name}: what is tapped is {least:.1f} mm wide or high")

    def judge_overlaps(self, parent):
        """A text that is longer than its room covers what stands beside it."""
        shown = [child for child in parent["children"] if is_read_or_tapped(child)]
        for framed in (child for child in parent["children"] if child["type"] in EDGED_TYPES and child["visible"]):
            for one in shown:
                if one is not framed and crosses(one["rect"], framed["rect"]):
                    self.complaints.append(f"{name_of(one)} runs over the edge of {name_of(framed)}")
        for index, one in enumerate(shown):
            for other in shown[index + 1:]:
                if overlap(one["rect"], other["rect"]) > OVERLAP_PX:
                    self.complaints.append(f"{name_of(one)} and {name_of(other)} overlap")


def name_of(widget):
    return " ".join([widget["type"], *widget["classes"]])


def is_read_or_tapped(widget):
    if not widget["visible"] or not widget["opacity"] or widget["type"] in OVER_OTHERS:
        return False
    return bool(widget["type"] in TAPPED_TYPES or TAPPED_CLASSES & set(widget["classes"])
                or (widget["type"] in TEXT_TYPES and value(widget, "text").strip()))


def overlap(one, other):
    """How far two rectangles stand in one another, in pixels; 0 or less where they do not."""
    return min(min(one["x"] + one["width"], other["x"] + other["width"]) - max(one["x"], other["x"]),
               min(one["y"] + one["height"], other["y"] + other["height"]) - max(one["y"], other["y"]))


def crosses(one, framed):
    """Whether a rectangle stands partly inside another one, and partly outside."""
    inside = (one["x"] >= framed["x"] and one["y"] >= framed["y"] and one["x"] + one["width"] <= framed["x"] + framed["width"]
              and one["y"] + one["height"] <= framed["y"] + framed["height"])
    return not inside and overlap(one, framed) > OVERLAP_PX


def judge(tree, judged_ids, pixel_pitch_mm=0.55):
    result = Judge(set(judged_ids), pixel_pitch_mm)
    result.visit(tree)
    return result
