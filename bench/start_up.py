#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Times what a command costs before it computes anything: its start, and a picture of 16 x 16 pixels.

Runs each call in turn, round after round, and prints the median wall and processor time, the most memory held, and how many
shared libraries were mapped.

usage: bench/start_up.py [BUILD] [--rounds N]   BUILD: by default build/release
"""
import argparse
import os
import pathlib
import statistics
import subprocess
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
SCENE = "scenes/lambert_cards.mi"


def run(command):
    """Wall seconds, processor seconds and megabytes of one call."""
    start = time.perf_counter()
    process = subprocess.Popen(command, cwd=ROOT, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
    said = process.stderr.read()
    _, status, usage = os.wait4(process.pid, 0)
    if status:
        raise SystemExit(f"{' '.join(map(str, command))} failed:\n{said.decode()}")
    return time.perf_counter() - start, usage.ru_utime + usage.ru_stime, usage.ru_maxrss / 1024


def libraries_of(command):
    """Shared libraries that a call maps, by the loader's own account."""
    traced = subprocess.run(command, cwd=ROOT, env=dict(os.environ, LD_DEBUG="files"), capture_output=True, text=True, check=True)
    return len({line.split("file=")[1].split()[0] for line in traced.stderr.splitlines() if "generating link map" in line})


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build", nargs="?", default="build/release")
    parser.add_argument("--rounds", type=int, default=11)
    arguments = parser.parse_args()
    program = ROOT / arguments.build / "bin" / "orca-render"
    with tempfile.TemporaryDirectory() as folder:
        render = [program, SCENE, "--size", "16x16", "-o"]
        calls = {"--version": [program, "--version"], "a small picture, OpenEXR": [*render, f"{folder}/a.exr"],
                 "the same and a PNG": [*render, f"{folder}/b.exr", "--png", f"{folder}/b.png"]}
        measured = {name: [] for name in calls}
        for _ in range(arguments.rounds):
            for name, command in calls.items():
                measured[name].append(run(command))
        print(f"{'':<28}{'wall':>10}{'processor':>12}{'memory':>10}{'libraries':>12}")
        for name, command in calls.items():
            wall, processor, memory = (statistics.median(column) for column in zip(*measured[name]))
            print(f"{name:<28}{wall * 1000:>7.0f} ms{processor * 1000:>9.0f} ms{memory:>7.0f} MB{libraries_of(command):>12}")


if __name__ == "__main__":
    main()
