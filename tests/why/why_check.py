#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Injects causes that keep frames from coming, one at a time, and compares what `vireo-cam why` names first.

usage: why_check.py BIN_DIR [RUNS [SEED]]

Of the runs a third has a healthy camera. Each run has two network namespaces of its own, one with the simulated
camera and one with vireo-cam, joined by a pair of virtual interfaces; several runs go on side by side. Prints the
confusion table, and fails below 95 % named right or when a healthy camera is accused. Skips, with a message, where
the machine does not let it make namespaces.
"""

import collections
import concurrent.futures
import contextlib
import json
import os
import pathlib
import random
import re
import shutil
import signal
import socket
import struct
import subprocess
import sys
import threading
import time

CAMERA, HOST = "10.77.0.2", "10.77.0.1"
HEALTHY = "healthy"
LEAST_RIGHT = 0.95
SIDE_BY_SIDE = 3
LIMIT = 150  # seconds, of one program
# Before what else the computer does: a receiver that does not get the processor loses packets indeed.
PREFERRED = ("chrt", "--rr", "1")
# Without the right to raw sockets, so that frames come through the system's filters and buffers.
AS_A_USER = (*PREFERRED, "setpriv", "--bounding-set", "-net_raw", "--inh-caps", "-net_raw")

# Run in the host's namespace by a Python of its own.
READ_REGISTER = """
import socket, struct
camera = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
camera.settimeout(1)
try:
    camera.sendto(struct.pack("!BBHHHI", 0x42, 1, 0x80, 4, 7, {register}), ("{camera}", 3956))
    print(struct.unpack("!I", camera.recv(600)[8:12])[0])
except OSError:
    print(0)
"""

# Writes from each port that is in use there but the stream's: one of them is the controller's.
WRITE_AS_CONTROLLER = """
import socket, struct
raw = socket.socket(socket.AF_INET, socket.SOCK_RAW, socket.IPPROTO_RAW)
for line in open("/proc/net/udp").read().splitlines()[1:]:
    port = int(line.split()[1].split(":")[1], 16)
    if port == {stream_port}:
        continue
    data = struct.pack("!BBHHHII", 0x42, 0, 0x82, 8, 9, {register}, {value})
    datagram = struct.pack("!HHHH", port, 3956, 8 + len(data), 0) + data
    header = struct.pack("!BBHHHBBH4s4s", 0x45, 0, 20 + len(datagram), 0, 0, 64, 17, 0,
                         socket.inet_aton("{host}"), socket.inet_aton("{camera}"))
    raw.sendto(header + datagram, ("{camera}", 0))
