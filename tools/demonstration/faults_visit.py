"""The table with a media server that fails: each thing that is collected fails visibly, nothing stalls, and everything is
uploaded once the server works again."""
from bad_server import BadMediaServer
from programs import ONLY_HERE, by_id, centre, value
from visit import Visit, require

CARD = (850, 560)
DROP = (1150, 520)
AGAIN = (1150, 130)
UPLOAD_LINE = "PersonalSpaceUploader # Failed to upload user item : "
PICTURES = ["paper-moons", "field-lines", "terraces", "night-harbour", "basalt"]
#         mode     what the log says after the fixed beginning (%s: the server's address)
FAULTS = [("error", "The media server %s answered with status 500"),
          ("text", "The media server %s sent no JSON object"),
          ("cut", "The media server %s cut the connection"),
          ("slow", "The media server %s did not answer within 1 s"),
          ("away", "The media server %s cannot be reached: ")]


def script(tree):
    lines = [f"at 0.2 card 1001 down {CARD[0]} {CARD[1]} angle 270"]
    for index, name in enumerate(PICTURES):
        x, y = centre(by_id(tree, name)[0])
        begin = 2 + index * 4
        lines += [f"at {begin} finger {index + 1} down {x:.0f} {y:.0f}",
                  f"at {begin + 0.1:.1f} finger {index + 1} move {DROP[0]} {DROP[1]} over 0.5",
                  f"at {begin + 1} finger {index + 1} up"]
    # Beside the space that is still open: a card put on a space is on that space, not on the table.
    lines += ["at 25 card 1001 up", f"at 27 card 1001 down {AGAIN[0]} {AGAIN[1]} angle 270",
              f"at 30 card 1001 move {AGAIN[0]} {AGAIN[1]}"]
    return "\n".join(lines) + "\n"


class FaultsVisit(Visit):
    def __init__(self, world):
        super().__init__(world)
        self.server = self.media_server = world.add(BadMediaServer())

        def impatient(presentation):
            for service in presentation["services"]["media-server-service"]:
                service["timeoutSeconds"] = 1
        self.announced = [ONLY_HERE] + [UPLOAD_LINE + said % self.server.address for _, said in FAULTS]
        self.open_table(world.copy_of("gallery", impatient), ["--media-server", self.server.address])
        self.stage.enter(script(self.table.tree()))

    def steps(self):
        names = {"error": "answers 500", "text": "answers something else than JSON", "cut": "cuts the connection",
                 "slow": "does not answer in time", "away": "is away"}
        faults = [(f"a picture fails while the server {names[mode]}", lambda i=i: self.fault(i))
                  for i, (mode, _) in enumerate(FAULTS)]
        return [("Ann's card opens her space", self.begin), *faults,
                ("everything is uploaded when the card comes again", self.well_again)]

    def begin(self):
        self.stage.play_until(1.5)
        self.table.wait_until("the page", lambda: value(self.space(), "user-page-url"))

    def fault(self, index):
        mode, said = FAULTS[index]
        if mode == "away":
            self.server.away()
        else:
            self.server.mode = mode
        self.stage.play_until(2 + index * 4 + 3)
        self.table.wait_until("the tile to fail", lambda: len(self.tiles()) == index + 1
                              and "failed" in self.tiles()[index]["classes"])
        line = [entry for entry in self.table.get("/log") if entry["text"].startswith(UPLOAD_LINE)][-1]
        require(line["level"] == "warning", f"the line is logged as {line['level']}")
        wanted = UPLOAD_LINE + said % self.server.address
        require(line["text"].startswith(wanted), f'the log says "{line["text"]}", not "{wanted}…"')

    def well_again(self):
        self.server.back()
        self.server.mode = "good"
        self.stage.play_until(28.5)
        self.table.wait_until("five uploaded tiles",
                              lambda: len(self.tiles()) == 5 and all("uploaded" in tile["classes"] for tile in self.tiles()))
