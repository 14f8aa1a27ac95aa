#!/usr/bin/env python3
"""The command line moves real trees both ways: the real client against the real service, digests compared on disk."""
import concurrent.futures
import contextlib
import os
import shutil
import signal
import sqlite3
import subprocess
import sys
import time

import rig as rigs
from rig import Failure, wait_for
from screen import Screen


def home_of(rig):
    """The demo user's home in sub-center 1, on the service's disk."""
    return os.path.join(rig.data, "centers", "1", "demo")


def login(rig, *more):
    return rig.start_client("-user", "demo", "-pass", "demo", "-sc", "1", *more)


def upload(rig, source, remote, files=(), folders=()):
    return login(rig, "-m", "0", "-fl", ",".join(files), "-dl", ",".join(folders), "-l", source, "-r", remote)


def download(rig, remote, target, files=(), folders=()):
    return login(rig, "-m", "1", "-fl", ",".join(files), "-dl", ",".join(folders), "-l", target, "-r", remote)


def settled(a, b):
    """No file in flight any more and the same names, sizes and times."""
    return lambda: rigs.same(a, b)


def trees(rig):
    """Everything odd: up in one go, down in one go; existing files are replaced and folders merged."""
    rig.start_service()
    rig.target_speed(100000)
    source = os.path.join(rig.folder, "source")
    rigs.make_tree(f"{source}/tree")
    for name in ("a b.txt", "it's %1.bin", "\u6e32\u67d3.exr"):
        rigs.write(f"{source}/{name}", name.encode() * 1000)
    singles = [n for n in sorted(os.listdir(source)) if n != "tree"]
    remote = os.path.join(home_of(rig), "e2e")
    rigs.write(f"{remote}/a b.txt", b"an older file that is replaced")
    rigs.write(f"{remote}/tree/edges/kept.txt", b"a folder that is merged keeps this")

    client = upload(rig, source, "/e2e", singles + ["", "no such file"], ["tree", ""])
    rigs.write(f"{source}/tree/edges/kept.txt", b"a folder that is merged keeps this")
    shutil.copystat(f"{remote}/tree/edges/kept.txt", f"{source}/tree/edges/kept.txt")
    wait_for(lambda: rigs.listing(source).keys() == rigs.listing(remote).keys(), 120, "the upload")
    rig.stop_client(client)
    # The merged folder was touched on both sides, its own time says nothing.
    for top in (source, remote):
        os.utime(f"{top}/tree/edges", (1, 1))
    rigs.compare(source, remote)

    target = os.path.join(rig.folder, "target")
    client = download(rig, "/e2e", target, singles, ["tree"])
    wait_for(settled(source, target), 120, "the download")
    rig.stop_client(client)
    rigs.compare(source, target)


def huge(rig):
    """More than 4 GiB up and down; the source is sparse, with marks at places where 32-bit numbers end."""
    rig.start_service()
    rig.target_speed(4000000)
    source = os.path.join(rig.folder, "source")
    os.makedirs(source)
    size = (1 << 32) + (64 << 20)
    with open(f"{source}/scene.bin", "wb") as f:
        f.truncate(size)
        for at in (0, (1 << 31) - 3, 1 << 31, (1 << 32) - 3, 1 << 32, size - 9):
            f.seek(at)
            f.write(b"mark %d" % (at % 9))
        f.truncate(size)
    client = upload(rig, source, "/huge", ["scene.bin"])
    remote = os.path.join(home_of(rig), "huge")
    wait_for(lambda: os.path.exists(f"{remote}/scene.bin"), 240, "the upload")
    rig.stop_client(client)
    rigs.compare(source, remote)
    os.remove(f"{source}/scene.bin")
    target = os.path.join(rig.folder, "target")
    client = download(rig, "/huge", target, ["scene.bin"])
    wait_for(lambda: os.path.exists(f"{target}/scene.bin"), 240, "the download")
    rig.stop_client(client)
    rigs.compare(remote, target)


def big_source(rig, size=400 << 20):
    source = os.path.join(rig.folder, "source")
    os.makedirs(source)
    with open(f"{source}/big.bin", "wb") as f:
        block = os.urandom(1 << 20)
        for at in range(size >> 20):
            f.write(at.to_bytes(8, "little") + block[8:])
    return source