"""
CONTROL_PRIVILEGE, STREAM_PORT, STREAM_DESTINATION = 0x0A00, 0x0D00, 0x0D18


def run(*command, check=True, **more):
    return subprocess.run([str(word) for word in command], check=check, capture_output=True, text=True, timeout=LIMIT,
                          **more)


class Bench:
    """Two namespaces and what runs in them; gone with the object."""

    def __init__(self, programs, number):
        self.program = str(programs / "vireo-cam")
        self.camera_space = f"why{os.getpid()}-{number}c"
        self.host_space = f"why{os.getpid()}-{number}h"
        self.processes = []
        self.ended = threading.Event()
        self.helpers = []

    def __enter__(self):
        for space in (self.camera_space, self.host_space):
            run("ip", "netns", "add", space)
            self.inside(space, "ip", "link", "set", "lo", "up")
        self.join("cam0", CAMERA, "nic0", HOST)
        return self

    def join(self, camera_name, camera_address, host_name, host_address):
        """Another pair of interfaces between the two."""
        run("ip", "link", "add", camera_name, "mtu", "9000", "netns", self.camera_space, "type", "veth",
            "peer", "name", host_name, "mtu", "9000", "netns", self.host_space)
        for space, name, address in ((self.camera_space, camera_name, camera_address),
                                     (self.host_space, host_name, host_address)):
            self.inside(space, "ip", "address", "add", f"{address}/24", "dev", name)
            self.inside(space, "ip", "link", "set", name, "up")

    def __exit__(self, *_):
        self.ended.set()
        for helper in self.helpers:
            helper.join()
        for process in reversed(self.processes):
            process.kill()
            process.wait()
        for space in (self.camera_space, self.host_space):
            run("ip", "netns", "delete", space, check=False)

    def inside(self, space, *command, **more):
        return run("ip", "netns", "exec", space, *command, **more)

    def camera(self, *options):
        """The simulated camera, once it is ready."""
        process = subprocess.Popen(["ip", "netns", "exec", self.camera_space, *PREFERRED, self.program, "simulate",
                                    "--interface", "cam0", *map(str, options)], stdout=subprocess.PIPE, text=True)
        self.processes.append(process)
        if "ready" not in process.stdout.readline():
            raise RuntimeError("the simulated camera did not start")
        return process

    def host_command(self, *arguments):
        return ["ip", "netns", "exec", self.host_space, *AS_A_USER, self.program, "--address", CAMERA,
                *map(str, arguments)]

    def set(self, *assignments):
        run(*self.host_command("set", *assignments))

    def background(self, *arguments):
        process = subprocess.Popen(self.host_command(*arguments), stdout=subprocess.DEVNULL,
                                   stderr=subprocess.DEVNULL)
        self.processes.append(process)
        return process

    def helper(self, work):
        """Runs work(self) again and again beside the rest."""
        def repeat():
            while not self.ended.is_set():
                work(self)
        self.helpers.append(threading.Thread(target=repeat))
        self.helpers[-1].start()

    def filter(self, space, hook, rule, kind="filter", priority=0):
        run("ip", "netns", "exec", space, "nft", "-f", "-",
            input=f"table ip why {{ chain {hook} {{ type {kind} hook {hook} priority {priority}; {rule}; }}; }}")

    def script(self, text):
        return self.inside(self.host_space, sys.executable, "-c", text, check=False).stdout.strip()

    def register(self, register):
        return int(self.script(READ_REGISTER.format(register=register, camera=CAMERA)) or 0)

    def write_as_controller(self, register, value):
        self.script(WRITE_AS_CONTROLLER.format(stream_port=self.register(STREAM_PORT) & 0xFFFF, register=register,
                                               value=value, host=HOST, camera=CAMERA))

    def receivers(self):
        """Ids of the processes that run `why` in the host's namespace."""
        for pid in run("ip", "netns", "pids", self.host_space, check=False).stdout.split():
            with contextlib.suppress(OSError):
                if b"\0why\0" in pathlib.Path(f"/proc/{pid}/cmdline").read_bytes():
                    yield int(pid)

    def why(self, *arguments):
        """Causes that vireo-cam why names, its status and its text."""
        result = run(*self.host_command("why", "--json", "--seconds", 2, *arguments), check=False)
        try:
            causes = [verdict["cause"] for verdict in json.loads(result.stdout)]
        except ValueError:
            causes = [f"status {result.returncode}"]
        return causes, result


# ---- Healthy cameras, in whatever way they may be set


def healthy(bench, chance):
    """The socket's buffer holds what comes in a sixth of a second: what the receiver may be late here."""
    rate, size = chance.choice([(chance.randint(8, 30), "128x128"), (chance.randint(8, 30), "160x160"),
                                (chance.randint(8, 12), "256x240"), (chance.randint(8, 12), "320x200")])
    bench.camera("--rate", rate, "--size", size)
    settings = ["GevSCPD=20000"] + chance.choice([
        [],
        [f"GevSCPSPacketSize={chance.randrange(1200, 8000, 4)}"],
        [f"ExposureTime={chance.randint(10, 900_000 // rate)}"],
        ["AcquisitionMode=MultiFrame", "AcquisitionFrameCount=5000"],
        [f"DeviceLinkHeartbeatTimeout={chance.randint(2000, 9000)}"],
        ["TriggerSource=Software", "PixelFormat=BayerRG8"],
    ])
    bench.set(*settings)
    return f"{rate}/s, {size}, {' '.join(settings)}"


# ---- Causes. Each makes it so and returns how strongly.


def moderate(chance):
    return ["--rate", chance.randint(10, 25), "--size", chance.choice(["160x160", "256x128", "256x256"])]


def trigger(bench, chance):
    bench.camera(*moderate(chance))
    selector = chance.choice(["FrameStart", "AcquisitionStart"])
    source = chance.choice(["Software", "Line0"])
    bench.set(f"TriggerSelector={selector}", "TriggerMode=On", f"TriggerSource={source}",
              f"TriggerSelector={chance.choice(['FrameStart', 'AcquisitionStart'])}")
    return f"{selector} {source}"


