#!/usr/bin/env python3
"""Two people with a client each share with one another through one service, by hand: what a person sees in the windows,
what a browser gets behind a link, and what lies on the disks."""
import json
import os
import struct
import sys
import time
import urllib.error
import urllib.parse
import urllib.request
import zlib

import rig as rigs
from hand import Person
from rig import Failure, wait_for


class Sharer(Person):
    """Knows where sharing is found in the window."""

    def show_shares(self, part):
        self.press("btn_share", part, "refreshButton")

    def share(self, item, command):
        """Opens the dialog in which an entry of the drive is shared."""
        self.press("btn_disk")
        self.wait("select", "fileTree", [item])
        self.wait("command", command)

    def share_with(self, item, user):
        self.share(item, "Share with users")
        self.wait("type", "userText", user)
        self.wait("open", "foundUsers", [f"The {user} ({user})"])
        self.press("ok")
        self.wait("dialog", until=lambda name: name == "")


def picture():
    """A small picture, all of one colour."""
    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))
    rows = b"".join(b"\0" + b"\x30\x80\xc0" * 64 for _ in range(48))
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", 64, 48, 8, 2, 0, 0, 0)) +
            chunk(b"IDAT", zlib.compress(rows)) + chunk(b"IEND", b""))


class Web:
    """A browser: keeps the cookie of one link."""

    def __init__(self):
        self.opener = urllib.request.build_opener(urllib.request.HTTPCookieProcessor())

    def get(self, address, form=None):
        body = urllib.parse.urlencode(form).encode() if form else None
        try:
            with self.opener.open(address, body, timeout=20) as reply:
                return reply.status, reply.read()
        except urllib.error.HTTPError as error:
            return error.code, error.read()

    def expect(self, status, *parts, without=(), **request):
        got, body = self.get(**request)
        if got != status or any(p not in body for p in parts) or any(p in body for p in without):
            raise Failure(f"{request}: {got}, {body[-400:]!r}")


def by_user(anna, ben, rig):
    """With a user: seen, looked into, saved, downloaded, reported."""
    anna.share_with("scene", "ben")
    ben.show_shares("toMeButton")
    ben.sees("sharesToMe", ["scene"])
    ben.wait("rows", "sharesToMe", until=lambda rows: rows[0][1] == "The anna")

    ben.wait("open", "sharesToMe", ["scene"])
    ben.sees("fileTree", ["inner", "plan.txt", "big.bin", "view.png"])
    ben.wait("open", "fileTree", ["inner"])
    ben.sees("fileTree", ["deep.txt"])
    ben.wait("select", "fileTree", ["deep.txt"])
    ben.press("saveButton")
    ben.wait("dialog", until=lambda name: name == "widFolderBrowser")
    ben.wait("select", "folderTree", ["All Files"])
    ben.press("ok")
    ben.told("Saved to your disk.")
    rigs.compare(f"{anna.drive}/scene/inner", ben.drive)

    target = os.path.join(rig.folder, "got")
    os.makedirs(target)
    ben.press("downloadButton")
    ben.wait("pick", value=[target])
    wait_for(lambda: os.path.exists(f"{target}/deep.txt"), 20, "the download of a shared file")
    rigs.compare(f"{anna.drive}/scene/inner", target)

    ben.press("reportButton", "other")
    if ben.ask("press", "ok") is True:
        raise Failure("a report of another reason needs words")
    ben.wait("type", "reportText", "Look at \"this\"")
    ben.press("addPictures")
    ben.wait("pick", value=[f"{anna.drive}/scene/view.png"])
    ben.wait("rows", "pictures", until=lambda rows: rows == [["view.png"]])
    ben.press("ok")
    ben.told("Thank you.")
    reports = [json.load(open(f"{rig.data}/reports/{name}")) for name in os.listdir(f"{rig.data}/reports")]
    told = [(r["reporter"], r["owner"], r["path"], r["reason"], r["text"], len(r["pictures"])) for r in reports]
    if told != [("ben", "anna", "/scene", "other", "Look at \"this\"", 1)]:
        raise Failure(f"the report: {told}")


