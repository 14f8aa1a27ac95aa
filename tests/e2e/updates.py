#!/usr/bin/env python3
"""A new version on its way from the service to its installer, at the real client; and one that was tampered with."""
import glob
import json
import os
import subprocess
import sys
import time

import rig as rigs
from hand import Person
from rig import Failure, wait_for


def publish(rig, package, version):
    return subprocess.run([f"{rigs.BIN}/arkvale-service", "publish", package, "--version", version, "--platform",
                           "linux-x86_64", "--notes", "What is <new>", "--data", rig.data], capture_output=True).returncode


def client_is_updated(rig):
    """Offered once it is here and checked, installed after the end of the client; a changed package is never offered."""
    rig.start_service()
    mark = os.path.join(rig.folder, "installed")
    package = os.path.join(rig.folder, "arkvale-9.run")
    rigs.write(package, f"#!/bin/sh\necho 9 >> '{mark}'\n".encode() + b"#" * 3000000)
    if publish(rig, package, "9.0") != 0 or publish(rig, package, "8.9") == 0:
        raise Failure("publishing, or publishing an older version")

    def change(text):
        return json.dumps({**json.loads(text), "UpdateUrl": f"{rig.http}/updates/latest"})

    person = Person(rig, "anna", change)
    told = person.wait("text", "updateText", until=lambda text: "ready" in (text or ""))
    if "9.0" not in told or person.ask("text", "updateNotes") != "What is <new>":
        raise Failure(f"the offer: {told!r}, {person.ask('text', 'updateNotes')!r}")
    person.press("installLater")
    if os.path.exists(mark):
        raise Failure("installed while the client runs")
    rig.stop_client(person.client)
    wait_for(lambda: os.path.exists(mark), 10, "the installer runs")

    for file in glob.glob(f"{rig.data}/updates/linux-x86_64/9.0/*.run"):
        with open(file, "r+b") as data:
            data.write(b"#!/bin/no")
    person = Person(rig, "ben", change)
    kept = os.path.join(person.home, "cache", "ArkvaleTolma", "update")
    wait_for(lambda: os.path.isdir(kept), 20, "the client asks")
    time.sleep(3)  # why: the package has come by then and is thrown away
    if person.ask("see", "updateDialog") or glob.glob(f"{kept}/*.run"):
        raise Failure("a package that was tampered with is offered")
    rig.stop_client(person.client)


if __name__ == "__main__":
    sys.exit(rigs.main({c.__name__: c for c in (client_is_updated,)}))