def growing(path, least):
    return lambda: any(n.endswith(".ZPDT.cache") and os.stat(os.path.join(path, n)).st_blocks * 512 > least
                       for n in (os.listdir(path) if os.path.isdir(path) else ()))


def service_restart(rig):
    """The service is killed in mid-upload and started again: the running client finishes by itself."""
    rig.start_service()
    rig.target_speed(100000)
    source = big_source(rig)
    remote = os.path.join(home_of(rig), "restart")
    client = upload(rig, source, "/restart", ["big.bin"])
    wait_for(growing(remote, 4 << 20), 30, "the upload begins")
    rig.stop_service(signal.SIGKILL)
    if os.path.exists(f"{remote}/big.bin"):
        raise Failure("the upload was over before the service could be killed")
    time.sleep(2)
    rig.start_service()
    wait_for(settled(source, remote), 60, "the upload after the service came back")
    rig.stop_client(client)
    rigs.compare(source, remote)


def client_killed(rig):
    """The client is killed in mid-download; the next one asked for the same continues; an old file stays till then."""
    rig.start_service()
    rig.target_speed(100000)
    source = big_source(rig)
    home = os.path.join(home_of(rig), "killed")
    os.makedirs(home)
    os.rename(f"{source}/big.bin", f"{home}/big.bin")
    target = os.path.join(rig.folder, "target")
    rigs.write(f"{target}/big.bin", b"the old one")
    client = download(rig, "/killed", target, ["big.bin"])
    wait_for(growing(target, 4 << 20), 30, "the download begins")
    client.kill()
    client.wait()
    with open(f"{target}/big.bin", "rb") as f:
        if f.read(64) != b"the old one":
            raise Failure("the old file was touched before the new one was whole")
    client = download(rig, "/killed", target, ["big.bin"])
    wait_for(settled(home, target), 60, "the download after the kill")
    rig.stop_client(client)
    rigs.compare(home, target)


def records(rig):
    """The transfer tables of the demo user: (unfinished, finished) with status, as lists."""
    path = os.path.join(rig.home, "config", "ArkvaleTolma", "Users", "demo", "ArkvaleTolma")
    with contextlib.closing(sqlite3.connect(path)) as database:
        return [database.execute(f'select "Path", "Status" from {table}').fetchall()
                for table in ("tb_transfer_filelist", "tb_finished_filelist")]