def taken_away(anna, ben, rig):
    """Ended while a file is under way: it stops, the client says why, and nothing of it is left as if it were whole."""
    target = os.path.join(rig.folder, "never")
    os.makedirs(target)
    ben.show_shares("toMeButton")
    ben.wait("open", "sharesToMe", ["scene"])
    ben.wait("select", "fileTree", ["big.bin"])
    ben.press("downloadButton")
    ben.wait("pick", value=[target])
    part = f"{target}/big.bin.ZPDT.cache"
    wait_for(lambda: os.path.exists(part) and os.stat(part).st_blocks > 2048, 20, "the download begins")
    anna.show_shares("mineButton")
    anna.wait("select", "sharesOfMine", ["scene"])
    anna.press("editButton")
    anna.wait("open", "chosenUsers", ["The ben (ben)"])
    anna.press("ok")  # without users it ends the share
    anna.sees("sharesOfMine", [])
    end = time.monotonic()
    ben.press("btn_transfer")
    ben.wait("show", "tabwid_transfer", 2)
    ben.wait("text", "label_reason", until=lambda text: "refused" in (text or ""), seconds=15)
    print(f"the running download was given up {time.monotonic() - end:.1f} s after the end of the share")
    if os.path.exists(f"{target}/big.bin"):
        raise Failure("the download went on to its end")
    ben.show_shares("toMeButton")
    ben.sees("sharesToMe", [])


def by_link(anna, rig):
    web = Web()
    anna.share("scene", "Share by link")
    anna.press("publicLink", "makeLink")
    link = anna.wait("text", "link")
    if anna.ask("clipboard") != link:
        raise Failure(f"copied: {anna.ask('clipboard')}")
    web.expect(200, b"plan.txt", b"inner/", without=[b"private"], address=link)
    web.expect(200, b"the plan", address=f"{link}/file?path=/scene/plan.txt")
    web.expect(404, address=f"{link}/file?path=/private.txt")
    anna.press("endShare")
    anna.wait("dialog", until=lambda name: name == "")
    web.expect(404, address=link)

    anna.share("private.txt", "Share by link")
    proposed = anna.wait("text", "newPassword")
    anna.press("makeLink")
    link = anna.wait("text", "link")
    if len(proposed) < 10 or anna.ask("clipboard") != f"{link}\nPassword: {proposed}":
        raise Failure(f"copied: {anna.ask('clipboard')}")
    file = f"{link}/file?path=/private.txt"
    web.expect(200, b"type=\"password\"", without=[b"private"], address=file)
    web.expect(403, address=link, form={"password": "wrong"})
    web.expect(200, b"private.txt", address=link, form={"password": proposed})
    web.expect(200, b"my own", address=file)
    anna.wait("type", "password", "another one")
    anna.press("changePassword")
    wait_for(lambda: b"type=\"password\"" in web.get(file)[1], 10, "the old password opens nothing more")
    web.expect(200, b"private.txt", address=link, form={"password": "another one"})
    anna.press("ok")


def many(anna, ben):
    """Lists: search, one of several ignored, all of the others ended at once."""
    for item in ("scene", "private.txt"):
        anna.share_with(item, "ben")
    ben.show_shares("toMeButton")
    ben.sees("sharesToMe", ["private.txt", "scene"])
    ben.wait("type", "shareFilter", "priv")
    ben.sees("sharesToMe", ["private.txt"])
    ben.wait("select", "sharesToMe", ["private.txt"])
    ben.press("removeButton", "ok")
    ben.wait("type", "shareFilter", "")
    ben.sees("sharesToMe", ["scene"])
    ben.press("refreshButton")
    ben.sees("sharesToMe", ["scene"])
    anna.show_shares("mineButton")
    anna.sees("sharesOfMine", ["private.txt", "private.txt", "scene"])
    anna.wait("select", "sharesOfMine", ["scene", "private.txt"])
    anna.press("removeButton", "cancel")
    anna.press("removeButton", "ok")
    anna.sees("sharesOfMine", ["private.txt"])
    ben.press("refreshButton")
    ben.wait("rows", "sharesToMe", until=lambda rows: not rows)


def two_users(rig):
    """By user, by link and with a password; changed, saved, downloaded, reported, ended."""
    rig.start_service()
    anna, ben = Sharer(rig, "anna"), Sharer(rig, "ben")
    for name, content in (("plan.txt", b"the plan"), ("inner/deep.txt", b"deep"), ("big.bin", os.urandom(40 << 20)),
                          ("view.png", picture())):
        rigs.write(f"{anna.drive}/scene/{name}", content)
    rigs.write(f"{anna.drive}/private.txt", b"my own")
    anna.press("refreshButton")
    anna.sees("fileTree", ["scene", "private.txt"])
    by_user(anna, ben, rig)
    taken_away(anna, ben, rig)
    by_link(anna, rig)
    many(anna, ben)
    for person in (anna, ben):
        rig.stop_client(person.client)


if __name__ == "__main__":
    sys.exit(rigs.main({c.__name__: c for c in (two_users,)}))
