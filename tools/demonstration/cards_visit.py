"""A visit of many cards: personal ones, rejected ones, cards with folders, cards without an owner, and cards put on pictures.
The report of each card is read from the table."""
import email
import email.policy
import math

from cards_table import CardsTable, about, degrees, near, turn, way
from programs import by_class, by_id, by_type, centre, value
from report import walk
from visit import require

ANN, UNREGISTERED, GARDEN, ARCHIVE, STAFF, NEIGHBOUR, STRANGER = 1001, 1007, 2001, 2002, 3001, 1003, 9009
PLACE = (1100, 560)   # inside the table's place for cards
SIDE = (1640, 540)    # outside of it, where the second place opens
PICTURE = "night-harbour"


class CardsVisit(CardsTable):
    def steps(self):
        modes = [("disabled", "a card on a picture does nothing where collecting is off", self.collect_disabled),
                 ("add-to-personal-space", "a card on a picture opens a space with the picture", self.collect_to_space),
                 ("email-with-confirmation", "a card on a picture asks, and the mail arrives", self.collect_confirmed),
                 ("direct-email", "a card on a picture mails it at once", self.collect_directly)]
        return [
            ("the table is ready", self.ready),
            ("a personal space is turned towards its owner's hand", self.towards_hand),
            ("a card with a content key opens its folder", self.folder_opens),
            ("a menu's entries open what they lead to", self.menu_leads),
            ("what the folder opened follows the card", self.folder_follows),
            ("what the folder opened turns with the card", self.folder_turns),
            ("what the folder opened ends when the card is lifted", self.folder_ends),
            ("in reverse mode nothing opens while the card lies", self.reverse_down),
            ("in reverse mode the folder opens when the card is lifted", self.reverse_up),
            ("in reverse mode the same card's coming back ends it", self.reverse_again),
            ("an unregistered card is left alone", self.unregistered_refused),
            ("cards lie idle beside the place for cards", self.idle_cards),
            ("a rejected card opens the folder for rejected cards", self.rejected_folder),
            ("a detector that appears takes over the cards that lie there", self.late_detector),
            ("a rejected card does nothing where there is no such folder", self.rejected_nothing),
            ("an unregistered card opens a space where that is allowed", self.unregistered_allowed),
            *[(name, lambda mode=mode, action=action: self.in_mode(mode, action)) for mode, name, action in modes],
        ]

    # ---- The steps ----

    def ready(self):
        require(len(by_type(self.main(), "ContentWidget")) == 4, "pictures are missing")

    def towards_hand(self):
        seen = []
        for angle in (200, 290):
            self.put(ANN, PLACE, angle)
            space = self.space()
            off = math.dist(centre(space), PLACE)
            seen.append({"cardDegrees": angle, "spaceDegrees": degrees(space), "title": self.title(),
                         "besideTheCard": 290 < off < 320, "holder": self.holder(ANN)})
            if angle == 290:
                break  # the next step takes it away
            self.lift()
            self.clear()
        self.see("a personal card with rotation towards the hand", seen)
        for one in seen:
            require(one["spaceDegrees"] == (one["cardDegrees"] + 90) % 360,
                    f"the space is turned by {one['spaceDegrees']}°, its card by {one['cardDegrees']}°")
            require(one["title"] == "Hi, Ann" and one["besideTheCard"], f"the space is another: {one}")
            require(one["holder"] == {"type": "PersonalTesselDetectorWidget", "id": "detector"}, f"it is held by {one['holder']}")

    # A folder under a card.

    def node(self):
        return by_type(self.main(), "ContentMenuNode")[0]

    def entries(self, node):
        return {value(by_class(entry, "menu-text")[0], "text"): entry for entry in by_class(node, "menu-entry")
                if entry in node["children"]}

    def folder_opens(self):
        self.lift()
        self.clear()
        self.folder_begin = self.put(GARDEN, PLACE, 270, 9.0, [(4, "move 1020 600 over 0.5"), (6, "move 1020 600 angle 300 over 0.5")])
        self.settle()
        opened = self.opened()
        seen = self.see("a card with a content key", {
            "opened": self.ids(opened), "menu": list(self.entries(self.node())),
            "menuAtTheCard": near(centre(self.node()), PLACE), "holder": self.holder(GARDEN),
            "temporary": all("tavola-temporary" in widget["classes"] for widget in opened),
            "personalMenu": [widget["cssId"] for widget in opened if "personal-menu" in widget["classes"]]})
        require(seen["opened"] == ["garden-terraces", "garden-menu", "garden-guide"], f"{seen['opened']} is open")
        require(seen["menu"] == ["Orchard", "Lines", "Visit us", "Indoors"], f"the menu shows {seen['menu']}")
        require(seen["menuAtTheCard"], f"the menu is at {centre(self.node())}")
        require(seen["temporary"] and seen["personalMenu"] == ["garden-menu"], f"classes are missing: {seen}")
        require(not self.spaces(), "a card with a content key opened a personal space")

    def menu_leads(self):
        before = {widget["id"] for widget in self.opened()}
        self.tap(self.entries(self.node())["Indoors"])
        self.stage.play(0.6)
        nodes = by_type(self.main(), "ContentMenuNode")
        require(len(nodes) == 2, f"{len(nodes)} menu nodes are open instead of two")
        inner = list(self.entries(nodes[1]))
        self.tap(self.entries(nodes[1])["Harbour"])
        self.stage.play(0.6)
        self.settle()
        launched = [widget for widget in self.opened() if widget["id"] not in before]
        seen = self.see("a menu under a card", {
            "furtherEntries": inner, "launched": [value(widget, "display-name") for widget in launched]})
        require(seen == {"furtherEntries": ["Basalt", "Harbour"], "launched": ["Night harbour"]}, f"it led to {seen}")

    def items(self):
        widgets = {name: by_id(self.main(), name)[0] for name in ("garden-terraces", "garden-guide")}
        return {**widgets, "garden-menu": self.node()}

    def change(self, until):
        before = self.items()
        self.stage.play_until(self.folder_begin + until)
        after = self.items()
        return {name: {"moved": way(before[name], after[name]), "turnedDegrees": turn(before[name], after[name])}
                for name in before}

    def folder_follows(self):
        self.stage.play_until(self.folder_begin + 3.9)
        seen = self.see("the card is moved by -80, 40", self.change(5.9))
        for name, by in (("garden-terraces", (-80, 40)), ("garden-menu", (-80, 40)), ("garden-guide", (0, 0))):
            require(near(seen[name]["moved"], by, 1) and seen[name]["turnedDegrees"] == 0, f"{name} went {seen[name]}")

    def folder_turns(self):
        terraces = centre(self.items()["garden-terraces"])
        seen = self.see("the card is turned by 30 degrees", self.change(8.5))
        offset = terraces[0] - 1020, terraces[1] - 600
        where = about((1020, 600), offset, 30)
        by = where[0] - terraces[0], where[1] - terraces[1]
        for name, moved, degrees_ in (("garden-terraces", by, 30), ("garden-menu", (0, 0), 30), ("garden-guide", (0, 0), 0)):
            require(near(seen[name]["moved"], moved) and seen[name]["turnedDegrees"] == degrees_, f"{name} went {seen[name]}")

    def folder_ends(self):
        self.lift()
        left = self.see("the card with a content key is lifted",
                        {"open": [value(widget, "display-name") for widget in self.opened()]})
        require(left == {"open": ["Night harbour"]}, f"{left} is open; only what the menu launched is a visitor's own")
        self.clear()

    # Reverse mode.

    def reverse_down(self):
        self.put(ARCHIVE, PLACE)
        self.archive_id = self.marker_id(ARCHIVE)
        seen = self.see("in reverse mode the card lies", {"opened": self.ids(self.opened()), "holder": self.holder(ARCHIVE)})
        require(seen["opened"] == [], f"{seen['opened']} is open")

    def reverse_up(self):
        self.lift()
        self.settle()
        opened = self.opened()
        seen = self.see("in reverse mode the card is lifted", {
            "opened": self.ids(opened), "manualControl": self.ids(w for w in opened if "manual-control" in w["classes"])})
        require(sorted(seen["opened"]) == ["archive-field-lines", "archive-paper-moons"], f"{seen['opened']} is open")
        require(seen["manualControl"] == seen["opened"], f"under manual control is {seen['manualControl']}")

    def reverse_again(self):
        self.put(ARCHIVE, PLACE, stay=2.0)
        same = self.marker_id(ARCHIVE) == self.archive_id
        seen = self.see("in reverse mode the card comes back", {"opened": self.ids(self.opened()), "sameMarkerId": same})
        require(seen == {"opened": [], "sameMarkerId": True}, f"seen: {seen}")
        self.lift()
        self.clear()

    # Cards that the detector does not take, and cards that lay there before it.

    def unregistered_refused(self):
        self.put(UNREGISTERED, PLACE)
        seen = self.see("an unregistered card without allow-unregistered-markers",
                        {"opened": self.ids(self.opened()), "holder": self.holder(UNREGISTERED)})
        require(seen["opened"] == [] and seen["holder"]["type"] == "BackgroundWidget", f"seen: {seen}")
        self.lift()

    def late(self):
        return {"known": self.holder(NEIGHBOUR), "unknown": self.holder(STRANGER),
                "outside": self.holder(UNREGISTERED), "spaces": len(self.spaces())}

    def idle_cards(self):
        self.put(NEIGHBOUR, SIDE, stay=12.0)
        self.put(STRANGER, (SIDE[0], SIDE[1] + 220), stay=11.0)
        self.put(UNREGISTERED, (PLACE[0], 120), stay=10.0)
        seen = self.see("before the second detector appears", self.late())
        for card in ("known", "unknown", "outside"):
            require(seen[card]["type"] == "BackgroundWidget", f"the {card} card is held by {seen[card]}")

    def rejected_folder(self):
        self.put(STAFF, PLACE, stay=7.0)
        seen = self.see("a rejected card with a folder in custom-tessel-content", {
            "opened": self.ids(self.opened()), "menu": list(self.entries(self.node())), "holder": self.holder(STAFF)})
        require(seen["opened"] == ["staff-menu"], f"{seen['opened']} is open")
        require(seen["holder"]["id"] == "detector", f"it is held by {seen['holder']}")

    def late_detector(self):
        self.tap(self.entries(self.node())["A second place"])
        self.stage.play(0.3)
        seen = self.see("when the second detector has appeared", self.late())
        require(seen["known"] == {"type": "PersonalTesselDetectorWidget", "id": "second-place"},
                f"the known card is held by {seen['known']}")
        require(seen["unknown"]["type"] == "MarkerDetectorWidget", f"the unknown card is held by {seen['unknown']}")
        require(seen["outside"]["type"] == "BackgroundWidget", f"the card outside is held by {seen['outside']}")
        require(seen["spaces"] == 0, "taking a card over opened a personal space")

    # Tables with another detector.

    def rejected_nothing(self):
        self.reopen(slots={})
        self.put(STAFF, PLACE)
        seen = self.see("a rejected card without a folder", {"opened": self.ids(self.opened()), "holder": self.holder(STAFF)})
        require(seen["opened"] == [] and seen["holder"]["type"] == "BackgroundWidget", f"seen: {seen}")
        self.lift()

    def unregistered_allowed(self):
        self.reopen(allow_unregistered_markers=True)
        self.put(UNREGISTERED, PLACE)
        space = self.space()
        seen = self.see("an unregistered card with allow-unregistered-markers", {
            "opened": self.ids(self.opened()), "holder": self.holder(UNREGISTERED),
            "unregistered": "unregistered-user" in space["pseudoClasses"]})
        require(seen["opened"] == ["PersonalSpaceWidget"] and seen["unregistered"], f"seen: {seen}")
        require(seen["holder"]["id"] == "detector", f"it is held by {seen['holder']}")

    # A card on a picture.

    def in_mode(self, mode, action):
        self.reopen(collection_mode=mode)
        self.before = len(self.mail.messages)
        self.put(ANN, centre(by_id(self.main(), PICTURE)[0]), stay=5.0)
        seen = {"holder": self.holder(ANN), "opened": self.ids(self.opened())}
        action(seen)
        self.see(f"a card on a picture, collection-mode {mode}", {**seen, "mails": self.mails()})
        require(seen["holder"] == {"type": "ContentWidget", "id": PICTURE}, f"the card is held by {seen['holder']}")

    def mails(self):
        found = []
        for message in self.mail.messages[self.before:]:
            with open(message["path"], "rb") as file:
                letter = email.message_from_binary_file(file, policy=email.policy.default)
            found.append({"to": message["to"], "subject": letter["Subject"],
                          "files": [part.get_filename() for part in letter.iter_attachments()]})
        return found

    def popup(self):
        popups = by_type(self.main(), "EmailSendingPopupWidget")
        require(len(popups) == 1, f"{len(popups)} popups are open instead of one")
        return popups[0]

    def arrived(self, seen):
        self.table.wait_until("the mail to be sent", lambda: "email-successful" in self.popup()["classes"])
        seen["states"].append("email-successful")
        files = [mail["files"] for mail in self.mails()]
        require(files == [[PICTURE + ".png"]], f"mailed were {files}")

    def collect_disabled(self, seen):
        self.stage.play(1)
        seen["opened"] = self.ids(self.opened())
        require(seen["opened"] == [] and not self.mails(), f"collecting was off, and opened is {seen['opened']}")

    def collect_to_space(self, seen):
        space = self.space()
        names = {widget["id"]: value(widget, "display-name") for widget in walk(self.table.tree())}
        collected = [event["data"] for event in self.table.get("/analytics")
                     if event["type"] == "widget-added-to-personal-space"]
        seen.update(spaceDegrees=degrees(space), tiles=len(self.tiles()),
                    collected=[names.get(int(data["widget"])) for data in collected])
        self.settle()
        require(seen["tiles"] == 1 and seen["collected"] == ["Night harbour"], f"seen: {seen}")

    def collect_confirmed(self, seen):
        popup = self.popup()
        seen.update(popupDegrees=degrees(popup), states=[name for name in popup["classes"] if name == "waiting-to-send"],
                    mailsBefore=len(self.mails()))
        require(seen["states"] == ["waiting-to-send"] and seen["mailsBefore"] == 0, f"seen: {seen}")
        self.tap(by_class(popup, "send-button")[0])
        self.arrived(seen)

    def collect_directly(self, seen):
        seen.update(popupDegrees=degrees(self.popup()), states=[])
        self.arrived(seen)
