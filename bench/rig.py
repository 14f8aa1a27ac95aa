"""What the transfer benchmarks share: a service of its own, signed requests, tickets, and CPU time of a process."""
import base64
import hashlib
import hmac
import json
import os
import shlex
import shutil
import statistics
import subprocess
import sys
import tempfile
import threading
import time
import urllib.request
import uuid

BIN = os.environ.get("ARKVALE_BIN", os.path.join(os.path.dirname(__file__), "..", "build", "bench", "bin"))
NICE = ["nice", "-n", "-10"] if os.geteuid() == 0 else []


def over_line(line, command):
    """Runs a command at the near end of an emulated line, "DELAY-MS MBIT LOSS"; its exit status."""
    delay, rate, loss = line.split()
    emulator = os.environ.get("LINKEMU", f"{BIN}/linkemu")
    script = os.environ.get("WAN", os.path.join(os.path.dirname(__file__), "line", "wan.sh"))
    return subprocess.run([script, "--time", "3600", "--delay", delay, "--rate", rate, "--loss", loss, "--",
                           "sleep 4000", " ".join(map(shlex.quote, command))],
                          env={**os.environ, "LINKEMU": emulator}).returncode


def sign(method, target, access, token, user, body=b""):
    """Headers of a signed request; target is path and query as they are sent."""
    path, _, query = target.partition("?")
    stamp, nonce = str(int(time.time() * 1000)), uuid.uuid4().hex
    digest = hashlib.sha256(body).hexdigest()
    text = "\n".join((method, path, query, stamp, nonce, digest))
    return {"Arkvale-User": user, "Arkvale-Access": access, "Arkvale-Time": stamp, "Arkvale-Nonce": nonce,
            "Arkvale-Digest": digest,
            "Arkvale-Signature": hmac.new(token, text.encode(), hashlib.sha256).hexdigest()}


class Service:
    """The companion service with the demo user, in a folder that goes with it."""

    def __init__(self, folder=None, line=False):
        """With line, at the far end of the emulated line that this process is on."""
        self.host, self.there = "127.0.0.1", []
        if line:
            self.host = os.environ["WAN_SERVER_IP"]
            here = subprocess.run(["ip", "netns", "identify"], stdout=subprocess.PIPE, text=True, check=True).stdout
            self.there = ["ip", "netns", "exec", here.strip().replace("wanA", "wanB")]
        self.folder = tempfile.mkdtemp(prefix="arkvale-bench-", dir=folder or os.environ.get("ARKVALE_BENCH_DIR"))

    def __enter__(self):
        self.port = 0
        self.start()
        self.user = self.ask("POST", "auth/login", {"username": "demo", "password": "demo", "version": "1"})
        return self

    def start(self):
        """Starts the service, on the same port after the first time."""
        ready = os.path.join(self.folder, "ready")
        if os.path.exists(ready):
            os.remove(ready)
        self.process = subprocess.Popen([*self.there, *NICE, f"{BIN}/arkvale-service", "--demo", f"{self.folder}/data",
                                         "--port", str(self.port), "--listen", self.host, "--ready-file", ready],
                                        stdout=subprocess.DEVNULL, stderr=open(f"{self.folder}/service.log", "a"))
        while not os.path.exists(ready):
            if self.process.poll() is not None:
                sys.exit(f"the service did not start: {open(self.folder + '/service.log').read()[-500:]}")
            time.sleep(0.02)
        self.http = json.load(open(ready))["http"]
        self.port = int(self.http.split(":")[2].split("/")[0])

    def __exit__(self, *_):
        self.process.terminate()
        self.process.wait()
        shutil.rmtree(self.folder, ignore_errors=True)

    def ask(self, method, path, body=None, headers=None):
        data = json.dumps(body).encode() if body is not None else b""
        request = urllib.request.Request(f"{self.http}/{path}", data or None, headers or {}, method=method)
        with urllib.request.urlopen(request) as answer:
            return json.load(answer)

    def target(self, path):
        """The path of a request as it is signed."""
        return "/" + self.http.split("/", 3)[3] + "/" + path

    def signed(self, method, path):
        user = self.user
        return sign(method, self.target(path), user["access_id"], user["access_token"].encode(), "demo")

    def ticket(self, direction, path, center="1"):
        body = {"direction": direction, "path": path}
        where = f"sc/{center}/transfer-tickets"
        headers = sign("POST", self.target(where), self.user["asperauser"],
                       base64.b64decode(self.user["asperapasswd"]), "demo", json.dumps(body).encode())
        return self.ask("POST", where, body, headers)

    def home(self, center="1"):
        """The folder on the disk that is the demo user's drive."""
        for at, folders, _ in os.walk(os.path.join(self.folder, "data", "centers", center)):
            if "demo" in folders:
                return os.path.join(at, "demo")
        sys.exit("the demo user's folder was not found")

    def cpu(self):
        """Seconds of CPU that the service has used."""
        fields = open(f"/proc/{self.process.pid}/stat").read().rsplit(")", 1)[1].split()
        return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")

    def move(self, up, remote, local, names, port=None, prefix=(), udp=False, goal=None):
        """One transfer by bench_wire; its figures, with the service's CPU time besides. goal: "fixed 200", Mbit/s."""
        ticket = self.ticket("upload" if up else "download", remote)
        extra = {"BENCH_UDP_KEY": ticket["udpKey"]} if udp else {}
        port = ticket["udpPort"] if udp else port
        if goal:
            extra["BENCH_GOAL"] = goal
        before = self.cpu()
        done = subprocess.run([*NICE, *prefix, f"{BIN}/bench_wire", "up" if up else "down", ticket["host"],
                               str(port or ticket["port"]), ticket["fingerprint"], ticket["ticket"], local, *names],
                              stdout=subprocess.PIPE, text=True, env={**os.environ, **extra})
        figures = json.loads(done.stdout)
        figures["serviceCpu"] = self.cpu() - before
        if done.returncode:
            sys.exit(f"the transfer failed: {figures}")
        return figures


