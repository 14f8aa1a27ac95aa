#!/usr/bin/env python3
"""Builds the include graph of the folders and fails on a circle, or on an edge that the design does not allow."""
import os
import re
import sys

import tree

# Folder -> folders that it may know. What those know in turn is allowed too (a target's links are public).
ALLOWED = {
    "app/startup": ["ui/shell", "session", "bridge", "imports/zpt_logger", "imports/updateservice"],
    "ui/shell": ["drive", "transfer", "share", "share/pages", "bridge", "session"],
    "share/pages": ["share", "share/records", "drive", "drive/views", "drive/pickers", "drive/preview", "drive/cache",
                    "app/config", "ui/dialogs"],
    "share": ["share/records", "drive", "drive/cache", "drive/views", "app/config", "imports/orvclient", "ui/dialogs"],
    "drive": ["drive/views", "drive/cache", "drive/preview", "drive/pickers", "drive/records", "app/config",
              "imports/orvclient", "ui/dialogs"],
    "drive/views": ["drive/records", "app/config", "ui/dialogs"],
    "drive/cache": ["drive/records", "app/config", "imports/orvclient"],
    "drive/preview": ["drive/records", "drive/views", "drive/cache", "app/config", "imports/orvclient", "ui/dialogs"],
    "drive/pickers": ["drive/records", "drive/views", "app/config", "imports/orvclient", "ui/dialogs"],
    "transfer": ["transfer/lists", "transfer/settings", "transfer/status", "app/config", "imports/transfermodule", "drive/records",
                 "ui/dialogs"],
    "transfer/lists": ["app/config", "imports/transfermodule", "ui/dialogs"],
    "transfer/status": ["transfer/lists", "app/config", "imports/transfermodule"],
    "transfer/settings": ["app/config", "imports/transfermodule", "ui/dialogs"],
    "session": ["session/records", "app/config", "imports/orvclient", "ui/dialogs"],
    "bridge": ["app/config", "imports/orvclient", "drive/records"],
    "app/config": ["imports/orvclient", "session/records", "ui/dialogs"],
    "ui/dialogs": [],
    "drive/records": [],
    "share/records": ["drive/records", "session/records"],
    "session/records": [],
    "resources": [],
    "crashdialog": [],
    "imports/orvclient": ["imports/signature"],
    "imports/transfermodule": ["imports/signature", "imports/zpdtwire"],
    "imports/signature": [],
    "imports/zpdtwire": [],
    "imports/zpt_logger": [],
    "imports/updateservice": [],
    "service/program": ["service/site", "service/updates"],
    "service/web": ["service/http"],
    "service/site": ["service/http", "service/web", "service/context", "service/accounts", "service/files",
                     "service/shares", "service/transfer", "service/updates"],
    "service/shares": ["service/http", "service/context", "service/accounts", "service/files"],
    "service/accounts": ["service/http"],
    "service/updates": ["service/http", "service/accounts"],
    "service/files": ["service/http", "service/context", "service/thumbnailer", "imports/zpdtwire"],
    "service/transfer": ["imports/zpdtwire"],
    "service/thumbnailer": [],
    "service/http": [],
    "service/context": [],
}
# Folders that know Qt Core alone, or no Qt at all.
CORE_ONLY = ["drive/records", "session/records", "share/records"]
NO_QT = ["imports/zpdtwire"]
WIDGETS = re.compile(r"^Q(Widget|Dialog|Application$|GuiApplication|Main|Push|Label|Menu|Tree|List(View|Widget)|Table"
                     r"|Pixmap|Icon|Painter|Message|Abstract(Button|ItemView|Item[DM]))|^Qt(Gui|Widgets)")


def folder_of(path):
    parts = path.split("/")
    for n in range(len(parts) - 1, 0, -1):
        name = "/".join(parts[:n])
        if name in ALLOWED:
            return name
    return None


def closure(start):
    seen, todo = set(), [start]
    while todo:
        for to in ALLOWED.get(todo.pop(), []):
            if to not in seen:
                seen.add(to)
                todo.append(to)
    return seen


def circle(edges):
    state = {}

    def visit(node, trail):
        state[node] = 1
        for to in sorted(edges.get(node, ())):
            if state.get(to) == 1:
                return trail + [node, to]
            if to not in state:
                found = visit(to, trail + [node])
                if found:
                    return found
        state[node] = 2
        return None

    for node in sorted(edges):
        if node not in state:
            found = visit(node, [])
            if found:
                return found
    return None


def main():
    sources = [f for f in tree.files(".h", ".cpp") if not f.startswith(("tests/", "bench/"))]
    owner, faults = {}, []
    for path in sources:
        if folder_of(path) is None:
            faults.append(f"{path}: in no known folder")
        elif path.endswith(".h"):
            name = os.path.basename(path)
            if name in owner and not path.startswith("service/"):
                faults.append(f"{path}: a second header named {name} (the first is {owner[name]})")
            owner.setdefault(name, path)
    edges = {}
    dialog_users = set()
    for path in sources:
        here = folder_of(path)
        if here is None:
            continue
        reach = closure(here)
        for kind, name in tree.INCLUDE.findall(tree.read(path)):
            base = os.path.basename(name)
            if kind == "<":
                if here in NO_QT and re.match(r"Q[A-Z]|Qt", base):
                    faults.append(f"{path}: {here} knows no Qt, but includes {name}")
                if here in CORE_ONLY and WIDGETS.match(base):
                    faults.append(f"{path}: {here} knows Qt Core alone, but includes {name}")
                continue
            if base.endswith(".moc"):
                continue
            sibling = os.path.normpath(os.path.join(os.path.dirname(path), name))
            target = sibling if os.path.exists(os.path.join(tree.TOP, sibling)) else owner.get(base)
            if target is None:
                faults.append(f"{path}: includes {name}, which is not in the tree")
                continue
            there = folder_of(target)
            if there == here:
                continue
            edges.setdefault(here, set()).add(there)
            if here == "app/config" and there == "ui/dialogs":
                dialog_users.add(path)
            if there not in reach:
                faults.append(f"{path}: {here} may not know {there} ({name})")
    if len(dialog_users) > 1:
        faults.append("more than one file of app/config opens dialogs: " + ", ".join(sorted(dialog_users)))
    loop = circle(edges)
    if loop:
        faults.append("a circle: " + " -> ".join(loop))
    return tree.report(faults, f"include graph of {len(sources)} files")


if __name__ == "__main__":
    sys.exit(main())
