"""The rig of the end-to-end tests: a real service and the real client on this machine, and trees of files to compare."""
import contextlib
import json
import os
import shutil
import signal
import sqlite3
import subprocess
import sys
import tempfile
import time

BIN = os.environ.get("ARKVALE_BIN", "")


class Failure(Exception):
    """The test failed, with a sentence that says why."""


def wait_for(condition, seconds, what):
    """Polls until the condition holds and gives its value."""
    end = time.monotonic() + seconds
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > end:
            raise Failure(f"{what}: not within {seconds} s")
        time.sleep(0.1)


class Skipped(Exception):
    """The test cannot run here, with the reason."""


class Rig:
    """A folder of its own with a service, and clients that use it. Everything ends with the rig."""

    def __init__(self):
        self.folder = tempfile.mkdtemp(prefix="arkvale-e2e-", dir=os.environ.get("ARKVALE_E2E_DIR"))
        self.data = os.path.join(self.folder, "data")
        self.home = os.path.join(self.folder, "home")
        self.service = None
        self.http = None
        self.port = 0
        self.screen = None
        self.clients = []

    def __enter__(self):
        return self

    def __exit__(self, *failure):
        self.end_clients()
        if self.service and self.service.poll() is None:
            self.service.kill()
            self.service.wait()
        if failure[0]:
            for folder, _, files in os.walk(self.folder):
                for name in files[:20] if "/data/centers" not in folder and "/browser" not in folder else ():
                    print(f"{folder}/{name} {os.lstat(os.path.join(folder, name)).st_size}", file=sys.stderr)
            for name in sorted(os.listdir(self.folder)):
                if name.endswith(".log"):
                    with open(os.path.join(self.folder, name), errors="replace") as f:
                        print(f"--- {name}\n{f.read()[-4000:]}", file=sys.stderr)
        if not os.environ.get("ARKVALE_E2E_KEEP"):
            shutil.rmtree(self.folder, ignore_errors=True)

    def end_clients(self):
        for client in self.clients:
            client.kill()
            client.wait()

    def quota(self, size):
        """Gives the demo user so much room in sub-center 1."""
        subprocess.run([f"{BIN}/arkvale-service", "set-quota", "demo", "1", size, "--data", self.data], check=True,
                       stdout=subprocess.DEVNULL)

    def start_service(self):
        """Starts the service on the same data, and on the same port after the first time."""
        ready = os.path.join(self.folder, "ready")
        if os.path.exists(ready):
            os.remove(ready)
        log = open(os.path.join(self.folder, "service.log"), "a")
        self.service = subprocess.Popen([f"{BIN}/arkvale-service", "--demo", self.data, "--port", str(self.port),
                                         "--ready-file", ready], stdout=log, stderr=log)

        def said():
            if self.service.poll() is not None:
                raise Failure(f"the service ended with {self.service.returncode}")
            return os.path.exists(ready) and open(ready).read().strip()

        answer = json.loads(wait_for(said, 60, "the service says its address"))
        self.http = answer["http"]
        self.port = int(self.http.split(":")[2].split("/")[0])
        return answer

    def stop_service(self, kind=signal.SIGTERM):
        self.service.send_signal(kind)
        try:
            self.service.wait(20)
        except subprocess.TimeoutExpired:
            raise Failure("the service did not stop within 20 s")
        return self.service.returncode

    def settings(self, change=None):
        """Writes the client's settings folder; change(text) may spoil the settings file."""
        folder = os.path.join(self.folder, "Config")
        os.makedirs(folder, exist_ok=True)
        for name in os.listdir(f"{BIN}/Config"):
            shutil.copy(f"{BIN}/Config/{name}", folder)
        path = os.path.join(folder, "arkvale.ini")
        with open(path, encoding="utf-8") as f:
            settings = json.load(f)
        settings["Auth"] = self.http or "http://127.0.0.1:9/api/v1"
        settings["ListSubCenter"] = settings["Auth"] + "/subcenters"
        settings["WSSProt"] = 0
        text = json.dumps(settings, ensure_ascii=False, indent=4)
        with open(path, "w", encoding="utf-8") as f:
            f.write(change(text) if change else text)
        return folder

    def target_speed(self, kilobytes):
        """Sets the demo user's target speed, in KB/s, for every sub-center (without, it is 2048)."""
        folder = os.path.join(self.home, "config", "ArkvaleTolma", "Users", "demo")
        os.makedirs(folder, mode=0o700)
        shutil.copy(f"{BIN}/Config/ArkvaleTolma", folder)
        speeds = [{"SubCenterId": center, "UploadTargetSpeed": kilobytes, "DownloadTargetSpeed": kilobytes,
                   "TransferType": "ZPDT", "TransferUpMode": "fair", "TransferDownMode": "fair"} for center in "123"]
        with contextlib.closing(sqlite3.connect(os.path.join(folder, "ArkvaleTolma"))) as database, database:
            database.execute('insert into tb_user_info ("key", "value") values (?, ?)',
                             ("TargetSpeed", json.dumps(speeds)))

    def environment(self, config, home):
        for name in ("run", "config", "state"):
            os.makedirs(os.path.join(home, name), mode=0o700, exist_ok=True)
        env = dict(os.environ)
        env.update({"ARKVALE_CONFIG_DIR": config, "HOME": home, "LC_ALL": "C.UTF-8", "XDG_CONFIG_HOME": f"{home}/config",
                    "XDG_CACHE_HOME": f"{home}/cache",
                    "XDG_STATE_HOME": f"{home}/state", "XDG_DATA_HOME": f"{home}/data",
                    "XDG_RUNTIME_DIR": f"{home}/run", "TMPDIR": f"{home}/run"})
        env.setdefault("QT_QPA_PLATFORM", "offscreen")
        if self.screen:
            env.update({"QT_QPA_PLATFORM": "xcb", "DISPLAY": self.screen})
        return env

    def start_client(self, *arguments, change=None, program="ArkvaleTolma", home=None, **pipes):
        """The home is the rig's own, or that of another person on the same machine."""
        log = open(os.path.join(self.folder, f"client{len(self.clients)}.log"), "w")
        client = subprocess.Popen([f"{BIN}/{program}", *arguments], stderr=log, **{"stdout": log, **pipes},
                                  env=self.environment(self.settings(change), home or self.home))
        client.log_path = log.name
        self.clients.append(client)
        return client

    def stop_client(self, client):
        """Ends the client as a session manager would; it must end by itself and cleanly."""
        if client.poll() is not None:
            raise Failure(f"the client had ended with {client.returncode}")
        client.send_signal(signal.SIGTERM)
        try:
            client.wait(20)
        except subprocess.TimeoutExpired:
            raise Failure("the client did not end within 20 s of SIGTERM")
        if client.returncode != 0:
            raise Failure(f"the client ended with {client.returncode}")

    def log_of(self, client):
        with open(client.log_path, errors="replace") as f:
            return f.read()