class Engine:
    """The transfer engine in a process of its own, driven line by line. Everything that it tells is in `told`."""

    def __init__(self, service, speed=1000000, center="1", **config):
        self.process = subprocess.Popen(NICE + [f"{BIN}/bench_engine"], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                        text=True, env=dict(os.environ, XDG_CACHE_HOME=f"{service.folder}/cache"))
        self.told = []
        self.lock = threading.Condition()
        threading.Thread(target=self.listen, daemon=True).start()
        user = service.user
        self.order(config=dict({"http": service.http, "user": "demo", "access": user["asperauser"], "center": center,
                                "token": base64.b64decode(user["asperapasswd"]).decode(), "speed": speed}, **config))

    def listen(self):
        for line in self.process.stdout:
            with self.lock:
                self.told.append(dict(json.loads(line), at=time.monotonic()))
                self.lock.notify_all()

    def order(self, **what):
        try:
            self.process.stdin.write(json.dumps(what) + "\n")
            self.process.stdin.flush()
        except BrokenPipeError:
            pass

    def last(self, event, **fields):
        with self.lock:
            return next((e for e in reversed(self.told) if e["event"] == event and
                         all(e[k] == v for k, v in fields.items())), None)

    def wait(self, condition, seconds):
        """Whether the condition held within that time; it is looked at whenever the engine tells something."""
        end = time.monotonic() + seconds
        while not condition():
            with self.lock:
                left = end - time.monotonic()
                if left <= 0:
                    return False
                self.lock.wait(min(left, 0.1))
        return True

    def finished(self):
        with self.lock:
            return {e["path"]: e["status"] for e in self.told if e["event"] == "finished"}

    def kill(self):
        self.process.kill()
        self.process.wait()

    def stop(self):
        if self.process.poll() is None:
            self.process.stdin.close()
            self.process.wait()


def alone():
    """Runs this script again in a network of its own, whose counters then count its bytes and no others."""
    if "ARKVALE_ALONE" in os.environ:
        subprocess.run(["ip", "link", "set", "lo", "up"], check=True)
        return True
    how = ["unshare", "-n"] if os.geteuid() == 0 else ["unshare", "-rn"]
    if subprocess.run(how + ["true"], stderr=subprocess.DEVNULL).returncode == 0:
        os.environ["ARKVALE_ALONE"] = "1"
        os.execvp(how[0], how + [sys.executable] + sys.argv)
    return False


def wire():
    """Bytes that have passed the loopback."""
    with open("/proc/self/net/dev") as f:
        return next(int(line.split(":")[1].split()[8]) for line in f if line.strip().startswith("lo:"))


def median(rows, key):
    return statistics.median(row[key] for row in rows)
