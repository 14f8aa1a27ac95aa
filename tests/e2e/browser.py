#!/usr/bin/env python3
"""The service's web page in a real browser drives the real client: login, transfers, switching of users, and what goes
wrong in the middle. The client runs on a screen of its own, whose dialogs are answered as a person would."""
import os
import socket
import sys
import time

import rig as rigs
from devtools import Browser, Tab
from rig import Failure, wait_for
from screen import Screen


class World:
    def __init__(self, rig):
        self.rig = rig
        rig.start_service()
        rig.target_speed(100000)
        with socket.socket() as probe:
            probe.bind(("127.0.0.1", 0))
            self.port = probe.getsockname()[1]
        self.screen = Screen(rig.folder)
        self.browser = None
        try:
            self.browser = Browser(rig.folder)
        except BaseException:
            self.stop()
            raise

    def stop(self):
        for client in self.rig.clients:
            client.kill()
            client.wait()
        if self.browser:
            self.browser.stop()
        self.screen.stop()

    def start_client(self):
        """As the system does for a link of the client's scheme."""
        os.environ["QT_QPA_PLATFORM"] = "xcb"
        os.environ["DISPLAY"] = self.screen.env["DISPLAY"]
        return self.rig.start_client("zparkvale://start", change=lambda text: text.replace(
            '"WSSProt": 0', f'"WSSProt": {self.port}'))

    def tab(self, user):
        tab = Tab(self.browser, f"{self.rig.http}/web?port={self.port}")
        self.sign_in(tab, user)
        return tab

    def sign_in(self, tab, user):
        tab.wait("!document.getElementById('sign-in').hidden", "the page asks for a sign-in")
        tab.fill("#name", user)
        tab.fill("#password", user)
        tab.click("#sign-in-form button")
        tab.wait("!document.getElementById('drive').hidden && !!document.querySelector('#list tr')",
                 f"{user} sees the drive")

    def state(self, tab, state, seconds=40):
        tab.wait(f"document.getElementById('client').dataset.state === '{state}'", f"the client is \"{state}\"", seconds)

    def home(self, user="demo"):
        return os.path.join(self.rig.data, "centers", "1", user)

    def open_folder(self, tab, name):
        tab.wait("!!document.querySelector('#list tr')", "the folder is listed")
        found = tab.eval(f"(() => {{ const b = [...document.querySelectorAll('td.folder button')]"
                         f".find(b => b.textContent === '{name}'); if (b) b.click(); return !!b; }})()")
        if not found:
            raise Failure(f"no folder {name} in the page")
        tab.wait(f"document.getElementById('path').textContent.endsWith('{name}')", f"{name} is shown")


def download(world, tab, count):
    """Downloads the first files of the folder that the page shows; gives the target folder."""
    target = os.path.join(world.rig.folder, f"target{count}-{time.monotonic_ns()}")
    os.makedirs(target)
    names = tab.eval(f"(() => {{ const boxes = [...document.querySelectorAll('.one')].filter(b => b.item.type !== 1)"
                     f".slice(0, {count}); boxes.forEach(b => b.click()); return boxes.map(b => b.item.name); }})()")
    folder = tab.eval("path").strip("/")
    tab.click("#download")
    world.screen.answer("Select target folder", target)
    wait_for(lambda: sorted(os.listdir(target)) == sorted(names), 40, f"{names} arrive")
    for name in names:
        if not rigs.same_bytes(os.path.join(target, name), os.path.join(world.home(), folder, name)):
            raise Failure(f"{name} differs")
    return target


def upload(world, tab, name):
    source = os.path.join(world.rig.folder, name)
    rigs.write(source, os.urandom(300000))
    folder = tab.eval("path").strip("/")
    tab.click("#upload")
    world.screen.answer("Select file", source, field=(300, 28))
    arrived = os.path.join(world.home(), folder, name)
    wait_for(lambda: os.path.exists(arrived) and os.path.getsize(arrived) == 300000, 40, f"{name} arrives")
    if not rigs.same_bytes(source, arrived):
        raise Failure(f"{name} differs")