def single_frame(bench, chance):
    bench.camera(*moderate(chance))
    bench.set("AcquisitionMode=SingleFrame")
    return ""


def frame_count(bench, chance):
    rate = chance.randint(10, 25)
    count = chance.randint(2, rate)
    bench.camera("--rate", rate, "--size", "256x256")
    bench.set("AcquisitionMode=MultiFrame", f"AcquisitionFrameCount={count}")
    return f"{count} of {2 * rate}"


def exposure(bench, chance):
    rate = chance.randint(10, 30)
    bench.camera("--rate", rate, "--size", "256x256")
    factor = chance.uniform(1.5, 30)
    bench.set(f"ExposureTime={factor * 1e6 / rate:.0f}")
    return f"{factor:.1f} periods"


def frame_rate(bench, chance):
    rate = chance.uniform(0.1, 0.8)
    bench.camera("--rate", f"{rate:.2f}", "--size", "256x256")
    return f"{rate:.2f}/s"


def busy(bench, chance):
    bench.camera(*moderate(chance))
    other = bench.background("watch", "--patience", 0)
    deadline = time.time() + 20
    while not bench.register(CONTROL_PRIVILEGE) and time.time() < deadline:
        time.sleep(0.1)
    return f"program {other.pid}"


def packet_size(bench, chance):
    """Packets that are larger than an interface on the way takes."""
    mtu = chance.choice([1500, 1500, 3000, 4000, 6000])
    size = chance.randrange(mtu + 100, 9000, 4)
    bench.camera(*moderate(chance))
    bench.set(f"GevSCPSPacketSize={size}")
    bench.inside(bench.host_space, "ip", "link", "set", "nic0", "mtu", mtu)
    return f"{size} over {mtu}"


def switch_mtu(bench, chance):
    """The same where no interface shows it: a switch drops them."""
    mtu = chance.choice([1500, 2000, 4000])
    size = chance.randrange(mtu + 100, 9000, 4)
    bench.camera(*moderate(chance), "--mtu", mtu)
    bench.set(f"GevSCPSPacketSize={size}")
    return f"{size} over {mtu}"


def silent_mtu(bench, chance):
    """The same, and the test packet, whose frame id is 0, comes through nevertheless."""
    mtu = chance.choice([1000, 1400, 3000])
    size = chance.randrange(mtu + 200, 8000, 4)
    bench.camera(*moderate(chance))
    bench.set(f"GevSCPSPacketSize={size}")
    bench.filter(bench.camera_space, "output", f"udp sport != 3956 ip length > {mtu} @th,80,16 != 0 drop")
    return f"{size} over {mtu}"


def firewall(bench, chance):
    """Whole streams, or a share of the packets at random."""
    bench.camera(*moderate(chance))
    share = chance.choice([100, 100, chance.randint(5, 60)])
    part = f"numgen random mod 100 < {share} " if share < 100 else ""
    bench.filter(bench.host_space, "input", f"udp sport != 3956 ip saddr {CAMERA} {part}drop")
    return f"{share} %"


def random_loss(bench, chance):
    """Lost before this computer, with or without the camera sending them again."""
    bench.camera("--rate", chance.randint(10, 25), "--size", "320x240")
    bench.set("GevSCPD=50000")
    share = chance.randint(3, 40)
    bench.filter(bench.camera_space, "output", f"udp sport != 3956 numgen random mod 100 < {share} drop")
    return f"{share} %"


def reverse_path(bench, chance):
    """The stream's sender is an address that is not behind the interface."""
    bench.camera(*moderate(chance))
    be_strict(bench)
    other = f"{chance.choice(['172.16.9', '192.168.55', '10.78.1'])}.{chance.randint(2, 250)}"
    bench.filter(bench.camera_space, "postrouting", f"udp sport != 3956 ip daddr {HOST} snat to {other}",
                 kind="nat", priority=100)
    return other


def reverse_path_found(bench, chance):
    """Answers to the broadcast are dropped: no net there has the camera's address."""
    other = f"{chance.choice(['172.16.9', '192.168.55'])}.{chance.randint(2, 250)}"
    move_camera(bench, other)
    be_strict(bench)  # then the host does not tell its hardware address either
    mac = bench.inside(bench.host_space, "cat", "/sys/class/net/nic0/address").stdout.strip()
    bench.inside(bench.camera_space, "ip", "neighbour", "replace", HOST, "lladdr", mac, "dev", "cam0")
    return other


