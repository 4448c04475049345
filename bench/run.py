#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Runs the benchmarks and writes their figures, each beside its yardstick, as a Markdown page.

usage: run.py BIN_DIR PAGE [REPETITIONS]

The page ends with notes.md, which says what the figures mean.
"""

import json
import pathlib
import platform
import re
import statistics
import subprocess
import sys
import tempfile
from datetime import date

# How many times as often as asked each runs: one second of receiving says little of the processor's time.
PROGRAMS = {"log_bench": 1, "receive_bench": 1, "loopback_bench": 3, "parse_bench": 1, "feature_bench": 1,
            "memory_bench": 1}

# name prefix: (what must hold, what is aimed at)
LIMITS = {
    "log site below threshold": ("3 ns", "1 ns"),
    "trace scope off": ("10 ns", "5 ns"),
    "record composed": ("3 times", "1.5 times"),
    "receive from memory": ("1.05 times, 1 us more", "1.01 times, 300 ns more"),
    "receive over loopback": ("0.98 times the frames, 1.05 times the processor", "equal"),
    "connect": ("1.05 times", "1.02 times"),
    "scan": ("1.05 times", "1.02 times"),
    "read": ("1 us more", "300 ns more"),
    "write": ("1 us more", "300 ns more"),
}


def run(program, repetitions):
    """All repetitions of every benchmark of a program: {name: [result, ...]}."""
    with tempfile.NamedTemporaryFile(suffix=".json") as out:
        command = [program, f"--benchmark_repetitions={repetitions}", "--benchmark_out_format=json",
                   "--benchmark_enable_random_interleaving=true", "--benchmark_min_time=0.1",
                   f"--benchmark_out={out.name}"]
        subprocess.run(command, check=True, stdout=subprocess.DEVNULL)
        with open(out.name) as results:
            text = results.read()
    found = {}
    benchmarks = json.loads(text)["benchmarks"]
    benchmarks.sort(key=lambda result: (result["family_index"], result["per_family_instance_index"]))  # ran at random
    for result in benchmarks:
        if result["run_type"] == "iteration" and not result.get("error_occurred"):
            found.setdefault(result["run_name"], []).append(result)
    return found


def median(results, key):
    return statistics.median(result[key] for result in results)


def nanoseconds(results):
    """Median wall time of one iteration."""
    factor = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}[results[0]["time_unit"]]
    return median(results, "real_time") * factor


def spread(results):
    """How far the middle half of the repetitions lies apart, as a share of their median."""
    low, middle, high = statistics.quantiles((result["real_time"] for result in results), n=4)
    return f"{100 * (high - low) / middle:.0f} %"


def shown(time):
    for unit, size in (("s", 1e9), ("ms", 1e6), ("us", 1e3)):
        if time >= size:
            return f"{time / size:.3g} {unit}"
    return f"{time:.3g} ns"


def yardstick_of(name):
    return name.replace("/ours", "/yardstick") if "/ours" in name else None


def tidy(name):
    name = re.sub(r"/(ours|real_time|manual_time|iterations:\d+|min_time:[\d.]+)\b", "", name)
    return name.replace("/", " ")


def limits(name):
    for prefix, pair in LIMITS.items():
        if name.startswith(prefix):
            return pair
    return ("", "")


def paired_rows(results):
    yield "| what | ours | yardstick | ratio | more | spread | must | aim |"
    yield "| --- | --- | --- | --- | --- | --- | --- | --- |"
    for name, ours in results.items():
        other = results.get(yardstick_of(name))
        if other is None:
            continue
        must, aim = limits(name)
        if "frames_per_second" in ours[0]:
            for key, label in (("frames_per_second", "frames a second"), ("lost", "frames lost"),
                               ("processor_us_per_frame", "processor us a frame")):
                a, b = median(ours, key), median(other, key)
                ratio = f"{a / b:.3f}" if b else ""
                yield f"| {tidy(name)}: {label} | {a:.4g} | {b:.4g} | {ratio} | | | {must} | {aim} |"
            continue
        a, b = nanoseconds(ours), nanoseconds(other)
        more = shown(a - b) if a >= b else "-" + shown(b - a)
        yield f"| {tidy(name)} | {shown(a)} | {shown(b)} | {a / b:.3f} | {more} | {spread(other)} | {must} | {aim} |"


def best(results):
    """The least processor time of one iteration: what the neighbours on a shared machine take away is not ours."""
    factor = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}[results[0]["time_unit"]]
    return min(result["cpu_time"] for result in results) * factor


def is_parsing(name):
    return name.startswith(("parse/", "arv_gc_new/", "load_buffer/"))


def parsing_rows(results):
    yield "| description | text | ours | arv_gc_new | times as fast | load_buffer | times its time | heap/text |"
    yield "| --- | --- | --- | --- | --- | --- | --- | --- |"
    gains, costs, heaps = [], [], []
    for name, ours in results.items():
        if not name.startswith("parse/"):
            continue
        text, heap = ours[0]["text"], median(ours, "heap/text")
        a, tree, load = (best(results[name.replace("parse/", prefix, 1)])
                         for prefix in ("parse/", "arv_gc_new/", "load_buffer/"))
        gains.append(tree / a)
        costs.append(a / load)
        heaps += [heap] if text > 20e3 else []
        yield (f"| {name.removeprefix('parse/')} | {text / 1e3:.0f} kB | {shown(a)} | {shown(tree)} | {tree / a:.1f} "
               f"| {shown(load)} | {a / load:.2f} | {heap:.1f} |")
    if gains:
        yield (f"| median, most heap above 20 kB | | | | {statistics.median(gains):.1f} | "
               f"| {statistics.median(costs):.2f} | {max(heaps):.1f} |")
        yield "| must | | | | 8 | | 3.2 | 5 |"
        yield "| aim | | | | 10 | | 2 | |"


def single_rows(results):
    yield "| what | time | other figures |"
    yield "| --- | --- | --- |"
    standard = {"real_time", "cpu_time", "iterations", "threads", "repetitions", "repetition_index",
                "family_index", "per_family_instance_index", "bytes_per_second"}
    compared = {*map(yardstick_of, results), *map(smaller_of, results)}
    for name, ours in results.items():
        if name in compared or yardstick_of(name) in results or smaller_of(name) in results or is_parsing(name):
            continue
        counters = [key for key, value in ours[0].items() if isinstance(value, float) and key not in standard]
        figures = ", ".join(f"{key.replace('_', ' ')} {median(ours, key):.3g}" for key in counters)
        yield f"| {tidy(name)} | {shown(nanoseconds(ours))} | {figures} |"


def smaller_of(name):
    """The benchmark of half the size, for one that shows how time grows with size."""
    if name.startswith("parse_doubled/"):
        return name.replace("parse_doubled/", "parse/", 1)
    return name.replace("/200000", "/100000") if name.startswith("hostile/") and "/200000" in name else None


def growth_rows(results):
    yield "| what | time | of about twice the size | ratio of times | of sizes | heap/text |"
    yield "| --- | --- | --- | --- | --- | --- |"
    for name, larger in results.items():
        smaller = results.get(smaller_of(name))
        if smaller is None:
            continue
        a, b = nanoseconds(smaller), nanoseconds(larger)
        sizes = larger[0]["text"] / smaller[0]["text"]
        yield (f"| {tidy(smaller[0]['run_name'])} | {shown(a)} | {shown(b)} | {b / a:.2f} | {sizes:.2f} "
               f"| {median(larger, 'heap/text'):.1f} |")


def counters_of(results, key):
    return [f"{tidy(name)} {median(ours, key):.3g}" for name, ours in results.items() if key in ours[0]]


def processor():
    with open("/proc/cpuinfo") as info:
        for line in info:
            if line.startswith("model name"):
                return line.split(":", 1)[1].strip()
    return platform.machine()


def main():
    binaries, page = sys.argv[1], sys.argv[2]
    repetitions = int(sys.argv[3]) if len(sys.argv) > 3 else 7
    results = {}
    for program, times in PROGRAMS.items():
        print(f"running {program}", flush=True)
        results.update(run(f"{binaries}/{program}", times * repetitions))
    cores = subprocess.run(["nproc"], capture_output=True, text=True, check=True).stdout.strip()
    lines = [
        "# Performance", "",
        f"`./dev bench` on {date.today()}: {processor()}, {cores} cores, {platform.system()} "
        f"{platform.release()}. Medians of {repetitions} repetitions, over loopback more, in random order, subject "
        "and yardstick interleaved in one run; wall time. Spread: how far the middle half of the yardstick's "
        "repetitions lies apart.", "",
        "## Beside their yardsticks", "",
        "The yardstick of logging is an empty loop, or `fmt::format` of the same text; of receiving, reading, "
        "writing, scanning and connecting, the same Aravis calls in a bare loop.", "",
        *paired_rows(results), "",
        "Allocations a delivered frame: " + ", ".join(counters_of(results, "allocations")) + ".", "",
        "## Parsing", "",
        "Beside the tree that Aravis builds of the same text, and beside `pugi::xml_document::load_buffer` of it "
        "alone. This thread's processor time, the best of all repetitions.", "",
        *parsing_rows(results), "",
        "## Growth", "",
        "Parsing: the largest real descriptions, and texts made to hurt a parser (100,000 repetitions of something), "
        "against the same of about twice the size. Must, for the real ones: 2.2 times the time, heap at most 8 times the "
        "text.", "",
        *growth_rows(results), "",
        "## Measured alone", "",
        *single_rows(results), "",
    ]
    lines.append(pathlib.Path(__file__).with_name("notes.md").read_text())
    with open(page, "w") as out:
        out.write("\n".join(lines))
    print("\n".join(lines))
    print(f"wrote {page}")


if __name__ == "__main__":
    main()
