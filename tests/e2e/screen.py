"""A virtual screen on which the client runs and is used as by a person."""
import contextlib
import mmap
import os
import struct
import subprocess
import time

from rig import Failure, wait_for


class Screen:
    """A virtual screen with a window manager."""

    def __init__(self, folder):
        read, write = os.pipe()
        quiet = {"stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL}
        self.folder = os.path.join(folder, "screen")
        os.makedirs(self.folder, exist_ok=True)
        self.server = subprocess.Popen(["Xvfb", "-displayfd", str(write), "-screen", "0", "1280x800x24",
                                        "-fbdir", self.folder], pass_fds=[write], **quiet)
        os.close(write)
        with os.fdopen(read) as told:
            number = told.readline().strip()
        if not number:
            raise Failure("no virtual screen")
        self.env = {**os.environ, "DISPLAY": f":{number}", "HOME": folder}
        self.manager = subprocess.Popen(["openbox"], env=self.env, **quiet)

    @classmethod
    @contextlib.contextmanager
    def shown(cls, rig):
        """A screen that the rig's clients are shown on; they end with it."""
        screen = cls(rig.folder)
        rig.screen = screen.env["DISPLAY"]
        try:
            yield screen
        finally:
            rig.end_clients()
            screen.stop()

    def stop(self):
        for process in (self.manager, self.server):
            process.terminate()
            process.wait()

    def rows(self):
        """The rows of pixels that the screen shows now, as the server has them in memory."""
        with open(os.path.join(self.folder, "Xvfb_screen0"), "rb") as f, \
                mmap.mmap(f.fileno(), 0, access=mmap.ACCESS_READ) as picture:
            header = struct.unpack(">25I", picture[:100])
            start, height, line = header[0] + 12 * header[19], header[5], header[12]
            return [picture[start + at * line:start + (at + 1) * line] for at in range(height)]

    def keys(self, *keys, pause=0.0):
        """Presses keys in the window that has the keyboard."""
        for key in keys:
            self.tool("key", key)
            time.sleep(pause)

    def tool(self, *arguments):
        return subprocess.run(["xdotool", *arguments], env=self.env, capture_output=True, text=True).stdout.split()

    def windows(self, name):
        return self.tool("search", "--onlyvisible", "--name", name)

    def window(self, name, seconds=20):
        return wait_for(lambda: self.windows(name), seconds, f"the window \"{name}\" opens")[-1]

    def answer(self, name, text, field=None):
        """Types into a dialog and presses Enter until it is gone; the field's place, from the lower left corner, where it
        does not have the keyboard by itself."""
        window = self.window(name)
        self.tool("windowactivate", "--sync", window)
        time.sleep(0.3)
        if field:
            height = int(self.tool("getwindowgeometry", "--shell", window)[4].split("=")[1])
            self.tool("mousemove", "--window", window, str(field[0]), str(height - field[1]), "click", "1")
        self.tool("key", "--window", window, "ctrl+a")
        self.tool("type", "--delay", "1", text)
        for _ in range(3):
            self.tool("key", "Return")
            time.sleep(0.5)
            if not self.windows(name):
                return
        raise Failure(f"the dialog \"{name}\" did not take {text!r}")