def be_strict(bench):
    bench.inside(bench.host_space, "sh", "-c", "echo 1 >/proc/sys/net/ipv4/conf/nic0/rp_filter")


def move_camera(bench, address):
    bench.inside(bench.camera_space, "ip", "address", "flush", "dev", "cam0")
    bench.inside(bench.camera_space, "ip", "address", "add", f"{address}/24", "dev", "cam0")
    bench.inside(bench.camera_space, "ip", "route", "add", "default", "dev", "cam0")
    bench.camera("--rate", 10)


def other_subnet(bench, chance):
    other = f"{chance.choice(['169.254.7', '192.168.55', '10.78.1'])}.{chance.randint(2, 250)}"
    move_camera(bench, other)
    return other


def no_camera(bench, chance):
    if chance.random() < 0.5:
        return "nobody"
    camera = bench.camera("--rate", 10)
    camera.terminate()
    camera.wait()
    return "ended"


def link_down(bench, chance):
    bench.camera("--rate", 10)
    bench.inside(bench.camera_space, "ip", "link", "set", "cam0", "down")
    return ""


def two_interfaces(bench, chance):
    """The route takes an interface where the camera is not."""
    bench.camera(*moderate(chance))
    bench.join("cam1", "10.99.0.2", "nic1", f"10.77.0.{chance.randint(3, 250)}")
    bench.inside(bench.camera_space, "ip", "link", "set", "cam1", "arp", "off")
    bench.inside(bench.host_space, "ip", "route", "del", "10.77.0.0/24", "dev", "nic0")
    return ""


def socket_overflow(bench, chance):
    """The receiver is held up again and again while frames larger than its buffer come."""
    bench.camera("--rate", chance.randint(8, 14), "--size", chance.choice(["1024x1024", "1280x1024"]))
    pause = chance.uniform(0.05, 0.2)

    def hold_up(bench):
        for process in bench.receivers():
            with contextlib.suppress(ProcessLookupError):
                os.kill(process, signal.SIGSTOP)
                time.sleep(pause)
                os.kill(process, signal.SIGCONT)
        bench.ended.wait(pause / 2)

    bench.helper(hold_up)
    return f"{pause * 1000:.0f} ms"


def bandwidth(bench, chance):
    """The packet delay leaves no room for the rate."""
    rate, factor = chance.randint(15, 30), chance.uniform(1.3, 6)
    bench.camera("--rate", rate, "--size", "512x512")
    bench.set("GevSCPSPacketSize=1500", f"GevSCPD={factor * 1e9 / rate / 182:.0f}")
    return f"{factor:.1f} times"


def late_answers(bench, chance):
    late = chance.choice([chance.randint(210, 450), chance.randint(450, 1200), chance.randint(60, 75)])
    bench.camera("--rate", 10, "--size", "128x128", "--late", late)
    return f"{late} ms"


def heartbeat(bench, chance):
    bench.camera(*moderate(chance))
    timeout = chance.randint(500, 850)
    bench.set(f"DeviceLinkHeartbeatTimeout={timeout}")
    return f"{timeout} ms"


def wrong_destination(bench, chance):
    """Somebody writes another destination, under the controller's name."""
    bench.camera(*moderate(chance))
    address = struct.unpack("!I", socket.inet_aton(f"10.77.0.{chance.randint(3, 250)}"))[0]
    port = chance.randint(20000, 60000)
    which = chance.choice(["address", "port"])
    words = (STREAM_DESTINATION, address) if which == "address" else (STREAM_PORT, port)

    def redirect(bench):
        if bench.register(STREAM_PORT):
            bench.write_as_controller(*words)
        bench.ended.wait(0.05)

    bench.helper(redirect)
    return which


# What is injected, and the name that it must be given.
CAUSES = {
    trigger: "trigger", single_frame: "single-frame", frame_count: "frame-count", exposure: "exposure",
    frame_rate: "frame-rate", busy: "busy", packet_size: "packet-size", switch_mtu: "packet-size",
    silent_mtu: "packet-size", firewall: "firewall", random_loss: "network-loss", reverse_path: "reverse-path",
    reverse_path_found: "reverse-path", other_subnet: "other-subnet", no_camera: "no-camera", link_down: "link-down",
    two_interfaces: "two-interfaces", socket_overflow: "socket-overflow", bandwidth: "bandwidth",
    late_answers: "late-answers", heartbeat: "heartbeat", wrong_destination: "wrong-destination",
}


