# SPDX-License-Identifier: MIT
"""What keeps frames from coming. Each function makes it so and returns how strongly."""

import contextlib
import os
import signal
import socket
import struct
import time

from spaces import CAMERA, CONTROL_PRIVILEGE, HEIGHT, HOST, STREAM_DESTINATION, STREAM_PORT, run

# ---- Healthy cameras, in whatever way they may be set


def healthy(bench, chance):
    """The socket's buffer holds what comes in a sixth of a second: what the receiver may be late here."""
    if chance.random() < 0.1:
        bench.usb_camera()
        return "USB"
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


def throughput_limit(bench, chance):
    rate, factor = chance.randint(15, 25), chance.uniform(1.3, 4)
    bench.camera("--rate", rate, "--size", "256x256")
    bench.set("DeviceLinkThroughputLimitMode=On", f"DeviceLinkThroughputLimit={256 * 256 * rate / factor:.0f}")
    return f"{factor:.1f} times"


def interface_drops(bench, chance):
    """Packets come in that the system cannot take: their Ethernet type is nobody's."""
    bench.camera(*moderate(chance))
    share = chance.randint(30, 60)
    run("ip", "netns", "exec", bench.camera_space, "nft", "-f", "-",
        input=f"table netdev why {{ chain out {{ type filter hook egress device cam0 priority 0; "
              f"udp sport != 3956 numgen random mod 100 < {share} ether type set 0x88b5; }}; }}")
    return f"{share} %"


def refused_frames(bench, chance):
    """The picture grows while it is received, under the controller's name: it is larger than its buffer."""
    height, growth = 128, chance.choice([8, 64, 512])
    bench.camera("--rate", chance.randint(10, 25), "--size", f"160x{height}")

    def grow(bench):
        if bench.register(STREAM_PORT):
            bench.write_as_controller(HEIGHT, height + growth)
        bench.ended.wait(0.05)

    bench.helper(grow)
    return f"{growth} lines"


def link_lost(bench, chance):
    camera = bench.camera(*moderate(chance))
    pause = chance.uniform(0.3, 1.5)
    bench.seconds = 8

    def kill(bench):
        if bench.register(STREAM_PORT):
            bench.ended.wait(pause)
            camera.kill()
            bench.ended.wait()
        bench.ended.wait(0.05)

    bench.helper(kill)
    return f"after {pause:.1f} s"


def usb_access(bench, chance):
    mode = chance.choice([0o600, 0o640, 0o660, 0o664])
    bench.usb_camera(mode=mode, is_found=False)
    return f"mode {mode:o}"


def usb_busy(bench, chance):
    bench.usb_camera(is_found=False)
    return ""


def usb_bandwidth(bench, chance):
    bench.usb_camera(speed=12, faults=f"packet {chance.randint(10, 60)}% lost")
    return ""


def usb_memory(bench, chance):
    memory = chance.choice([1, 2])
    bench.usb_camera(memory=memory, faults=f"packet {chance.randint(10, 60)}% lost")
    return f"{memory} MB"


def usb_loss(bench, chance):
    share = chance.randint(10, 60)
    bench.usb_camera(faults=f"packet {share}% lost")
    return f"{share} %"


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
    throughput_limit: "throughput-limit", interface_drops: "interface-drops", refused_frames: "refused-frames",
    link_lost: "link-lost", usb_access: "usb-access", usb_busy: "usb-busy", usb_bandwidth: "bandwidth",
    usb_memory: "usb-memory", usb_loss: "lost-frames", late_answers: "late-answers", heartbeat: "heartbeat", wrong_destination: "wrong-destination",
}
