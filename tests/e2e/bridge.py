#!/usr/bin/env python3
"""The client's WebSocket bridge as a stranger on the same machine meets it, through a WebSocket library of its own."""
import asyncio
import os
import socket
import sys
import time

import websockets

import rig as rigs
from rig import Failure, wait_for


def expect(condition, what):
    if not condition:
        raise Failure(what)


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def start(rig, port, *arguments):
    return rig.start_client(*arguments, change=lambda text: text.replace('"WSSProt": 0', f'"WSSProt": {port}'))


def resident(client):
    """Megabytes that the process has in memory."""
    with open(f"/proc/{client.pid}/status") as f:
        return int(next(line for line in f if line.startswith("VmRSS")).split()[1]) / 1024


def connect(port, **more):
    return websockets.connect(f"ws://127.0.0.1:{port}", ping_interval=None, close_timeout=1, **more)


async def echo(page):
    begin = time.monotonic()
    await page.send(b"echo")
    expect(await asyncio.wait_for(page.recv(), 10) == b"echo", "a binary frame comes back")
    return time.monotonic() - begin


async def flood(port, until):
    """Ten thousand small messages a second and more, past the library's own pace; how many it offered."""
    text = b'{"action":"none"}'
    frame = bytes([0x81, 0x80 | len(text), 0, 0, 0, 0]) + text  # masked, as clients have to
    sent = 0
    while time.monotonic() < until:
        try:
            async with connect(port) as page:
                while time.monotonic() < until:
                    page.transport.write(frame * 1000)
                    sent += 1000
                    await asyncio.sleep(0.05)
                    await page.ensure_open()
        except (websockets.ConnectionClosed, websockets.InvalidHandshake, OSError):
            await asyncio.sleep(0.01)
    return sent


async def greedy(port, until):
    """Sends large frames to be echoed and never reads one."""
    while time.monotonic() < until:
        try:
            page = await connect(port, max_queue=1, read_limit=1024, write_limit=1024)
            page.transport.pause_reading()
            while time.monotonic() < until:
                await asyncio.wait_for(page.send(b"x" * 500000), 1)
                await asyncio.sleep(0.3)
        except (websockets.ConnectionClosed, websockets.InvalidHandshake, OSError, asyncio.TimeoutError):
            await asyncio.sleep(0.05)


async def storms(client, port):
    calm = await connect(port)
    before = resident(client)
    until = time.monotonic() + 5
    attackers = [asyncio.ensure_future(flood(port, until)) for _ in range(2)]
    attackers += [asyncio.ensure_future(greedy(port, until)) for _ in range(8)]
    slowest = 0
    while time.monotonic() < until:
        slowest = max(slowest, await echo(calm))
        await asyncio.sleep(0.1)
    sent = sum(told or 0 for told in await asyncio.gather(*attackers)) / 5
    grown = resident(client) - before
    print(f"under {sent:.0f} messages a second: slowest echo {slowest * 1000:.0f} ms, memory {grown:+.1f} MB")
    expect(slowest < 0.5, f"the window stalled for {slowest:.2f} s")
    expect(grown < 64, f"memory grew by {grown:.0f} MB")
    await calm.close()


def bridge_edges(rig):
    """Floods, peers that never read, no other address, a port in use."""
    rig.start_service()
    port = free_port()
    client = start(rig, port, "zparkvale://start")
    wait_for(lambda: not socket.socket().connect_ex(("127.0.0.1", port)), 30, "the bridge listens")
    with open("/proc/net/tcp") as f:
        listening = [line.split()[1] for line in f if line.split()[1].endswith(f":{port:04X}") and line.split()[3] == "0A"]
    expect(listening == [f"0100007F:{port:04X}"], f"listens on {listening}, not on the loopback address alone")
    asyncio.run(storms(client, port))
    rig.stop_client(client)

    # The port is taken: the client says so in its log and works without the bridge.
    with socket.socket() as taken:
        taken.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        taken.bind(("127.0.0.1", port))
        taken.listen()
        client = start(rig, port, "-user", "demo", "-pass", "demo", "-sc", "1")
        log = os.path.join(rig.home, "state", "ArkvaleTolma", "log", "ArkvaleTolma.log")
        wait_for(lambda: open(log).read().count("ArkvaleTolmaMain Created!") == 1, 30, "the client logs in without it")
        expect("Error to listen on port" in rig.log_of(client), "the log says that the port is taken")
        rig.stop_client(client)


if __name__ == "__main__":
    sys.exit(rigs.main({c.__name__: c for c in (bridge_edges,)}))
