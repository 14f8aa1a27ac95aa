"""A browser without a window, driven through its DevTools protocol."""
import asyncio
import contextlib
import itertools
import json
import os
import shutil
import subprocess
import threading

import websockets

from rig import Failure, wait_for


class Loop:
    """An event loop on a thread of its own, so that tests can be written one step after the other."""

    def __init__(self):
        self.loop = asyncio.new_event_loop()
        self.thread = threading.Thread(target=self.loop.run_forever, daemon=True)
        self.thread.start()

    def run(self, coroutine, seconds=30):
        return asyncio.run_coroutine_threadsafe(coroutine, self.loop).result(seconds)

    def stop(self):
        self.loop.call_soon_threadsafe(self.loop.stop)
        self.thread.join(10)


class Tab:
    """One tab; expressions are evaluated in its page."""

    def __init__(self, browser, address):
        self.browser = browser
        self.target = browser.call("Target.createTarget", {"url": "about:blank"})["targetId"]
        self.session = browser.call("Target.attachToTarget", {"targetId": self.target, "flatten": True})["sessionId"]
        self.go(address)

    def go(self, address):
        self.browser.call("Page.navigate", {"url": address}, self.session)
        self.wait("document.readyState === 'complete' && location.href !== 'about:blank'", "the page is loaded")

    def reload(self):
        self.eval("window.old = true")
        self.browser.call("Page.reload", {}, self.session)
        self.wait("!window.old && document.readyState === 'complete'", "the page is loaded again")

    def eval(self, expression):
        answer = self.browser.call("Runtime.evaluate", {"expression": expression, "returnByValue": True,
                                                        "awaitPromise": True, "userGesture": True}, self.session)
        if "exceptionDetails" in answer:
            raise Failure(f"{expression}: {answer['exceptionDetails']}")
        return answer["result"].get("value")

    def wait(self, expression, what, seconds=30):
        try:
            return wait_for(lambda: self.eval(expression), seconds, what)
        except Failure as failure:
            seen = self.eval("document.body.innerText.slice(0, 600)")
            raise Failure(f"{failure}; the page shows: {seen!r}")

    def click(self, selector):
        self.wait(f"!!document.querySelector({json.dumps(selector)})", f"{selector} is there")
        self.eval(f"document.querySelector({json.dumps(selector)}).click()")

    def fill(self, selector, text):
        self.eval(f"document.querySelector({json.dumps(selector)}).value = {json.dumps(text)}")

    def close(self):
        self.browser.call("Target.closeTarget", {"targetId": self.target})


class Browser:
    def __init__(self, folder):
        program = shutil.which("chromium")
        if not program:
            raise Failure("chromium is not installed (./dev setup)")
        profile = os.path.join(folder, "browser")
        self.log = open(os.path.join(folder, "browser.log"), "w")
        self.process = subprocess.Popen(
            [program, "--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", "--no-first-run",
             "--disable-background-networking", "--disable-component-update", "--disable-sync", "--disable-extensions",
             "--window-size=1200,800", "--remote-debugging-port=0", f"--user-data-dir={profile}", "about:blank"],
            stdout=self.log, stderr=self.log, env={**os.environ, "HOME": profile})
        self.loop = Loop()
        self.ids = itertools.count(1)
        self.answers = {}
        port_file = os.path.join(profile, "DevToolsActivePort")

        def address():
            if self.process.poll() is not None:
                raise Failure(f"the browser ended with {self.process.returncode}")
            lines = open(port_file).read().split() if os.path.exists(port_file) else []
            return f"ws://127.0.0.1:{lines[0]}{lines[1]}" if len(lines) > 1 else None

        self.socket = self.loop.run(self.connect(wait_for(address, 60, "the browser starts")))

    async def connect(self, address):
        socket = await websockets.connect(address, max_size=1 << 26, ping_interval=None)
        asyncio.ensure_future(self.read(socket))
        return socket

    async def read(self, socket):
        try:
            async for text in socket:
                message = json.loads(text)
                waiting = self.answers.pop(message.get("id"), None)
                if waiting and not waiting.done():
                    waiting.set_result(message)
        except websockets.ConnectionClosed:
            pass

    async def ask(self, message):
        waiting = asyncio.get_running_loop().create_future()
        self.answers[message["id"]] = waiting
        await self.socket.send(json.dumps(message))
        return await waiting

    def call(self, method, parameters, session=None):
        message = {"id": next(self.ids), "method": method, "params": parameters}
        if session:
            message["sessionId"] = session
        answer = self.loop.run(self.ask(message))
        if "error" in answer:
            raise Failure(f"{method}: {answer['error']}")
        return answer["result"]

    def stop(self):
        with contextlib.suppress(Exception):  # a browser that is gone already
            self.loop.run(self.socket.close(), 5)
        self.process.terminate()
        try:
            self.process.wait(10)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()
        self.loop.stop()
        self.log.close()