ODD_NAMES = ["with blanks .txt", "quote'and\"double\".bin", "per%1cent%2.dat", "new\nline.txt", "smile \U0001F600.png",
             "\u6e32\u67d3\u573a\u666f.ma", "x" * 251 + ".bin", "\u0301combining.txt", "-dash", "semi;colon&amp.txt", "tab\there",
             "trailing.", "#hash?query=1"]


def write(path, content):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "wb") as f:
        f.write(content)


def make_tree(top, small_files=2000):
    """A tree with everything that has ever gone wrong."""
    write(f"{top}/empty.bin", b"")
    write(f"{top}/one.bin", b"x")
    os.makedirs(f"{top}/odd/empty folder", exist_ok=True)
    for at, name in enumerate(ODD_NAMES):
        write(f"{top}/odd/{name}", f"content {at}".encode() * (at + 1))
    for edge in (262143, 262144, 262145, 1048575, 1048576, 1048577, 5 * 1048576 + 1):
        write(f"{top}/edges/{edge}.bin", os.urandom(edge))
    for at in range(small_files):
        write(f"{top}/small/{at % 20:02d}/frame.{at:05d}.exr", os.urandom(64 + at % 4000))
    deep = f"{top}/deep"
    for at in range(40):
        deep += f"/level {at}"
    write(f"{deep}/bottom.txt", b"down here")


def same_bytes(a, b):
    with open(a, "rb", buffering=0) as first, open(b, "rb", buffering=0) as second:
        while True:
            part = first.read(1 << 22)
            if part != second.read(1 << 22):
                return False
            if not part:
                return True


def listing(top):
    """Relative path -> kind, size and modification time in milliseconds."""
    out = {}
    for folder, folders, files in os.walk(top):
        for name in folders:
            out[os.path.relpath(os.path.join(folder, name), top)] = ("folder",)
        for name in files:
            path = os.path.join(folder, name)
            try:
                info = os.lstat(path)
            except FileNotFoundError:
                continue  # a file in flight that has just got its name
            out[os.path.relpath(path, top)] = ("file", info.st_size, info.st_mtime_ns // 1000000)
    return out


def same(a, b):
    """Whether two trees agree in names, sizes and times; the contents are compared by compare()."""
    return os.path.isdir(b) and listing(a) == listing(b)


def compare(a, b):
    """Raises a Failure when two trees differ in any name, size, time or byte."""
    first, second = listing(a), listing(b)
    if first != second:
        absent = sorted(set(first) - set(second))[:5]
        extra = sorted(set(second) - set(first))[:5]
        other = [(k, first[k], second[k]) for k in first if k in second and first[k] != second[k]][:5]
        raise Failure(f"trees differ: absent {absent}, extra {extra}, other {other}")
    for name, kind in first.items():
        if kind[0] == "file" and not same_bytes(os.path.join(a, name), os.path.join(b, name)):
            raise Failure(f"{name!r} differs in content")


def main(cases):
    """Runs the case that the command line names."""
    name = sys.argv[1] if len(sys.argv) > 1 else ""
    if name not in cases:
        print("cases: " + " ".join(sorted(cases)))
        return 2
    begin = time.monotonic()
    try:
        with Rig() as rig:
            cases[name](rig)
    except Skipped as reason:
        print(f"{name}: skipped, {reason}")
        return 77
    except Failure as failure:
        print(f"{name}: {failure}")
        return 1
    print(f"{name}: passed in {time.monotonic() - begin:.1f} s")
    return 0
