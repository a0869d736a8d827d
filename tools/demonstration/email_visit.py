"""A visit by post: a card without an address, what was collected arrives in the owner's mailbox, and the card is registered
with its owner's name."""
import email
import email.policy
import os
import re
import subprocess

from programs import by_type, value
from visit import PRESENTATIONS, Visit, require

CARD = (850, 480)
DROP = (1150, 470)
ADDRESS = "lena.o@museum.test"
NAME = "Lena Ödegård"
GERMAN = 1002  # has a language, and no address
GERMAN_ADDRESS = "j.a@museum.test"
GALLERY = os.path.join(PRESENTATIONS, "gallery", "media")


class EmailVisit(Visit):
    def __init__(self, world):
        super().__init__(world)
        from mail_server import MailServer
        self.mail = world.add(MailServer(world.out))
        self.open_table(os.path.join(PRESENTATIONS, "mailroom"), ["--mail-server", self.mail.address])

    def steps(self):
        return [
            ("a card without an owner opens a space", self.card_opens_space),
            ("a picture and a link are collected", self.collect),
            ("the envelope asks where to send it, with the keyboard open", self.envelope_asks),
            ("a refused address keeps the keyboard", self.refused_address),
            ("the address is typed on the table", self.type_address),
            ("the mail arrives and the items disappear", self.mail_arrives),
            ("the message is whole", self.message_is_whole),
            ("the name is typed and saved", self.type_name),
            ("the registry knows the card", self.registry_knows),
            ("the card's next space greets its owner by name", self.greeted),
            ("a second mail carries the name", self.second_mail),
            ("a German card's space, keyboard and letter are German", self.german),
        ]

    def card_opens_space(self):
        self.stage.act(f"at 0.1 card 1004 down {CARD[0]} {CARD[1]} angle 270\nat 0.6 card 1004 up", 1.5)
        require({"unregistered-user", "no-email"} <= set(self.space()["pseudoClasses"]), "the card's owner is known")

    def collect(self):
        self.drag("paper-moons", DROP)
        self.drag("opening-hours", DROP)
        self.stage.play(1)
        require(len(self.tiles()) == 2, f"{len(self.tiles())} tiles instead of two")
        self.settle()

    def envelope_asks(self):
        self.tap(self.child("envelope"))
        self.stage.play(0.3)
        require(self.has_class("waiting-to-send-email"), "the space does not ask for an address")
        self.keyboard()

    def refused_address(self):
        self.stage.play(0.3)
        self.type(ADDRESS[:4])
        self.press("key-enter")
        self.stage.play(0.5)
        require("invalid" in by_type(self.space(), "InputFieldWidget")[0]["pseudoClasses"], "the address is not refused")
        require(len(by_type(self.table.tree(), "KeyboardWidget")) == 1, "the keyboard is not there, or twice")

    def editor(self):
        return by_type(self.space(), "TextEditWidget")[0]

    def type_address(self):
        self.type(ADDRESS[4:])
        text = value(self.editor(), "text")
        require(text == ADDRESS, f'the field says "{text}"')

    def mail_arrives(self):
        self.press("key-enter")
        self.table.wait_until("the mail to be sent", lambda: self.has_class("email-successful"))
        self.stage.play(1)
        require(not self.tiles(), "the items are still there")
        require(len(self.mail.messages) == 1, f"{len(self.mail.messages)} messages arrived")

    def message(self, number):
        with open(self.mail.messages[number]["path"], "rb") as file:
            return email.message_from_binary_file(file, policy=email.policy.default)

    def message_is_whole(self):
        require(self.mail.messages[0]["to"] == [ADDRESS], f"it went to {self.mail.messages[0]['to']}")
        message = self.message(0)
        recipient = message["To"].addresses[0]
        require(recipient.addr_spec == ADDRESS, f"To says {message['To']}")
        body = message.get_body(("plain",)).get_content()
        require("<links>" not in body and "<name>" not in body, "placeholders are left in the letter")
        listed = body.count("https://museum.example/visit")
        require(listed == 1, f"the link stands in the letter {listed} times")
        links = re.findall(r"\S+://\S+", body)
        require(len(links) == 1, f"there are more links than were collected: {links}")
        require("paper-moons" not in body, "the letter mentions the picture's file beside attaching it")
        attached = list(message.iter_attachments())
        names = [part.get_filename() for part in attached]
        require(names == ["paper-moons.png"], f"attached are {names}")
        with open(os.path.join(GALLERY, "paper-moons.png"), "rb") as file:
            require(attached[0].get_content() == file.read(), "the picture has changed on the way")
        require(message["Message-ID"] and message["Date"] and message["Subject"], "the letter's head is not complete")

    def type_name(self):
        self.tap(self.editor())
        self.stage.play(0.6)
        # The Finnish keyboard has the letters of the name; the language key switches to it.
        for _ in range(6):
            if self.key("ö"):
                break
            self.press("key-language")
        while self.key("å") is None:
            self.press("key-language")
        self.type(NAME)
        text = value(self.editor(), "text")
        require(text == NAME, f'the field says "{text}"')
        self.press("key-enter")
        self.table.wait_until("the name to be saved", lambda: self.has_class("successfully-registered"))
        require(self.title() == f"Hi, {NAME}", f'the title is "{self.title()}"')
        self.stage.play(0.5)

    def registry_knows(self):
        people = subprocess.run([os.path.join(self.world.build, "bin", "tavola"), "people", "list", "--data",
                                 os.path.join(self.world.folder, "data"), os.path.join(PRESENTATIONS, "mailroom")],
                                capture_output=True, text=True, check=False)
        require(people.returncode == 0, f"tavola people list: {people.stderr}")
        line = [line for line in people.stdout.splitlines() if line.startswith("1004")]
        require(line and NAME in line[0] and ADDRESS in line[0], f"the registry says {line}")

    def greeted(self):
        self.tap(self.child("cancel-button"))
        self.tap(by_type(self.space(), "CloseHandle")[0])
        self.stage.play(1)
        require(not self.spaces(), "the space is still open")
        self.stage.act(f"at 0.1 card 1004 down {CARD[0]} {CARD[1]} angle 270\nat 0.6 card 1004 up", 1.5)
        require(self.title() == f"Hi, {NAME}", f'the title is "{self.title()}"')
        require("no-email" not in self.space()["pseudoClasses"], "the address is not known")

    def second_mail(self):
        self.tap(self.child("envelope"))
        self.stage.play(0.5)
        require(self.has_class("initial-view"), "an empty sheet is mailed")
        self.drag("terraces", DROP)
        self.stage.play(1)
        self.settle()
        require(len(self.tiles()) == 1, "nothing was collected")
        self.tap(self.child("envelope"))
        self.table.wait_until("the second mail", lambda: len(self.mail.messages) == 2 and self.has_class("email-successful"))
        recipient = self.message(1)["To"].addresses[0]
        require(recipient.display_name == NAME, f'To says "{recipient.display_name}"')
        body = self.message(1).get_body(("plain",)).get_content()
        require(NAME in body, "the letter does not call her by name")

    def german(self):
        self.tap(by_type(self.space(), "CloseHandle")[0])
        self.stage.play(1)
        self.stage.act(f"at 0.1 card {GERMAN} down {CARD[0]} {CARD[1]} angle 270\nat 0.6 card {GERMAN} up", 1.5)
        require(self.title().startswith("Hallo, "), f'the title is "{self.title()}"')
        self.drag("field-lines", DROP)
        self.stage.play(1)
        self.settle()
        self.tap(self.child("envelope"))
        self.stage.play(0.8)
        require(self.key("ü") is not None, "the keyboard is not German")
        self.type(GERMAN_ADDRESS)
        self.press("key-enter")
        self.table.wait_until("the third mail", lambda: len(self.mail.messages) == 3 and self.has_class("email-successful"))
        message = self.message(2)
        body = message.get_body(("plain",)).get_content()
        require("Guten Tag" in body and "Dear" not in body and "[" not in body, f"the letter says {body[:200]!r}")
        html = message.get_body(("html",)).get_content()
        require('lang="de"' in html and html.count("<body") == 1, "the HTML part is not the German one")
        require(message["Subject"].startswith("Was Sie"), f"the subject is {message['Subject']}")
