#!/usr/bin/env python3
"""A service that answers with nonsense: the real client neither crashes nor hangs, and still ends when asked to."""
import concurrent.futures
import json
import os
import socketserver
import sys
import threading
import time

import rig as rigs
from rig import Failure

SESSION = {"username": "demo", "access_id": "a", "access_token": "t", "asperauser": "u", "asperapasswd": "cA==",
           "asperatcpport": "1", "authentication": True}
PROFILE = {"username": "demo", "nickname": "Demo", "mobile": "1", "email": "d@example", "icon": "icons/me.png",
           "path": "/"}
ITEM = {"name": "a.exr", "type": 0, "size": 5, "icon": "icons/file/image.png", "datetime": 1, "modifiedTime": 1,
        "path": "/a.exr", "contentType": "image/x-exr"}


def good(path, base):
    """What a sane service answers."""
    name = path.split("?")[0]
    if name.endswith("auth/login"):
        return SESSION
    if name.endswith("subcenters"):
        return {"subCenters": [{"id": "1", "name": "One", "orv": base + "/sc/1", "icon": "icons/1.png",
                                "udtServer": [{"ip": "127.0.0.1", "port": "9"}], "asperaServer": []}]}
    if name.endswith("/storage"):
        return {"storage": {"used": 1, "quota": 10}}
    if name.endswith("/path"):
        return {"path": "/"}
    if "/users/" in name:
        return PROFILE
    if name.endswith("limits"):
        return {"transferTypes": {"default": "ZPDT", "ZPDT": "ZPDT"}, "available": True,
                "transferRateLimit": {"upload": 1, "download": 1}}
    if name.endswith("ads"):
        return {"ads": [{"postTime": "1", "title": "t", "jumpLink": "http://127.0.0.1/", "content": "c"}]}
    if name.endswith("transfer-tickets"):
        return {"ticket": "x", "expires": 1, "fingerprint": "00", "host": "127.0.0.1", "port": 9}
    return {"items": [ITEM]}


def twisted(value):
    """The same shape with every value of another type."""
    if isinstance(value, dict):
        return {k: twisted(v) for k, v in value.items()}
    if isinstance(value, list):
        return {"0": twisted(value[0])} if value else 7
    if isinstance(value, bool):
        return "perhaps"
    if isinstance(value, str):
        return [1e308, None]
    return {"n": "x"}


def extremes(value):
    if isinstance(value, dict):
        return {k: extremes(v) for k, v in value.items()}
    if isinstance(value, list):
        return [extremes(v) for v in value] + [None, 5, "x", []]
    if isinstance(value, bool):
        return value
    if isinstance(value, str):
        return "%1 %n \u0000\u202e<img src=x>" + "\U0001F600" * 3000
    return -1e300


def reply(body, status="200 OK", length=None, kind="application/json"):
    return (f"HTTP/1.1 {status}\r\nArkvale-Protocol: 1\r\nContent-Type: {kind}\r\n"
            f"Content-Length: {len(body) if length is None else length}\r\n\r\n").encode() + body


def as_json(value):
    return json.dumps(value).encode()


# What a kind of nonsense sends for a request, and whether the connection ends with it.
KINDS = {
    "garbage": lambda sane: (reply(bytes(range(256)) * 8), False),
    "not http": lambda sane: (os.urandom(2000), True),
    "wrong types": lambda sane: (reply(as_json(twisted(sane))), False),
    "extremes": lambda sane: (reply(as_json(extremes(sane))), False),
    "array": lambda sane: (reply(as_json([sane, sane])), False),
    "deep nesting": lambda sane: (reply(b'{"items":' * 60000 + b"1" + b"}" * 60000), False),
    "deep arrays": lambda sane: (reply(b'{"items":' + b"[" * 200000), False),
    "nothing": lambda sane: (b"", True),
    "empty": lambda sane: (reply(b""), False),
    "half": lambda sane: (reply(as_json(sane)[:20], length=4000), True),
    "huge promise": lambda sane: (reply(as_json(sane), length=1 << 40), True),
    "twice": lambda sane: (reply(as_json(sane)) * 2, False),
    "error 500": lambda sane: (reply(b'{"error":"no"}', "500 No"), False),
    "expired": lambda sane: (reply(b'{"error":"session"}', "401 No"), False),
    "loop": lambda sane: (b"HTTP/1.1 302 Found\r\nLocation: ?again\r\nContent-Length: 0\r\n\r\n", False),
}


class Nonsense(socketserver.ThreadingTCPServer):
    """Sane until the point, nonsense of one kind after it."""
    allow_reuse_address = True
    daemon_threads = True

    def __init__(self, kind, after_login):
        self.kind, self.after_login = kind, after_login
        self.asked = 0
        super().__init__(("127.0.0.1", 0), Talk)
        self.base = f"http://127.0.0.1:{self.server_address[1]}/api/v1"
        threading.Thread(target=self.serve_forever, daemon=True).start()


class Talk(socketserver.StreamRequestHandler):
    def handle(self):
        while True:
            try:
                line = self.rfile.readline(65536).decode("latin-1").split()
                length = 0
                while True:
                    header = self.rfile.readline(65536)
                    if header in (b"\r\n", b"\n", b""):
                        break
                    if header.lower().startswith(b"content-length:"):
                        length = int(header.split(b":")[1])
                self.rfile.read(length)
                if len(line) < 2:
                    return
                sane = good(line[1], self.server.base)
                early = line[1].endswith(("auth/login", "subcenters")) or (
                    "/users/" in line[1] and line[1].split("?")[0].endswith(("demo", "/path")))
                end = False
                if early and self.server.after_login:
                    answer = reply(as_json(sane))
                else:
                    self.server.asked += 1
                    answer, end = KINDS[self.server.kind](sane)
                self.wfile.write(answer)
                self.wfile.flush()
                if end:
                    return
            except OSError:
                return


def one(kind, after_login):
    with rigs.Rig() as rig, Nonsense(kind, after_login) as service:
        rig.http = service.base
        source = os.path.join(rig.folder, "source")
        rigs.write(f"{source}/a.bin", b"a")
        client = rig.start_client("-user", "demo", "-pass", "demo", "-sc", "1", "-m", "0", "-fl", "a.bin", "-l", source,
                                  "-r", "/x")
        rigs.wait_for(lambda: service.asked or client.poll() is not None, 30, f"{kind}: the client asks")
        end = time.monotonic() + (3 if after_login else 1.5)  # less is asked for before the login
        while time.monotonic() < end:
            if client.poll() is not None:
                raise Failure(f"{kind}, after login {after_login}: the client ended with {client.returncode}: "
                              + rig.log_of(client)[-3000:])
            time.sleep(0.1)
        rig.stop_client(client)
        if "ERROR: " in rig.log_of(client) or "runtime error" in rig.log_of(client):
            raise Failure(f"{kind}: {rig.log_of(client)}")


def replies(_):
    with concurrent.futures.ThreadPoolExecutor(4) as pool:
        jobs = {pool.submit(one, kind, late): (kind, late) for kind in KINDS for late in (False, True)}
        failures = [f"{jobs[job]}: {job.exception()}" for job in concurrent.futures.as_completed(jobs)
                    if job.exception()]
    if failures:
        raise Failure("\n".join(failures))


if __name__ == "__main__":
    sys.exit(rigs.main({"hostile_replies": replies}))