def queue_survives_kills(rig):
    """10,000 files, the client killed three times: it goes on by itself, each file arrives once, the tables agree."""
    rig.start_service()
    rig.target_speed(100000)
    source = os.path.join(rig.folder, "source")
    names = [f"f{at:05d}" for at in range(10000)]
    for at, name in enumerate(names):
        rigs.write(f"{source}/{name}", os.urandom(100 + at * 37 % 5000 if at % 500 else 3 << 20))
    remote = os.path.join(home_of(rig), "queue")

    def arrived():
        """Name -> inode of what is whole; the same inode later means that it was not sent again."""
        with contextlib.suppress(FileNotFoundError):
            with os.scandir(remote) as entries:
                return {e.name: e.inode() for e in entries if not e.name.endswith(".ZPDT.cache")}
        return {}

    client = upload(rig, source, "/queue", names)
    before = {}
    for part in (1, 2, 3):
        wait_for(lambda: len(arrived()) >= len(names) * part // 4, 120, f"a share of {part}/4")
        client.kill()
        client.wait()
        before.update(arrived())
        if len(before) == len(names):
            raise Failure("all was over before the client could be killed")
        client = login(rig)
    wait_for(settled(source, remote), 120, "the rest of the files")
    wait_for(lambda: not records(rig)[0], 15, "the table of unfinished tasks is empty")
    rig.stop_client(client)
    rigs.compare(source, remote)
    again = [name for name, inode in arrived().items() if before.get(name, inode) != inode]
    if again:
        raise Failure(f"{len(again)} files were sent again: {again[:5]}")
    unfinished, finished = records(rig)
    wanted = sorted((f"{source}/{name}", 4096) for name in names)
    if unfinished or sorted(finished) != wanted:
        raise Failure(f"{len(unfinished)} unfinished, {len(finished)} finished in the tables")


class SmallDisk:
    """A disk of a few megabytes in memory."""

    def __init__(self, folder, megabytes):
        os.makedirs(folder, exist_ok=True)
        self.folder = folder
        if subprocess.run(["mount", "-t", "tmpfs", "-o", f"size={megabytes}m", "tmpfs", folder],
                          stderr=subprocess.DEVNULL).returncode:
            raise rigs.Skipped("only root may mount a small disk")

    def __enter__(self):
        return self

    def __exit__(self, *failure):
        subprocess.run(["umount", "-l", self.folder], check=False)

    def grow(self, megabytes):
        subprocess.run(["mount", "-o", f"remount,size={megabytes}m", self.folder], check=True)

    def fill(self):
        """Takes all the room but for less than a megabyte."""
        room = os.statvfs(self.folder)
        with open(os.path.join(self.folder, "filler"), "wb") as f:
            f.write(bytes(max(0, room.f_bavail * room.f_frsize - (700 << 10))))

    def free(self):
        os.remove(os.path.join(self.folder, "filler"))


def cpu_seconds(process):
    with open(f"/proc/{process.pid}/stat") as f:
        fields = f.read().rpartition(")")[2].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def rests_for_want_of_room(rig, screen, client, whole, parts):
    """One dialog, the tasks wait, what arrived is still there, and nobody works hard for nothing."""
    wait_for(lambda: screen.windows("^Tip$"), 60, "the dialog \"Not enough storage\"")
    wait_for(lambda: len([r for r in records(rig)[1] if r[1] == 4096]) >= whole, 20, "what fits is finished")
    time.sleep(5)
    before, arrived = [cpu_seconds(p) for p in (client, rig.service)], parts()
    end = time.monotonic() + 5
    while time.monotonic() < end:
        if len(screen.windows("^Tip$")) != 1:
            raise Failure(f"{len(screen.windows('^Tip$'))} dialogs for one full disk")
        time.sleep(0.5)
    spent = [cpu_seconds(p) - b for p, b in zip((client, rig.service), before)]
    if max(spent) > 1:
        raise Failure(f"client and service worked {spent} s in 5 s although there was nothing to do")
    if parts() != arrived:
        raise Failure(f"what had arrived went from {arrived} to {parts()} while the disk was full")
    unfinished, finished = records(rig)
    if [r for r in finished if r[1] != 4096] or not unfinished or [r for r in unfinished if r[1] != 0]:
        raise Failure(f"tasks that wait for room are kept as {unfinished[:3]}, ended ones as {finished[:3]}")


def blocks(folder):
    """Names below a folder with the room that they take."""
    return {n: os.stat(os.path.join(folder, n)).st_blocks for n in os.listdir(folder)} if os.path.isdir(folder) else {}


def full_disk_here(rig):
    """The disk of a download fills up: one notice, the tasks wait with what they have, and go on when there is room."""
    rig.start_service()
    rig.target_speed(100000)
    home = os.path.join(home_of(rig), "full")
    names = [f"frame {at}.exr" for at in range(8)]
    for name in names:
        rigs.write(f"{home}/{name}", os.urandom(3 << 20))
    with Screen.shown(rig) as screen, SmallDisk(f"{rig.folder}/target", 10) as disk:
        rigs.write(f"{disk.folder}/kept.txt", b"was there before")
        client = download(rig, "/full", disk.folder, names)
        rests_for_want_of_room(rig, screen, client, 2, lambda: blocks(disk.folder))
        disk.grow(64)
        rigs.write(f"{home}/kept.txt", b"was there before")
        shutil.copystat(f"{disk.folder}/kept.txt", f"{home}/kept.txt")
        wait_for(settled(home, disk.folder), 60, "the rest once there is room")
        rig.stop_client(client)
        rigs.compare(home, disk.folder)


def full_disk_there(rig):
    """The service's disk fills up under an upload, and then the account: the same."""
    rig.start_service()
    rig.stop_service()
    root = f"{rig.data}/centers/1"
    os.rename(root, f"{rig.folder}/sample")
    with Screen.shown(rig) as screen, SmallDisk(root, 40) as disk:
        shutil.copy(f"{rig.folder}/sample/.arkvale-root", root)
        os.makedirs(home_of(rig))
        rig.start_service()
        rig.target_speed(100000)
        source = os.path.join(rig.folder, "source")
        names = [f"frame {at}.exr" for at in range(4)]
        for name in names:
            rigs.write(f"{source}/{name}", os.urandom(3 << 20))
        disk.fill()
        remote = os.path.join(home_of(rig), "full")
        client = upload(rig, source, "/full", names)
        rests_for_want_of_room(rig, screen, client, 0, lambda: blocks(remote))
        disk.free()
        wait_for(settled(source, remote), 150, "the upload once there is room")
        wait_for(lambda: not records(rig)[0], 20, "no task waits any more")
        rig.stop_client(client)

        rig.quota("7M")
        for name in names:
            os.rename(f"{source}/{name}", f"{source}/more {name}")
        client = upload(rig, source, "/full", sorted(os.listdir(source)))
        rests_for_want_of_room(rig, screen, client, 4, lambda: blocks(remote))
        rig.quota("1G")
        wait_for(lambda: all(os.path.exists(f"{remote}/{name}") for name in os.listdir(source)), 150,
                 "the upload once the account has room")
        rig.stop_client(client)


def session_ends(rig):
    """The service ends the user's sessions in mid-upload: one notice, and after the next login the upload goes on."""
    rig.start_service()
    rig.target_speed(8000)
    source = big_source(rig, 100 << 20)
    remote = os.path.join(home_of(rig), "ends")
    with Screen.shown(rig) as screen:
        client = upload(rig, source, "/ends", ["big.bin"])
        wait_for(growing(remote, 4 << 20), 30, "the upload begins")
        subprocess.run([f"{rigs.BIN}/arkvale-service", "set-password", "demo", "--password", "demo", "--data", rig.data],
                       check=True, stdout=subprocess.DEVNULL)
        screen.tool("windowactivate", "--sync", screen.window("NRX Net Disk"))
        screen.keys("F5")
        screen.window("Tip")
        if len(screen.windows("Tip")) != 1:
            raise Failure("more than one notice")
        screen.keys("Return")
        wait_for(lambda: not screen.windows("NRX Net Disk") and not screen.windows("Tip"), 20, "the window closes")
        screen.window("Login")
        time.sleep(1)
        kept = [name for name in os.listdir(remote) if name.endswith(".ZPDT.cache")]
        if not kept:
            raise Failure("nothing is left of the upload to go on with")
        reached = os.stat(os.path.join(remote, kept[0])).st_blocks
        time.sleep(2)
        if os.stat(os.path.join(remote, kept[0])).st_blocks != reached:
            raise Failure("the upload goes on after its session")
        screen.keys("Return")  # the login dialog holds name and password
        wait_for(settled(source, remote), 60, "the upload after the next login")
        rig.stop_client(client)
    rigs.compare(source, remote)


def bad_settings(_):
    """A wrong, an empty and a truncated settings file, or a dead service, end in a waiting login dialog."""
    spoilt = {
        "empty": lambda text: "",
        "truncated": lambda text: text[:len(text) // 2],
        "garbage": lambda text: "\0\x01{[",
        "an array": lambda text: "[1, 2]",
        "wrong types": lambda text: text.replace('"Auth": "', '"Auth": 5, "x": "').replace('"ZPDT": {', '"ZPDT": 7, "y": {'),
        "dead service": lambda text: text,
    }

    def one(what):
        with rigs.Rig() as own:
            client = own.start_client(change=spoilt[what])
            time.sleep(3)
            own.stop_client(client)
            if "ERROR: " in own.log_of(client):
                raise Failure(f"{what}: {own.log_of(client)}")

    with concurrent.futures.ThreadPoolExecutor(3) as pool:
        list(pool.map(one, spoilt))


if __name__ == "__main__":
    sys.exit(rigs.main({c.__name__: c for c in (trees, huge, service_restart, client_killed, queue_survives_kills,
                                                full_disk_here, full_disk_there, session_ends, bad_settings)}))
