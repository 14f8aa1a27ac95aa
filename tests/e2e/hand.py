"""A person at the real client, whose windows can be asked and used without a screen."""
import json
import os
import subprocess

import rig as rigs
from rig import Failure, wait_for


class Person:
    """A user at the real client, all windows of which can be asked and used."""

    def __init__(self, rig, name, change=None):
        self.rig, self.name = rig, name
        subprocess.run([f"{rigs.BIN}/arkvale-service", "add-user", name, "--password", name, "--verified", "--nickname",
                        f"The {name}", "--data", rig.data], check=True, stdout=subprocess.DEVNULL)
        self.home = os.path.join(rig.folder, name)
        self.drive = os.path.join(rig.data, "centers", "1", name)
        self.client = rig.start_client("-user", name, "-pass", name, "-sc", "1", program="e2e_hand", home=self.home,
                                       change=change, stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self.wait("see", "btn_disk")

    def ask(self, what, name="", value=None):
        line = json.dumps({"do": what, "name": name, "value": value})
        self.client.stdin.write(line.encode() + b"\n")
        self.client.stdin.flush()
        told = self.client.stdout.readline()
        if not told:
            raise Failure(f"the client of {self.name} has ended at {line}")
        return json.loads(told)["is"]

    def wait(self, what, name="", value=None, until=lambda told: told not in (None, False), seconds=20):
        last = [None]

        def asked():
            last[0] = self.ask(what, name, value)
            return until(last[0])
        try:
            wait_for(asked, seconds, "")
        except Failure:
            raise Failure(f"{self.name}: {what} {name} {value}: not within {seconds} s; last {last[0]!r}, the dialog is "
                          f"{self.ask('dialog')!r}")
        return last[0]

    def press(self, *buttons):
        for button in buttons:
            self.wait("press", button)

    def names(self, view):
        return sorted(row[0] for row in self.ask("rows", view) or [])

    def sees(self, view, names, seconds=20):
        self.wait("rows", view, until=lambda rows: sorted(r[0] for r in rows or []) == sorted(names), seconds=seconds)

    def told(self, part):
        self.wait("text", "pageNotice", until=lambda text: part in (text or ""))
        self.press("noticeClose")