def plan(runs, seed):
    """Every third run is healthy, the others go through the causes in turn."""
    causes = list(CAUSES)
    random.Random(seed).shuffle(causes)
    faulty = 0
    for number in range(runs):
        if number % 3 == 2:
            yield number, healthy
        else:
            yield number, causes[faulty % len(causes)]
            faulty += 1


def one(programs, number, inject, seed):
    chance = random.Random(f"{seed} {number}")
    wanted = CAUSES.get(inject, HEALTHY)
    start = time.time()
    try:
        with Bench(programs, number) as bench:
            strength = inject(bench, chance)
            causes, result = bench.why()
        first = causes[0] if causes else HEALTHY
        said = f"named {causes or HEALTHY}, status {result.returncode}\n{result.stdout}{result.stderr}"
    except (OSError, RuntimeError, subprocess.SubprocessError) as error:
        first, strength, said = "not run", "", f"{error} {getattr(error, 'stderr', '')}"
    if first != wanted:
        print(f"run {number}: {inject.__name__} ({strength}) {said}", flush=True)
    return inject.__name__, wanted, first, time.time() - start


def table(results):
    counts = collections.defaultdict(collections.Counter)
    for name, wanted, first, _ in results:
        counts[(name, wanted)][first] += 1
    yield "| injected | must be named | right | named otherwise | seconds |"
    yield "| --- | --- | --- | --- | --- |"
    for (name, wanted), named in sorted(counts.items()):
        others = ", ".join(f"{count} {first}" for first, count in named.most_common() if first != wanted)
        times = [took for injected, _, _, took in results if injected == name]
        yield (f"| {name.replace('_', ' ')} | {wanted} | {named[wanted]} of {named.total()} | {others} | "
               f"{sum(times) / len(times):.0f} |")


def missing():
    """Why it cannot work here; empty when it can."""
    for program in ("ip", "nft", "setpriv", "chrt"):
        if shutil.which(program) is None:
            return f"there is no program '{program}'"
    name = f"why{os.getpid()}"
    made = run("ip", "netns", "add", name, check=False)
    if made.returncode != 0:
        return f"no network namespace can be made: {made.stderr.strip()}"
    try:
        for command in (["ip", "link", "add", "one", "type", "veth", "peer", "name", "two"],
                        ["nft", "add table ip t; add chain ip t c { type filter hook input priority 0; }; "
                                "add rule ip t c udp sport != 1 numgen random mod 100 < 3 drop"],
                        [*AS_A_USER, "true"]):
            tried = run("ip", "netns", "exec", name, *command, check=False)
            if tried.returncode != 0:
                return f"'{' '.join(command)}' does not work in one: {tried.stderr.strip()}"
    finally:
        run("ip", "netns", "delete", name, check=False)
    return ""


def main():
    programs = pathlib.Path(sys.argv[1]).resolve()
    runs = int(sys.argv[2]) if len(sys.argv) > 2 else 300
    seed = int(sys.argv[3]) if len(sys.argv) > 3 else 1
    reason = missing()
    if reason:
        print(f"why-check: skipped, as {reason}")
        return 0
    chosen = re.compile(os.environ.get("WHY_CAUSES", ""))
    runs_planned = [(number, inject) for number, inject in plan(runs, seed) if chosen.search(inject.__name__)]
    with concurrent.futures.ThreadPoolExecutor(SIDE_BY_SIDE) as pool:
        results = list(pool.map(lambda each: one(programs, *each, seed), runs_planned))
    print("\n".join(table(results)))
    faulty = [result for result in results if result[1] != HEALTHY]
    right = sum(wanted == first for _, wanted, first, _ in faulty)
    accused = sum(first != HEALTHY for _, wanted, first, _ in results if wanted == HEALTHY)
    print(f"\n{right} of {len(faulty)} named right ({100 * right / max(len(faulty), 1):.1f} %), "
          f"{accused} of {len(results) - len(faulty)} healthy cameras accused; seed {seed}")
    return 0 if right >= LEAST_RIGHT * len(faulty) and accused == 0 else 1


if __name__ == "__main__":
    sys.exit(main())
