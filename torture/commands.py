# SPDX-License-Identifier: MIT
"""Runs of vireo-cam: which there are, and what may come of them."""
import json
import pathlib
import random
import re
import signal
import subprocess
import tempfile
import time

from sessions import FAULTS, Result, alters, known

TIME_LIMIT = 150  # seconds, with the quick time
PLACES = 10       # of each fault in each command
ADDRESS = {'gige': '127.0.0.1', 'usb': 'FEED00000001'}
STATUSES = {0, 1, 3, 4, 5}

# About how many answers of the camera each command has. Each works in a folder of its own, where saved.json holds the
# settings of a healthy camera.
COMMANDS = {
    'info': 200,
    'cameras': 5,
    'list': 320,
    'list --json': 320,
    'get Width ExposureTime PixelFormat DeviceModelName Gain*': 200,
    'set Width=64 Height=64 ExposureTime=2000 PixelFormat=Mono8': 330,
    'run TriggerSoftware': 260,
    'xml -o camera.xml': 190,
    'save settings.json': 320,
    'load saved.json': 450,
    'diff saved.json': 290,
    'grab -n 3 -f raw -o frames': 280,
    'watch --seconds 0.3': 280,
    'bench --seconds 0.3': 350,
}
# What is another one in each run: times and rates.
FIGURES_OF = {
    'info': re.compile('(?<=one read takes ).*'),
    'grab': re.compile(r'(?<=: ).*(?=, \d+ lost)'),
    'watch': re.compile('^(?!Lost|Bad|Oversized).*', re.M),
    'bench': re.compile('^(?!Lost|Bad|Oversized).*', re.M),
}

# Say what differs on standard output; print counts that are true with a faulty camera, too.
TELL_ON_OUTPUT = ('load', 'diff')
COUNT = ('grab', 'watch', 'bench', 'save', 'load', 'diff')

# Starts the camera and waits for it, then does the command.
WITH_NETWORK_CAMERA = '''
"$1" simulate --rate 100 --size 64x64 --faults "$2" >simulate.txt 2>&1 & camera=$!
until grep -qs ^ready simulate.txt; do kill -0 $camera || exit 99; sleep 0.02; done
shift 2
"$@"
status=$?
kill $camera
exit $status
'''


class Outcome:
    """What a command did, in its folder, which is gone afterwards."""

    def __init__(self, workers, wire, command, faults, settings=None):
        self.command = command
        with tempfile.TemporaryDirectory(prefix='torture') as folder:
            self.folder = pathlib.Path(folder)
            if settings is not None:
                (self.folder / 'saved.json').write_text(settings)
            self._run(workers, wire, command, faults)
            self.files = {str(path.relative_to(self.folder)): path.read_bytes()
                          for path in self.folder.rglob('*')
                          if path.is_file() and path.name not in ('simulate.txt', 'saved.json')}

    def _run(self, workers, wire, command, faults):
        words = [str(workers.folder / 'vireo-cam'), '--timeout', '1', '--address', ADDRESS[wire]] + command.split()
        process = workers.start_command(wire, words, faults, WITH_NETWORK_CAMERA, cwd=self.folder)
        begun = time.monotonic()
        try:
            out, err = process.communicate(timeout=TIME_LIMIT * (1 if workers.quick else 10))
            self.ended = True
        except subprocess.TimeoutExpired:
            workers.kill(process)
            out, err = process.communicate()
            self.ended = False
        self.milliseconds = int(1000 * (time.monotonic() - begun))
        self.status = process.returncode
        self.out = out.decode(errors='replace')
        self.err = err.decode(errors='replace')

    def lines(self):
        figures = FIGURES_OF.get(self.command.split()[0])
        text = figures.sub('#', self.out) if figures else self.out
        return [re.sub(r' +', ' ', line) for line in text.splitlines()]


