# SPDX-License-Identifier: MIT
"""Network namespaces for a camera and for who looks for it, and what runs in them."""

import contextlib
import json
import os
import pathlib
import shutil
import subprocess
import sys
import threading
import time

CAMERA, HOST = "10.77.0.2", "10.77.0.1"
LIMIT = 150  # seconds, of one program
# Before what else the computer does: a receiver that does not get the processor loses packets indeed.
PREFERRED = ("chrt", "--rr", "1")
# Without the right to raw sockets, so that frames come through the system's filters and buffers, and without that to
# every file.
LOST_RIGHTS = "-net_raw,-dac_override,-dac_read_search"
AS_A_USER = (*PREFERRED, "setpriv", "--bounding-set", LOST_RIGHTS, "--inh-caps", LOST_RIGHTS)

# A system with one USB camera, of another user; then the command.
RECORDED = pathlib.Path(__file__).parents[1] / "data" / "host" / "system"
PLUG_IN = """
recorded=$1 speed=$2 memory=$3 mode=$4
shift 4
mount -t tmpfs sys /sys
mount -t tmpfs dev /dev
mknod -m 666 /dev/null c 1 3
cp -r "$recorded/sys" "$recorded/dev" /
echo "$speed" >/sys/bus/usb/devices/2-1/speed
echo "$memory" >/sys/module/usbcore/parameters/usbfs_memory_mb
chown 65534:65534 /dev/bus/usb/002/003
chmod "$mode" /dev/bus/usb/002/003
exec "$@"
"""

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
HEIGHT, CONTROL_PRIVILEGE, STREAM_PORT, STREAM_DESTINATION = 0x0104, 0x0A00, 0x0D00, 0x0D18


def run(*command, check=True, **more):
    return subprocess.run([str(word) for word in command], check=check, capture_output=True, text=True, timeout=LIMIT,
                          **more)


class Bench:
    """Two namespaces and what runs in them; gone with the object."""

    def __init__(self, programs, number):
        self.programs = programs
        self.program = str(programs / "vireo-cam")
        self.before, self.named, self.seconds = [], ["--address", CAMERA], 2
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

    def usb_camera(self, speed=5000, memory=1000, mode=0o666, is_found=True, faults=""):
        """A USB camera instead: what the system says of it, in folders that only the program sees, and a library
        in place of libusb where it is to be found."""
        self.before = ["unshare", "--mount", "sh", "-ec", PLUG_IN, "sh", RECORDED, speed, memory, f"{mode:o}"]
        if is_found:
            self.before += ["env", f"LD_PRELOAD={self.programs}/libvireo_usb_camera.so", f"VIREO_USB_FAULTS={faults}",
                            f"VIREO_USB_CAMERA={self.programs.parent}/share/vireo-cam/simulated_camera.xml"]
        self.named = []

    def host_command(self, *arguments):
        return list(map(str, ["ip", "netns", "exec", self.host_space, *AS_A_USER, *self.before, self.program,
                              *self.named, *arguments]))

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
        result = run(*self.host_command("why", "--json", "--seconds", self.seconds, *arguments), check=False)
        try:
            causes = [verdict["cause"] for verdict in json.loads(result.stdout)]
        except ValueError:
            causes = [f"status {result.returncode}"]
        return causes, result
