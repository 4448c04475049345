# SPDX-License-Identifier: MIT
"""Runs of the session program: which there are, and the processes that do them."""
import collections
import os
import pathlib
import re
import select
import signal
import subprocess
import time

FAULTS = ['lost', 'late {late}', 'status 0x8007', 'short', 'oversized', 'wrong-id', 'duplicate', 'garbage',
          'mutated 4', 'disconnect']
DESCRIPTION = pathlib.Path(__file__).resolve().parent.parent / 'host/share/simulated_camera.xml'
TIME_LIMIT = 100  # seconds, with the quick time; a mute camera is waited for at each of its registers

Result = collections.namedtuple('Result', 'outcome milliseconds text')

# What the camera library does by itself, and nothing outside of it can prevent: where it shows, and why.
KNOWN = [
    ('^session usb', r'SIGFPE in libc.* < libaravis.* at at \d+ start',
     'the library divides by what it could not read of a USB camera, making a stream'),
    ('^command usb .*: (grab|watch|bench)', 'ended by SIGFPE', 'the same'),
    ('^session gige .* packet .*(garbage|mutated)', r'SIGTRAP in .*\(g_malloc0\+.* at at \d+ receive',
     'the library allocates as many gigabytes as a packet that nobody checks asks for'),
    ('^command gige packet .*(garbage|mutated).*: (grab|watch)', r'ended by SIGTRAP(.|\n)*failed to allocate',
     'the same'),
]


def alters(wire, faults):
    """Whether a camera then says other things in ways that no client can see: neither protocol has a checksum, and
    on USB the library takes answers of any length."""
    is_packet = 'packet' in faults
    return ('garbage' in faults or 'mutated' in faults or 'short' in faults and (is_packet or wire == 'usb') or
            is_packet and ('wrong-id' in faults or 'oversized' in faults))


def known(line, text):
    for pattern, place, reason in KNOWN:
        if re.search(pattern, line) and re.search(place, text):
            return reason
    return ''


class Run:
    """One session: "session WIRE HOST FAULT"."""

    def __init__(self, line):
        self.line = line

    def replay(self):
        return "torture_session '" + self.line.removeprefix('session ') + "'"

    def do(self, worker):
        begun = time.monotonic()
        ended, printed = worker.session(self.line.removeprefix('session '))
        milliseconds = int(1000 * (time.monotonic() - begun))
        fields = printed[-1].split('\t') if printed else []
        if ended is None and len(fields) == 4:
            outcome, _, losses, problems = fields
            text = problems.strip()
            if not text:
                return Result(outcome, milliseconds, losses)
        else:
            text = f'{ended} at {fields[0] if fields else "the begin"}'
        reason = known(self.line, text)
        return Result('known' if reason else 'FAILED', milliseconds, reason or text)


class Worker:
    """A process that does one session after the other, and is made anew when one ends it."""

    def __init__(self, workers):
        self.workers = workers
        self.process = None

    def session(self, line):
        """How the process ended, None where it lives, and the lines that it printed."""
        if self.process is None:
            self.process = self.workers.start_session(stdin=subprocess.PIPE)
        printed = []
        self.process.stdin.write(line.encode() + b'\n')
        self.process.stdin.flush()
        end = time.monotonic() + TIME_LIMIT * (1 if self.workers.quick else 10)
        pending = b''
        while time.monotonic() < end:
            if not select.select([self.process.stdout], [], [], 1)[0]:
                continue
            received = os.read(self.process.stdout.fileno(), 65536)
            if not received:
                return self._end(), printed
            *whole, pending = (pending + received).split(b'\n')
            printed += [text.decode(errors='replace') for text in whole]
            if printed and '\t' in printed[-1]:
                return None, printed
        self.workers.kill(self.process)
        self._end()
        return 'did not end in time', printed

    def _end(self):
        status = self.process.wait()
        place = self.workers.place_of_crash(self.process)
        self.process = None
        if status < 0:
            return f'ended by {signal.Signals(-status).name} in {place}'
        return f'ended with status {status}: {place}'

    def close(self):
        if self.process is not None:
            self.process.stdin.close()
            self.process.wait()


class Workers:
    """How processes are started: each in a network of its own, where rights allow, since the port is fixed."""

    def __init__(self, folder, quick):
        self.folder = folder
        self.quick = quick
        self.isolated = subprocess.run(['unshare', '-n', 'true'], stderr=subprocess.DEVNULL).returncode == 0

    def make(self):
        return Worker(self)

    def start(self, words, environment=None, **arguments):
        """In a network and a process group of its own."""
        if self.isolated:
            words = ['unshare', '-n', 'sh', '-c', 'ip link set lo up && exec "$@"', 'sh'] + words
        return subprocess.Popen(words, stdout=subprocess.PIPE, stderr=subprocess.PIPE, start_new_session=True,
                                env=dict(os.environ, **(environment or {})), **arguments)

    def preloading(self, *libraries):
        names = (['libtorture_quick_time.so'] if self.quick else []) + list(libraries)
        return ['env', 'LD_PRELOAD=' + ':'.join(str(self.folder / name) for name in names)]

    def start_session(self, *arguments, **others):
        return self.start(self.preloading() + [str(self.folder / 'torture_session')] + list(arguments), **others)

    def start_command(self, wire, words, faults, with_camera, cwd):
        if wire == 'usb':
            variables = {'VIREO_USB_CAMERA': str(DESCRIPTION), 'VIREO_USB_FAULTS': faults}
            return self.start(self.preloading('libvireo_usb_camera.so') + words, variables, cwd=cwd)
        return self.start(['sh', '-c', with_camera, 'sh', str(self.folder / 'vireo-cam'), faults] +
                          self.preloading() + words, cwd=cwd)

    @staticmethod
    def kill(process):
        """With what it started."""
        os.killpg(process.pid, signal.SIGKILL)

    def place_of_crash(self, process):
        """The frames of the crash, from what the session printed; without the handler's own."""
        text = process.stderr.read().decode(errors='replace')
        frames = re.findall(r'^\S*?([\w.+-]+)\(([^)]*)\)', text, re.M)
        shown = [f'{library}({place})' for library, place in frames if 'torture_session' not in library]
        return ' < '.join(shown[:6]) or text.strip()[-300:]

    def count(self, wire):
        """How many answers to commands and how many packets a session has."""
        process = self.start_session(f'{wire} careful count')
        out, _ = process.communicate()
        fields = out.decode().splitlines()[-1].split('\t')
        if fields[0] != 'counted':
            raise SystemExit(f'torture: a session on {wire} without faults fails: {out.decode()}')
        return int(fields[1]), int(fields[2])


def all_runs(workers):
    late = 70 if workers.quick else 700
    lines = []
    for wire in ['gige', 'usb']:
        answers, packets = workers.count(wire)
        for channel, members in [('command', answers), ('packet', packets)]:
            for member in range(1, members + 1):
                host = 'stubborn' if member % 4 == 0 else 'careful'
                for fault in FAULTS:
                    lines.append(f'{wire} {host} {channel} {member} {fault.format(late=late)}; seed {member}')
                lines.append(f'{wire} careful {channel} {member}- lost')
        if wire == 'usb':
            lines += [f'usb careful unplug {member}' for member in range(1, answers + 1)]
    return [Run('session ' + line) for line in lines]
