#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""run.py [--minutes M] [--seed N] [--real-time] [--fresh] BIN [RESULTS]

Sessions of the adapter, and commands of vireo-cam, with a camera that fails at one place of them, on GigE Vision
and on USB3 Vision: every place and every fault, in an order that the seed chooses, for as long as the time lasts.
Each finished run is a line of RESULTS (default: torture.tsv beside BIN); a second call goes on with the rest,
--fresh begins anew. The camera library's time passes ten times as fast, unless --real-time is given.

A failure is one line that runs it again. One that does not come again is counted as "once": in the quick time a busy
computer can miss an answer. What is known of the camera library itself is counted apart.
"""
import argparse
import collections
import concurrent.futures
import os
import pathlib
import queue
import random
import re
import sys
import threading
import time

import commands
import sessions


def planned(workers, seed):
    """Every run there is, shuffled."""
    runs = sessions.all_runs(workers) + commands.all_runs(workers)
    random.Random(seed).shuffle(runs)
    return runs


class Results:
    """The file of finished runs, and what they came to."""

    def __init__(self, path, fresh):
        self.path = path
        self.lock = threading.Lock()
        self.counts = collections.Counter()
        self.slowest = collections.Counter()
        self.failures = []
        self.done = set()
        if fresh:
            path.unlink(missing_ok=True)
        if path.exists():
            for line in path.read_text().splitlines():
                self._count(*line.split('\t', 3))
        self.file = path.open('a')

    def add(self, run, result):
        with self.lock:
            fields = (run.line, result.outcome, str(result.milliseconds), result.text.replace('\t', ' '))
            self.file.write('\t'.join(fields) + '\n')
            self.file.flush()
            self._count(*fields)
            if result.outcome in ('FAILED', 'once'):
                print(f'{result.outcome:6} {run.replay()}\n       {result.text}', flush=True)

    def _count(self, line, outcome, milliseconds, text):
        self.done.add(line)
        kind, wire = line.split(' ')[:2]
        self.counts[kind, wire, outcome] += 1
        self.slowest[kind, wire] = max(self.slowest[kind, wire], int(milliseconds))
        if outcome == 'FAILED':
            self.failures.append((line, text))

    def print(self):
        outcomes = sorted({outcome for _, _, outcome in self.counts})
        print('| runs | ' + ' | '.join(outcomes) + ' | slowest |')
        print('| --- ' * (len(outcomes) + 2) + '|')
        for kind, wire in sorted({key[:2] for key in self.counts}):
            figures = ' | '.join(str(self.counts[kind, wire, outcome]) for outcome in outcomes)
            print(f'| {kind}, {wire} | {figures} | {self.slowest[kind, wire] / 1000:.1f} s |')


def work(worker, todo, results, end):
    while time.monotonic() < end:
        try:
            run = todo.get_nowait()
        except queue.Empty:
            break
        results.add(run, done(run, worker))
    worker.close()


def done(run, worker):
    """What came of a run; of one that fails, and does not when it is done again, that it failed once."""
    result = run.do(worker)
    if result.outcome != 'FAILED' or run.do(worker).outcome == 'FAILED':
        return result
    return result._replace(outcome='once')


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument('bin', type=pathlib.Path, help='where the programs are')
    parser.add_argument('results', type=pathlib.Path, nargs='?')
    parser.add_argument('--minutes', type=float, default=30.0)
    parser.add_argument('--seed', type=int, default=1)
    parser.add_argument('--jobs', type=int, default=6 * os.cpu_count())
    parser.add_argument('--real-time', action='store_true')
    parser.add_argument('--fresh', action='store_true')
    parser.add_argument('--only', default='', help='only runs whose line fits this regular expression')
    options = parser.parse_args()
    end = time.monotonic() + 60 * options.minutes
    workers = sessions.Workers(options.bin.resolve(), not options.real_time)
    results = Results(options.results or options.bin / 'torture.tsv', options.fresh)
    runs = [run for run in planned(workers, options.seed) if re.search(options.only, run.line)]
    todo = queue.SimpleQueue()
    left = [run for run in runs if run.line not in results.done]
    for run in left:
        todo.put(run)
    print(f'{len(runs)} runs, {len(left)} of them to do', flush=True)
    jobs = options.jobs if workers.isolated else 1
    with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
        futures = [pool.submit(work, workers.make(), todo, results, end) for _ in range(jobs)]
        for future in futures:
            future.result()
    results.print()
    print(f'{len(results.done)} of {len(runs)} runs, {len(results.failures)} failed')
    return 1 if results.failures else 0


if __name__ == '__main__':
    sys.exit(main())
