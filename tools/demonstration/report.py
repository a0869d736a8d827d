"""The report of a visit: steps with pictures, and the state of the personal spaces as read from the programs."""
import html
import json
import os
import re
import traceback

from programs import Failure, by_class, by_type, fetch, value


class Report:
    def __init__(self, folder, visit):
        self.folder = folder
        self.visit = visit
        self.steps = []

    def step(self, name, action):
        """Runs one step, photographs the table and notes whether the step held. False ends the visit."""
        number = len(self.steps) + 1
        error = None
        try:
            action()
        except Failure as failure:
            error = str(failure)
        except Exception:  # a mistake of the visit's own: report it like any other failure
            error = traceback.format_exc()
        try:
            slug = re.sub(r"[^a-z0-9]+", "-", name.lower()).strip("-")[:60]
            self.visit.table.screenshot(os.path.join(self.folder, f"{number:02d}-{slug}.png"))
        except Failure as failure:
            error = error or str(failure)
        self.steps.append({"name": name, "ok": error is None, **({"error": error} if error else {})})
        print(f"  {'ok  ' if error is None else 'FAIL'} {name}" + (f"\n       {error}" if error else ""), flush=True)
        return error is None

    def write(self):
        warnings = list(self.visit.warnings)
        spaces = []
        try:
            warnings += warnings_of(self.visit.table)
            spaces = spaces_of(self.visit.table, self.visit.media_server)
        except Failure as failure:
            self.steps.append({"name": "the programs still answer", "ok": False, "error": str(failure)})
        if all(step["ok"] for step in self.steps):
            self.judge_warnings(warnings)
        report = {"steps": self.steps, "spaces": spaces, "warnings": warnings}
        if self.visit.outcomes:
            report["outcomes"] = self.visit.outcomes
        with open(os.path.join(self.folder, "report.json"), "w", encoding="utf-8") as file:
            json.dump(report, file, ensure_ascii=False, indent=2)
            file.write("\n")
        return all(step["ok"] for step in self.steps)

    def judge_warnings(self, warnings):
        """A visit logs the warnings it announces, by how they begin, each once, and no others. Notes only what went wrong."""
        announced = list(getattr(self.visit, "announced", ()))
        unexpected = []
        for text in warnings:
            beginning = next((beginning for beginning in announced if text.startswith(beginning)), None)
            if beginning is None:
                unexpected.append(text)
            else:
                announced.remove(beginning)
        error = "; ".join([f"not announced: {text}" for text in unexpected] + [f"never logged: {text}" for text in announced])
        if error:
            name = "nothing but the announced warnings is logged"
            self.steps.append({"name": name, "ok": False, "error": error})
            print(f"  FAIL {name}\n       {error}", flush=True)


STATUS = {"uploaded": "Uploaded", "failed": "Failed"}


def warnings_of(table):
    return [line["text"] for line in table.get("/log") if line["level"] in ("warning", "error")]


def collected_widgets(table):
    """What visitors collected and did not take out again, by card, in the order of the tiles: node ids from the analytics."""
    collected = {}
    for event in table.get("/analytics"):
        data = event["data"]
        if event["type"] == "widget-added-to-personal-space":
            collected.setdefault(int(data["tessel"]), []).append(int(data["widget"]))
        elif event["type"] == "widget-removed-from-personal-space":
            items = collected.setdefault(int(data["tessel"]), [])
            if int(data["widget"]) in items:
                items.remove(int(data["widget"]))
    return collected


def spaces_of(table, media_server):
    """The open personal spaces: title, page and tiles from the widget tree; whose card it is from the media server, which
    has every page, and without one from what was collected, if that was by one card only."""
    tree = table.tree()
    names = {widget["id"]: value(widget, "display-name") for widget in walk(tree)}
    collected = collected_widgets(table)
    page_of = {}
    if media_server:
        page_of = {media_server.command_answer({"command": "getuserpage", "tessel": code})["userpageurl"]: code
                   for code in collected}
    spaces = []
    for space in by_type(tree, "PersonalSpaceWidget"):
        url = value(space, "user-page-url")
        code = page_of.get(url) or (next(iter(collected)) if len(collected) == 1 else None)
        titles = by_class(space, "title")
        items = []
        for index, tile in enumerate(by_class(space, "container")):
            states = [STATUS[name] for name in tile["classes"] if name in STATUS]
            widget = collected.get(code, [])[index] if index < len(collected.get(code, [])) else None
            items.append({"displayName": names.get(widget), "status": states[0] if states else "Waiting"})
        spaces.append({"code": code, "title": value(titles[0], "text") if titles else None,
                       "userPageUrl": url, "items": items})
    return spaces


def walk(widget):
    yield widget
    for child in widget["children"]:
        yield from walk(child)


def page_entries(address):
    """The text of a person's page, without tags."""
    text = fetch(address).decode("utf-8")
    return html.unescape(re.sub(r"<[^>]+>", " ", text))
