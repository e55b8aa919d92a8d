#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Compares the pictures of two builds over all example scenes, bit for bit.

Every scene of scenes/ with a render statement is rendered by both builds, each with its own shader libraries and
declarations, and orca-diff compares every pixel of the layered files. Prints a line per scene; for a scene that differs also
each layer that does, with the number of differing pixels, the largest difference and where it is. Exit status: 0
when all are alike, 1 when some differ, 2 when a build could not render.
"""
import argparse
import pathlib
import re
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent


def scenes(names):
    for path in sorted((ROOT / "scenes").glob("*.mi")):
        if names and path.stem not in names:
            continue
        if re.search(r"^render\s", path.read_text(), re.MULTILINE):
            yield path


def render(build, scene, output, options):
    """Renders with a build's own libraries; the message of a failure, or None."""
    command = [str(build / "bin" / "orca-render"), str(scene), "-o", str(output), "--reproducible", "--files", "layers",
               "-v", "2", *options]
    done = subprocess.run(command, cwd=ROOT / "scenes", capture_output=True, text=True, check=False)
    if done.returncode:
        return f"{build}: exit status {done.returncode}: {done.stderr.strip()[-400:]}"
    return None


def differences(build, mine, theirs):
    """One line for each layer that differs."""
    done = subprocess.run([build / "bin" / "orca-diff", mine, theirs], capture_output=True, text=True, check=False)
    if done.returncode not in (0, 1):
        raise OSError(done.stderr.strip())
    return [line for line in done.stdout.splitlines() if done.returncode and not line.endswith("  alike")]


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build", type=pathlib.Path, help="this build's folder, such as build/release")
    parser.add_argument("other", type=pathlib.Path, help="the other build's folder")
    parser.add_argument("--scenes", default="", metavar="NAMES", help="only these, separated by commas")
    parser.add_argument("--quick", action="store_true", help="one sample a pixel, a third of the resolution")
    arguments = parser.parse_args()
    names = set(filter(None, arguments.scenes.split(",")))
    options = ["--samples", "0", "0", "--size", "320x180"] if arguments.quick else []
    failed = differing = alike = 0
    with tempfile.TemporaryDirectory() as folder:
        mine, theirs = pathlib.Path(folder, "this.exr"), pathlib.Path(folder, "other.exr")
        for scene in scenes(names):
            problems = [render(arguments.build.resolve(), scene, mine, options),
                        render(arguments.other.resolve(), scene, theirs, options)]
            problems = [problem for problem in problems if problem]
            lines = [] if problems else differences(arguments.build, mine, theirs)
            failed += bool(problems)
            differing += bool(lines)
            alike += not problems and not lines
            print(f"{scene.stem:24}", "failed" if problems else "differs" if lines else "alike", flush=True)
            for line in problems + lines:
                print("   ", line)
    print(f"{alike} alike, {differing} differ, {failed} failed")
    return 2 if failed or not alike + differing else 1 if differing else 0


if __name__ == "__main__":
    sys.exit(main())
