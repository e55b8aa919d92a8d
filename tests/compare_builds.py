#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Compares the pictures of two builds over all example scenes, bit for bit.

Every scene of scenes/ with a render statement is rendered by both builds, each with its own shader libraries and
declarations, and every part, channel and pixel of the layered files is compared. Prints a line per scene; for a scene that
differs also each part that does, with the number of differing pixels, the largest difference and where it is. Exit status: 0
when all are alike, 1 when some differ, 2 when a build could not render.
"""
import argparse
import pathlib
import re
import subprocess
import sys
import tempfile

import numpy
import OpenImageIO as oiio

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


def parts(path):
    """Name, channel names and pixels (height x width x channels) of every part of a file."""
    image = oiio.ImageInput.open(str(path))
    if not image:
        raise OSError(f"{path}: {oiio.geterror()}")
    index = 0
    while image.seek_subimage(index, 0):
        spec = image.spec()
        name = spec.get_string_attribute("oiio:subimagename") or str(index)
        pixels = image.read_image(index, 0, 0, spec.nchannels, oiio.FLOAT)
        yield name, tuple(spec.channelnames), pixels.reshape(spec.height, spec.width, spec.nchannels)
        index += 1
    image.close()


def differences(ours, others):
    """One line for each part that differs."""
    mine = {name: (channels, pixels) for name, channels, pixels in parts(ours)}
    theirs = {name: (channels, pixels) for name, channels, pixels in parts(others)}
    for name in sorted(mine.keys() ^ theirs.keys()):
        yield f"{name}: only in {'this build' if name in mine else 'the other'}"
    for name in sorted(mine.keys() & theirs.keys()):
        channels, a = mine[name]
        if channels != theirs[name][0] or a.shape != theirs[name][1].shape:
            yield f"{name}: other channels or another size"
            continue
        b = theirs[name][1]
        unlike = (a.view(numpy.uint32) != b.view(numpy.uint32)).any(axis=2)
        if not unlike.any():
            continue
        size = numpy.abs(a.astype(numpy.float64) - b).max(axis=2)
        y, x = numpy.unravel_index(numpy.nanargmax(numpy.where(unlike, size, -1.0)), size.shape)
        yield f"{name}: {unlike.sum()} of {unlike.size} pixels, at most {size[y, x]:.3g} at {x},{y} from the upper left"


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
            lines = [] if problems else list(differences(mine, theirs))
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
