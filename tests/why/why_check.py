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
import json
import os
import pathlib
import random
import re
import shutil
import subprocess
import sys
import time

from causes import CAUSES, healthy
from spaces import AS_A_USER, Bench, run

HEALTHY = "healthy"
LEAST_RIGHT = 0.95
SIDE_BY_SIDE = 3


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