def steps(world):
    screen = world.screen
    # Signed in before there is a client: the page finds it when it comes, and logs it in while it stays hidden.
    first = world.tab("demo")
    world.state(first, "off")
    client = world.start_client()
    world.state(first, "ready")
    if screen.windows("NRX Net Disk") or screen.windows("Login"):
        raise Failure("the client is not hidden")
    world.open_folder(first, "Images")
    download(world, first, 2)
    upload(world, first, "from the page.bin")

    # A reload keeps the session and finds the client again.
    first.reload()
    world.state(first, "ready")
    first.wait("document.getElementById('path').textContent.endsWith('Images')", "the folder is still shown")

    # A second tab works beside the first.
    second = world.tab("demo")
    world.state(second, "ready")
    world.open_folder(second, "Images")
    download(world, second, 1)

    # A request whose page is reloaded while the client asks: the client's dialog stays and can be answered.
    second.eval("document.querySelectorAll('.one')[1].click()")
    second.click("#download")
    screen.window("Select target folder")
    second.reload()
    target = os.path.join(world.rig.folder, "late")
    os.makedirs(target)
    screen.answer("Select target folder", target)
    wait_for(lambda: os.listdir(target), 40, "the download goes on without its page")

    # Another user: the page asks, the client signs the first one out and the other one in, hidden again.
    first.close()
    second.click("#sign-out")
    world.sign_in(second, "guest")
    world.state(second, "switching")
    second.click("#switch-yes")
    world.state(second, "ready")
    if screen.windows("Login"):
        raise Failure("the login dialog came up for a switch")
    users = os.path.join(world.rig.home, "config", "ArkvaleTolma", "Users")
    if sorted(os.listdir(users)) != ["demo", "guest"]:
        raise Failure(f"users on the disk: {os.listdir(users)}")

    # The client goes away in the middle and comes back.
    world.rig.stop_client(client)
    world.state(second, "off")
    client = world.start_client()
    world.state(second, "ready")
    second.click("#sign-out")
    second.wait("!document.getElementById('sign-in').hidden", "signed out")
    if second.eval("sessionStorage.getItem('state')"):
        raise Failure("the page kept the session")
    world.rig.stop_client(client)


def page_drives_client(rig):
    """Login, transfers, a second tab, reload, switch of users, and a client that quits."""
    world = World(rig)
    try:
        steps(world)
    finally:
        world.stop()


def page_speaks_languages(rig):
    """The page takes the browser's language, and another one when the person chooses it, which it remembers."""
    world = World(rig)
    try:
        tab = Tab(world.browser, f"{rig.http}/web")

        def speaks(text):
            tab.wait(f"document.querySelector('#sign-in-form button').textContent === '{text}'", f"it says {text}")

        speaks("Sign in")
        agent = tab.eval("navigator.userAgent")
        for languages, text in (("zh-TW,zh;q=0.9", "\u767b\u5165"), ("fr,zh-CN", "\u767b\u5f55"), ("fr", "Sign in")):
            world.browser.call("Emulation.setUserAgentOverride", {"userAgent": agent, "acceptLanguage": languages},
                               tab.session)
            tab.reload()
            speaks(text)
        tab.eval("(() => { const s = document.getElementById('language'); s.value = 'zh-Hans';"
                 " s.dispatchEvent(new Event('change')); })()")
        speaks("\u767b\u5f55")
        tab.reload()
        speaks("\u767b\u5f55")
        tab.fill("#name", "demo")
        tab.fill("#password", "wrong")
        tab.click("#sign-in-form button")
        tab.wait("document.getElementById('sign-in-error').textContent.startsWith('\u7528\u6237\u540d')", "the refusal")
    finally:
        world.stop()


if __name__ == "__main__":
    sys.exit(rigs.main({c.__name__: c for c in (page_drives_client, page_speaks_languages)}))