class Run:
    """One command: "command WIRE FAULT: COMMAND"."""

    def __init__(self, workers, line, references):
        self.line = line
        self.workers = workers
        self.references = references
        self.wire, rest = line.removeprefix('command ').split(' ', 1)
        self.faults, self.command = rest.split(': ', 1)

    def replay(self):
        if self.wire == 'usb':
            return (f"VIREO_USB_CAMERA=host/share/simulated_camera.xml VIREO_USB_FAULTS='{self.faults}' "
                    f'LD_PRELOAD=libtorture_quick_time.so:libvireo_usb_camera.so vireo-cam --timeout 1 '
                    f'--address {ADDRESS[self.wire]} {self.command}')
        return (f"vireo-cam simulate --rate 100 --size 64x64 --faults '{self.faults}' & LD_PRELOAD=libtorture_quick_time.so "
                f'vireo-cam --timeout 1 --address {ADDRESS[self.wire]} {self.command}')

    def do(self, _worker):
        reference = self.references[self.wire, self.command]
        outcome = Outcome(self.workers, self.wire, self.command, self.faults, self.references[self.wire, 'settings'])
        problem = self._problem(outcome, reference)
        if problem:
            reason = known(self.line, problem)
            return Result('known' if reason else 'FAILED', outcome.milliseconds, reason or problem)
        return Result('done' if outcome.status == 0 else f'status {outcome.status}', outcome.milliseconds, '')

    def _problem(self, outcome, reference):
        if not outcome.ended:
            return 'did not end in time'
        if outcome.status < 0 or outcome.status >= 128:
            number = abs(outcome.status) if outcome.status < 0 else outcome.status - 128
            return f'ended by {signal.Signals(number).name}: {outcome.err[-200:]}'
        if outcome.status not in STATUSES:
            return f'status {outcome.status}: {outcome.err[-200:]}'
        if outcome.status != 0 and 'vireo-cam: ' not in outcome.err and self.command.split()[0] not in TELL_ON_OUTPUT:
            return f'status {outcome.status} without a word'
        if alters(self.wire, self.faults):
            return ''
        name = self.command.split()[0]
        noted = 'note: ' in outcome.err
        if outcome.status == 0 and outcome.lines() != reference.lines() and not noted and name != 'bench':
            return f'status 0, but printed {difference(outcome.lines(), reference.lines())}'
        if '--json' not in self.command and name not in COUNT:
            strange = [line for line in outcome.lines() if not is_part(line, reference.lines())]
            if strange:
                return f'status {outcome.status}, and printed {strange[0]!r}'
        return self._problem_of_files(outcome, reference)

    def _problem_of_files(self, outcome, reference):
        for name, content in outcome.files.items():
            if name == 'settings.json':
                problem = problem_of_settings(content, reference.files[name], outcome.err)
            elif name.startswith('frames/'):
                problem = problem_of_frames(outcome.files) if name.endswith('.csv') else ''
            else:
                problem = '' if content == reference.files.get(name) else 'has other bytes'
            if problem:
                return f'status {outcome.status}, {name} {problem}'
        missing = set(reference.files) - set(outcome.files)
        return f'status 0 without {sorted(missing)[0]}' if missing and outcome.status == 0 else ''


def difference(lines, expected):
    for line, other in zip(lines, expected):
        if line != other:
            return f'{line!r} instead of {other!r}'
    return f'{len(lines)} lines instead of {len(expected)}'


def is_part(line, expected):
    """A line of the healthy camera's, or one of them without some of its words."""
    words = line.split()
    for other in expected:
        left = iter(other.split())
        if all(word in left for word in words):
            return True
    return False


def problem_of_settings(content, expected, notes):
    saved = json.loads(content)['settings']
    healthy = json.loads(expected)['settings']
    for name, value in saved.items():
        if healthy.get(name) != value:
            return f'has {name} {value} instead of {healthy.get(name)}'
    for name in healthy.keys() - saved.keys():
        if name.split('[')[0] not in notes:
            return f'lacks {name}, and no note tells'
    return ''


def problem_of_frames(files):
    """The pictures must be those that the camera made: stripes that move by one pixel a frame."""
    rows = [line.split(',') for line in files['frames/frames.csv'].decode().splitlines()[1:]]
    pictures = [name for name in files if not name.endswith('.csv')]
    if len(rows) != len(pictures):
        return f'has {len(rows)} rows, there are {len(pictures)} pictures'
    for row in rows:
        number, width, height, name = int(row[0]), int(row[3]), int(row[4]), row[7]
        line = bytes(i % 256 for i in range(width + height + 256))
        image = b''.join(line[(y + number) % 256:][:width] for y in range(height))
        if files['frames/' + name] != image:
            return f'names {name}, which is not frame {number}'
    return ''


def healthy(workers, wire, command, settings=None):
    outcome = Outcome(workers, wire, command, '', settings)
    if outcome.status != 0:
        raise SystemExit(f'torture: vireo-cam {command} fails without faults: {outcome.err}')
    return outcome


def all_runs(workers):
    references = {}
    for wire in ADDRESS:
        settings = healthy(workers, wire, 'save settings.json').files['settings.json'].decode()
        references[wire, 'settings'] = settings
        for command in COMMANDS:
            references[wire, command] = healthy(workers, wire, command, settings)
    late = 70 if workers.quick else 700
    runs = []
    for command, answers in COMMANDS.items():
        chosen = random.Random(command)
        for wire in ADDRESS:
            channels = [('command', answers)]
            if command.split()[0] in ('grab', 'watch', 'bench'):
                channels.append(('packet', 30))
            for channel, members in channels:
                for fault in FAULTS + ['- lost']:
                    for member in chosen.sample(range(1, members + 1), min(PLACES, members)):
                        joint = '' if fault.startswith('-') else ' '
                        faults = f'{channel} {member}{joint}{fault.format(late=late)}; seed {member}'
                        runs.append(Run(workers, f'command {wire} {faults}: {command}', references))
    return runs
